#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace zorbel {

/// A study that a zorbel-viewer: link asks to open, and the service to open it from (empty: the usual one).
struct LinkRequest {
    QString studyInstanceUID;
    QString apiBase;

    /// The first argument that is a valid link; a link that fails any check is passed over.
    static std::optional<LinkRequest> parse(const QStringList& arguments);
    /// As parse() takes it.
    QString url() const;
    /// Whether a viewer that works with this service may open it.
    bool isFor(const QString& serviceBaseUrl) const;
};

} // namespace zorbel

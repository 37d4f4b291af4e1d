#pragma once

#include "api/ZorbelApiClient.h"

#include <QString>

namespace zorbel {

class SettingsStore;

/// Where one organization's users of this computer want studies to come from.
struct SourceSettings {
    SourceKind kind = SourceKind::Automatic;
    QString nodeId; ///< empty when no node was chosen

    /// A preference that is none counts as Automatic.
    static SourceSettings read(const SettingsStore& store, const QString& organizationId);
    void write(SettingsStore& store, const QString& organizationId) const;
    friend bool operator==(const SourceSettings&, const SourceSettings&) = default;
};

} // namespace zorbel

#pragma once

#include "api/ZorbelApiClient.h"

#include <QString>

class QSettings;

namespace zorbel {

/// Where one organization's users of this computer want studies to come from.
struct SourceSettings {
    SourceKind kind = SourceKind::Automatic;
    QString nodeId; ///< empty when no node was chosen

    /// A preference that is none counts as Automatic.
    static SourceSettings read(const QSettings& settings, const QString& organizationId);
};

} // namespace zorbel

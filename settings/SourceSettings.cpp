#include "settings/SourceSettings.h"

#include "settings/SettingsKeys.h"

#include <QSettings>

namespace zorbel {

namespace {

SourceKind sourceKindOf(const QVariant& value) {
    for (const SourceKind kind : {SourceKind::CloudOnly, SourceKind::LocalNodeRequired})
        if (value.toString() == QString::number(static_cast<int>(kind)))
            return kind;
    return SourceKind::Automatic;
}

} // namespace

SourceSettings SourceSettings::read(const QSettings& settings, const QString& organizationId) {
    return {
        sourceKindOf(settings.value(sourcePreferenceKey(organizationId))),
        settings.value(localNodeKey(organizationId)).toString()};
}

} // namespace zorbel

#include "settings/model/SourceSettings.h"

#include "settings/store/SettingsStore.h"

namespace zorbel {

SourceSettings SourceSettings::read(const SettingsStore& store, const QString& organizationId) {
    return {
        static_cast<SourceKind>(store.number(settings_table::sourcePreference, organizationId)),
        store.text(settings_table::localNode, organizationId)};
}

void SourceSettings::write(SettingsStore& store, const QString& organizationId) const {
    store.set(settings_table::sourcePreference, static_cast<int>(kind), organizationId);
    store.set(settings_table::localNode, nodeId, organizationId);
}

} // namespace zorbel

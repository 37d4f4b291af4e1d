#include "app/SettingsMigration.h"

#include <QSettings>

namespace zorbel {

void migrateSettings(QSettings& settings) {
    const QString cacheDir = QStringLiteral("viewer/cacheDir");
    const QString legacyCacheDir = QStringLiteral("orthanc/cacheDir");
    if (!settings.contains(cacheDir) && settings.contains(legacyCacheDir))
        settings.setValue(cacheDir, settings.value(legacyCacheDir));
    for (const QString& key :
         {QStringLiteral("orthanc/url"), QStringLiteral("orthanc/user"), QStringLiteral("orthanc/pass"),
          legacyCacheDir})
        settings.remove(key);
}

} // namespace zorbel

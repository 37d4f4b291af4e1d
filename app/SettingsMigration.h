#pragma once

class QSettings;

namespace zorbel {

/// Carries the cache folder of an older version over to its key of today, and removes that version's archive
/// address and credentials.
void migrateSettings(QSettings& settings);

} // namespace zorbel

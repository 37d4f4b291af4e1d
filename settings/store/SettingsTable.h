#pragma once

#include <array>

namespace zorbel {

/// A whole number within its limits.
struct NumberSetting {
    const char* key;
    int least;
    int greatest;
    int defaultValue;
};

struct SwitchSetting {
    const char* key;
    bool defaultValue;
};

/// Any text; empty by default.
struct TextSetting {
    const char* key;
};

/// The absolute path of a folder; by default the system's folder for the program's cache.
struct FolderSetting {
    const char* key;
};

/// All that the program keeps in the settings store. "%1" stands for the organization, each of which has its
/// own. Tokens, passwords and patients are never among them.
namespace settings_table {

inline constexpr FolderSetting cacheDir{"viewer/cacheDir"};
inline constexpr NumberSetting cacheRetentionDays{"viewer/cacheRetentionDays", 0, 30, 1}; ///< 0: session only
inline constexpr NumberSetting cacheMaxGiB{"viewer/cacheMaxGiB", 1, 100, 10};
inline constexpr NumberSetting sourcePreference{
    "viewer/localNode/%1/sourcePreference", 0, 2, 0}; ///< a SourceKind
inline constexpr TextSetting localNode{"viewer/localNode/%1/clinicId"};
inline constexpr TextSetting lastEmail{"session/lastEmail"};
inline constexpr SwitchSetting telemetryEnabled{"telemetry/enabled", true}; ///< where it is configured

/// Of an earlier version, which kept credentials of its archive; removed wherever they are found.
inline constexpr char legacyCacheDirKey[] = "orthanc/cacheDir";
inline constexpr std::array legacyKeys{"orthanc/url", "orthanc/user", "orthanc/pass", legacyCacheDirKey};

} // namespace settings_table

} // namespace zorbel

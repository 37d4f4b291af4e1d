#pragma once

#include "api/SessionRequest.h"
#include "cache/storage/ViewerStorage.h"

#include <chrono>
#include <filesystem>
#include <optional>

namespace zorbel {

/// What a study load may use on this computer.
struct StudyLoadOptions {
    /// Volume caches and archives of the signed-in user; nothing is looked for or kept without it.
    std::optional<ViewerStorage> storage;
    StoragePolicy policy;
    /// The volume cache manifest's JSON Schema.
    std::filesystem::path manifestSchema;
    /// How long the service may take to name a study that this computer holds, or to list its series.
    std::chrono::milliseconds archivePatience{5000};
    /// A load that met the end of the session goes on where it was when this was answered; without it, it
    /// ends.
    SessionRequest renewSession{};
};

} // namespace zorbel

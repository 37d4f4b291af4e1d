#include "report/UnsyncedReports.h"

#include "app/log/Logger.h"
#include "base/PathText.h"
#include "report/WordDocumentFile.h"

#include <string>
#include <system_error>

namespace zorbel {

namespace fs = std::filesystem;

namespace {

constexpr char component[] = "WordReport";

void removeFolder(WordWorkingFolder& folder, const char* message) {
    if (folder.remove())
        Logger::instance().info(component, message);
    else
        Logger::instance().warn(component, "A Word working folder could not be removed");
}

/// A document that is still open would be saved where nobody watches; what was left open in a crash goes one
/// day.
bool isOver(fs::file_time_type::duration age, std::chrono::hours keep, const WordWorkingFolder& folder) {
    return age >= keep && (age >= keep + std::chrono::days(30) || !folder.isOpenElsewhere());
}

} // namespace

std::vector<UnsyncedReport> takeUnsyncedReports(const fs::path& root, std::chrono::hours keepSynced) {
    std::vector<UnsyncedReport> unsynced;
    std::error_code error;
    std::vector<fs::path> folders;
    fs::directory_iterator entry(root, error);
    for (const fs::directory_iterator end; !error && entry != end; entry.increment(error)) {
        if (pathText(entry->path().filename()).starts_with("word-"))
            folders.push_back(entry->path());
    }
    for (const fs::path& path : folders) {
        auto folder = WordWorkingFolder::open(path);
        if (!folder)
            continue;
        const auto status = fs::symlink_status(folder->document(), error);
        if (status.type() == fs::file_type::not_found) { // the program was killed before it wrote one
            if (!folder->holdsOtherFiles() && !folder->isOpenElsewhere())
                removeFolder(*folder, "A Word working folder without a document was removed");
            continue;
        }
        const auto record = folder->record();
        const auto document = WordDocumentFile::read(folder->document());
        const auto savedAt = fs::last_write_time(folder->document(), error);
        if (!document || !record || document->sha256 != record->syncedSha256)
            unsynced.push_back({*folder, record, savedAt});
        else if (!error && isOver(fs::file_time_type::clock::now() - savedAt, keepSynced, *folder))
            removeFolder(*folder, "The working folder of a synced Word report was removed");
    }
    return unsynced;
}

} // namespace zorbel

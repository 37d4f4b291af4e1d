#include "cache/archive/ArchivePlace.h"

#include "platform/DiskFlush.h"
#include "platform/RandomName.h"

#include <algorithm>
#include <string>
#include <system_error>

namespace zorbel {

namespace fs = std::filesystem;

namespace {

constexpr char stagingInfix[] = ".staging-";
constexpr char quarantineInfix[] = ".replaced-";
constexpr char damagedInfix[] = ".damaged-";

fs::path withSuffix(fs::path path, const std::string& suffix) {
    path += suffix;
    return path;
}

void removeAll(const std::vector<fs::path>& paths) {
    std::error_code ignored; // what cannot be removed now is tried again by the next writer
    for (const fs::path& path : paths)
        fs::remove_all(path, ignored);
}

} // namespace

fs::path ArchivePlace::lockFile() const {
    return withSuffix(final_, ".lock");
}

fs::path ArchivePlace::newStaging() const {
    return withSuffix(final_, stagingInfix + randomName());
}

fs::path ArchivePlace::newQuarantine() const {
    return withSuffix(final_, quarantineInfix + randomName());
}

fs::path ArchivePlace::newDamaged() const {
    return withSuffix(final_, damagedInfix + randomName());
}

bool ArchivePlace::isVacant() const {
    std::error_code error;
    return fs::symlink_status(final_, error).type() == fs::file_type::not_found;
}

bool ArchivePlace::isHalfReplaced() const {
    return isVacant() && !quarantined().empty();
}

bool ArchivePlace::hasLeftovers() const {
    return !besides(stagingInfix).empty() || !besides(quarantineInfix).empty();
}

void ArchivePlace::recover() const {
    std::error_code error;
    if (isVacant()) {
        // One as a rule. More only if removing an old one failed before: the latest is the one to have back.
        const auto copies = quarantined();
        const auto latest = std::max_element(copies.begin(), copies.end(), [](const auto& a, const auto& b) {
            std::error_code ignored;
            return fs::last_write_time(a, ignored) < fs::last_write_time(b, ignored);
        });
        if (latest != copies.end()) {
            fs::rename(*latest, final_, error);
            if (!error) {
                try {
                    flushFolder(parent());
                } catch (const std::system_error&) {
                    // The copy is back all the same; after a power cut it is put back again.
                }
            }
        }
    }
    if (!isVacant()) {
        // Under another name first: what is called a quarantined copy is whole, however far its removal gets.
        for (const fs::path& copy : besides(quarantineInfix))
            fs::rename(copy, newStaging(), error);
    }
    removeAll(besides(stagingInfix));
}

void ArchivePlace::removeDamaged(const fs::path& except) const {
    auto copies = besides(damagedInfix);
    copies.erase(std::remove(copies.begin(), copies.end(), except), copies.end());
    removeAll(copies);
}

std::vector<fs::path> ArchivePlace::quarantined() const {
    auto copies = besides(quarantineInfix);
    copies.erase(
        std::remove_if(
            copies.begin(), copies.end(),
            [](const fs::path& path) {
                std::error_code error;
                return fs::symlink_status(path, error).type() != fs::file_type::directory;
            }),
        copies.end());
    return copies;
}

std::vector<fs::path> ArchivePlace::besides(const char* infix) const {
    const auto prefix = withSuffix(final_.filename(), infix).native();
    std::vector<fs::path> found;
    std::error_code error;
    for (fs::directory_iterator entry(parent(), error), end; !error && entry != end; entry.increment(error))
        if (entry->path().filename().native().starts_with(prefix))
            found.push_back(entry->path());
    return found;
}

} // namespace zorbel

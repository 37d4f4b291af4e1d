#include "viewer/reading/state/StateFiles.h"

#include "app/log/Logger.h"
#include "base/PathText.h"
#include "base/Uid.h"
#include "platform/PrivateFile.h"
#include "platform/RegularFile.h"
#include "viewer/reading/state/StateKind.h"
#include "viewer/reading/state/TimeStamp.h"

#include <algorithm>
#include <chrono>
#include <system_error>

namespace zorbel {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

constexpr char component[] = "ReadingState";
constexpr char lockName[] = ".reading-state.lock";
constexpr char damagedMark[] = ".damaged-";

std::string nameOf(const fs::path& path) {
    return pathText(path.filename());
}

/// "findings/1.2.3.json" is logged as "findings": a kind says enough.
std::string kindOf(const std::string& name) {
    return name.substr(0, name.find('/'));
}

void warn(const char* message, const std::string& name, const std::string& reason) {
    Logger::instance().warn(component, message, {{"kind", kindOf(name)}, {"reason", reason}});
}

std::string readAll(RegularFile& file) {
    std::string bytes(static_cast<std::size_t>(file.size()), '\0');
    bytes.resize(file.read(std::as_writable_bytes(std::span(bytes))));
    return bytes;
}

} // namespace

std::optional<std::string> studyFileName(std::string_view studyInstanceUid) {
    const auto uid = uidIn(studyInstanceUid);
    return uid ? std::optional<std::string>(*uid) : std::nullopt;
}

StateFiles::StateFiles(fs::path root) : root_(std::move(root)) {
    if (isKept())
        removeLeftovers();
}

std::optional<FileLock> StateFiles::lock() const {
    if (!isKept())
        return std::nullopt;
    try {
        return FileLock::acquire(root_ / lockName, 1s);
    } catch (const std::system_error&) {
        // No root folder yet, or a disk without locks.
        return std::nullopt;
    }
}

bool StateFiles::tryClaim(const std::string& name, std::optional<FileLock>& lock) const {
    if (!isKept())
        return true;
    try {
        lock = FileLock::tryAcquire(pathOf(name));
        return lock.has_value();
    } catch (const std::system_error&) {
        return true;
    }
}

std::optional<std::string> StateFiles::read(const std::string& name, std::size_t largest) {
    if (!isKept()) {
        const auto found = memory_.find(name);
        return found == memory_.end() ? std::nullopt : std::optional(found->second);
    }
    try {
        RegularFile file(pathOf(name));
        if (file.size() <= largest) {
            auto bytes = readAll(file);
            unread_.erase(name);
            return bytes;
        }
    } catch (const std::system_error& error) {
        if (error.code() != std::errc::no_such_file_or_directory) {
            unread_.insert(name);
            warn("A file of the reading state could not be read", name, error.code().message());
        }
        return std::nullopt;
    }
    setAside(name);
    return std::nullopt;
}

void StateFiles::write(const std::string& name, std::string_view bytes, std::size_t largest) {
    if (bytes.size() > largest)
        throw std::system_error(std::make_error_code(std::errc::file_too_large), "Cannot write " + name);
    if (!isKept()) {
        memory_[name] = bytes;
        return;
    }
    createPrivateFolder(pathOf(name).parent_path());
    if (unread_.erase(name) != 0)
        setAside(name);
    writePrivateFile(pathOf(name), bytes);
}

void StateFiles::createFolder(const std::string& name) {
    if (isKept())
        createPrivateFolder(pathOf(name));
}

bool StateFiles::exists(const std::string& name) const {
    if (!isKept())
        return memory_.contains(name);
    std::error_code error;
    return fs::exists(fs::symlink_status(pathOf(name), error));
}

bool StateFiles::remove(const std::string& name) {
    if (!isKept())
        return memory_.erase(name) != 0;
    std::error_code error;
    fs::remove(pathOf(name), error);
    return !error;
}

std::vector<std::string> StateFiles::namesIn(const std::string& folder) const {
    std::vector<std::string> names;
    if (!isKept()) {
        const std::string prefix = folder + "/";
        for (const auto& [name, bytes] : memory_) {
            if (name.starts_with(prefix) && name.find('/', prefix.size()) == std::string::npos)
                names.push_back(name.substr(prefix.size()));
        }
        return names;
    }
    std::error_code error;
    fs::directory_iterator entry(pathOf(folder), error);
    for (const fs::directory_iterator end; !error && entry != end; entry.increment(error))
        names.push_back(nameOf(entry->path()));
    return names;
}

void StateFiles::copyFile(const std::string& name, StateFiles& other) {
    const auto bytes = read(name, largestPicture);
    if (bytes && other.read(name, largestPicture) != bytes) {
        if (other.exists(name))
            other.setAside(name);
        other.write(name, *bytes, largestPicture);
    }
}

void StateFiles::copyKeyImages(const std::string& folder, StateFiles& other) {
    // Pictures go by numbers, which mean something in their own list alone.
    const std::string index = folder + "/index.json";
    if (other.exists(index) && other.read(index) != read(index))
        other.setAside(folder);
    for (const std::string& name : namesIn(folder))
        if (name.ends_with(".png"))
            copyFile(folder + "/" + name, other);
    copyFile(index, other);
}

void StateFiles::copyTo(StateFiles& other) {
    const auto lockHere = lock();
    other.createFolder("");
    const auto lockThere = other.lock();
    for (int number = 0; number < stateKindCount; ++number) {
        const auto kind = static_cast<StateKind>(number);
        const std::string folder(stateFolder(kind));
        for (const std::string& name : kind == StateKind::KeyImages ? foldersIn(folder) : namesIn(folder)) {
            if (kind == StateKind::KeyImages && studyFileName(name))
                copyKeyImages(folder + "/" + name, other);
            else if (kind != StateKind::KeyImages && name.ends_with(".json"))
                copyFile(folder + "/" + name, other);
        }
    }
    if (const auto recent = read("recent-studies.json"))
        other.write("recent-studies.json", *recent);
}

std::vector<std::string> StateFiles::foldersIn(const std::string& folder) const {
    if (isKept())
        return namesIn(folder);
    std::vector<std::string> names;
    const std::string prefix = folder + "/";
    for (const auto& [name, bytes] : memory_) {
        const auto end = name.find('/', prefix.size());
        if (!name.starts_with(prefix) || end == std::string::npos)
            continue;
        if (auto one = name.substr(prefix.size(), end - prefix.size()); names.empty() || names.back() != one)
            names.push_back(std::move(one));
    }
    return names;
}

void StateFiles::setAside(const std::string& name) {
    if (!isKept()) {
        memory_.erase(name);
        return;
    }
    const auto earlier = damagedVersions(name);
    auto aside = pathOf(name);
    aside += damagedMark + utcTimeStampForFiles(std::chrono::system_clock::now());
    std::error_code error;
    fs::rename(pathOf(name), aside, error);
    if (error) {
        warn("A damaged file of the reading state could not be set aside", name, error.message());
        return;
    }
    warn("A damaged file of the reading state was set aside", name, "its contents are not valid");
    for (const auto& path : earlier) {
        if (path != aside)
            fs::remove_all(path, error);
    }
}

bool StateFiles::hasDamaged(const std::string& name) const {
    return isKept() && !damagedVersions(name).empty();
}

fs::path StateFiles::pathOf(const std::string& name) const {
    return root_ / fs::path(std::u8string(name.begin(), name.end()));
}

std::vector<fs::path> StateFiles::damagedVersions(const std::string& name) const {
    const auto path = pathOf(name);
    const auto start = nameOf(path) + damagedMark;
    std::vector<fs::path> versions;
    std::error_code error;
    fs::directory_iterator entry(path.parent_path(), error);
    for (const fs::directory_iterator end; !error && entry != end; entry.increment(error)) {
        if (nameOf(entry->path()).starts_with(start))
            versions.push_back(entry->path());
    }
    return versions;
}

void StateFiles::removeLeftovers() const {
    try {
        const auto held = FileLock::tryAcquire(root_ / lockName);
        if (!held)
            return;
        std::error_code error;
        const auto removeUnfinished = [](const fs::directory_entry& entry) {
            std::error_code ignored;
            if (isUnfinishedWrite(entry.path().filename()) && entry.is_regular_file(ignored))
                fs::remove(entry.path(), ignored);
        };
        fs::directory_iterator top(root_, error);
        for (const fs::directory_iterator end; !error && top != end; top.increment(error))
            removeUnfinished(*top);
        for (int kind = 0; kind < stateKindCount; ++kind) {
            // Links are not followed.
            error.clear();
            fs::recursive_directory_iterator entry(root_ / stateFolder(static_cast<StateKind>(kind)), error);
            for (const fs::recursive_directory_iterator end; !error && entry != end; entry.increment(error))
                removeUnfinished(*entry);
        }
    } catch (const std::system_error&) {
        // No root folder yet, or no lock to be had: the next start tries again.
    }
}

} // namespace zorbel

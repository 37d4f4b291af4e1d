#include "cache/SessionWorkspace.h"

#include "platform/FileLock.h"
#include "platform/PrivateFile.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <exception>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

namespace zorbel {

namespace fs = std::filesystem;

namespace {

const QString namePrefix = QStringLiteral("zorbel-viewer-session-");
constexpr char lockName[] = "owner.lock";

QString orTemporary(const QString& parentFolder) {
    return parentFolder.isEmpty() ? QDir::tempPath() : parentFolder;
}

void removeContents(const fs::path& folder) noexcept {
    try {
        std::vector<fs::path> entries;
        for (const auto& entry : fs::directory_iterator(folder))
            if (entry.path().filename() != lockName)
                entries.push_back(entry.path());
        std::error_code ignored;
        for (const auto& entry : entries)
            fs::remove_all(entry, ignored);
    } catch (const std::exception&) {
        // what stays behind is seen by the folder's own removal
    }
}

enum class Removal { Removed, Owned, Failed };

/// The lock file goes last: while it is there and held, nobody takes the folder for his own.
Removal removeUnlessOwned(const fs::path& folder) {
    std::error_code error;
    try {
        auto lock = FileLock::tryAcquire(folder / lockName);
        if (!lock)
            return Removal::Owned;
        removeContents(folder);
        lock->removeFile();
        fs::remove(folder, error);
    } catch (const std::system_error&) {
        // Its owner may have removed it meanwhile.
    }
    return fs::exists(folder, error) ? Removal::Failed : Removal::Removed;
}

} // namespace

/// One workspace on the disk, owned.
class SessionWorkspace::Folder {
public:
    /// Null when the folder cannot be created.
    static std::unique_ptr<Folder> create(const QString& parent) {
        // A start elsewhere may take the new folder for a leftover before its lock is there.
        constexpr int attempts = 3;
        for (int attempt = 0; attempt < attempts; ++attempt) {
            auto folder = std::make_unique<QTemporaryDir>(
                parent + QLatin1Char('/') + namePrefix + QStringLiteral("XXXXXX"));
            if (!folder->isValid())
                return nullptr;
            try {
                if (auto lock =
                        FileLock::tryAcquire(QFileInfo(folder->path()).filesystemFilePath() / lockName))
                    return std::unique_ptr<Folder>(new Folder(std::move(folder), std::move(*lock)));
            } catch (const std::system_error&) {
                // The folder is gone, or not to be written; another attempt tells.
            }
        }
        return nullptr;
    }
    ~Folder() {
        removeContents(path());
        lock_.removeFile();
    }

    fs::path path() const { return QFileInfo(folder_->path()).filesystemFilePath(); }
    bool exists() const {
        std::error_code error;
        return fs::exists(path() / lockName, error);
    }

private:
    Folder(std::unique_ptr<QTemporaryDir> folder, FileLock lock)
        : folder_(std::move(folder)), lock_(std::move(lock)) {}

    std::unique_ptr<QTemporaryDir> folder_; ///< removed after the lock is
    FileLock lock_;
};

SessionWorkspace::LoadFolder::~LoadFolder() {
    std::error_code ignored; // what stays behind goes with the workspace
    fs::remove_all(path_, ignored);
}

SessionWorkspace::SessionWorkspace(QString parentFolder) : parentFolder_(std::move(parentFolder)) {}

SessionWorkspace::~SessionWorkspace() = default;

std::unique_ptr<SessionWorkspace::LoadFolder> SessionWorkspace::newLoadFolder() {
    const std::lock_guard lock(mutex_);
    // The folder is looked for again at each load: a clean-up tool may have swept it away in between.
    if (!folder_ || !folder_->exists())
        folder_ = Folder::create(orTemporary(parentFolder_));
    std::error_code error;
    const auto path = folder_ ? folder_->path() / ("load-" + std::to_string(++nextLoad_)) : fs::path();
    if (!folder_ || !fs::create_directory(path, error) || error) {
        folder_.reset();
        throw std::runtime_error("Cannot create the session-only DICOM workspace.");
    }
    return std::unique_ptr<LoadFolder>(new LoadFolder(path));
}

SessionWorkspace::Leftovers SessionWorkspace::removeLeftovers(const QString& parentFolder) {
    Leftovers result;
    const QDir parent(orTemporary(parentFolder));
    for (const QString& name : parent.entryList({namePrefix + QLatin1Char('*')}, QDir::Dirs)) {
        const fs::path folder = QFileInfo(parent.filePath(name)).filesystemFilePath();
        if (!isOwnFolder(folder))
            continue; // another user's; in a temporary folder for all, names prove nothing
        const Removal removal = removeUnlessOwned(folder);
        result.removed += removal == Removal::Removed ? 1 : 0;
        result.kept += removal == Removal::Failed ? 1 : 0;
    }
    return result;
}

} // namespace zorbel

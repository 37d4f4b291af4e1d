#pragma once

#include <QString>

#include <filesystem>
#include <memory>
#include <mutex>

namespace zorbel {

/// The session's private temporary folder for downloaded DICOM files, "zorbel-viewer-session-XXXXXX" in the
/// system's temporary folder. It is created on first use and removed with its content on destruction. The
/// file "owner.lock" in it is locked as long as the owner lives, so that a later start can tell what a killed
/// program left behind from what another running program works with. Any thread.
class SessionWorkspace {
public:
    /// One load's own folder inside the workspace, removed with its content on destruction.
    class LoadFolder {
    public:
        LoadFolder(const LoadFolder&) = delete;
        LoadFolder& operator=(const LoadFolder&) = delete;
        ~LoadFolder();
        const std::filesystem::path& path() const { return path_; }

    private:
        friend class SessionWorkspace;
        explicit LoadFolder(std::filesystem::path path) : path_(std::move(path)) {}
        std::filesystem::path path_;
    };

    /// parentFolder: where the workspace is created; empty for the system's temporary folder.
    explicit SessionWorkspace(QString parentFolder = {});
    ~SessionWorkspace();

    /// Throws std::runtime_error "Cannot create the session-only DICOM workspace.".
    std::unique_ptr<LoadFolder> newLoadFolder();

    struct Leftovers {
        int removed = 0;
        int kept = 0; ///< those that could not be removed
    };
    /// Removes the workspaces of programs that ended without doing so, crashed or killed; those of running
    /// ones stay. parentFolder as above. Never throws.
    static Leftovers removeLeftovers(const QString& parentFolder = {});

private:
    class Folder;

    QString parentFolder_;
    std::mutex mutex_;
    std::unique_ptr<Folder> folder_;
    int nextLoad_ = 0;
};

} // namespace zorbel

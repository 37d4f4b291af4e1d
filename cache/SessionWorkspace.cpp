#include "cache/SessionWorkspace.h"

#include <QDir>

#include <stdexcept>
#include <system_error>

namespace zorbel {

SessionWorkspace::LoadFolder::~LoadFolder() {
    std::error_code ignored; // what stays behind goes with the workspace
    std::filesystem::remove_all(path_, ignored);
}

SessionWorkspace::SessionWorkspace(QString parentFolder) : parentFolder_(std::move(parentFolder)) {}

SessionWorkspace::~SessionWorkspace() = default;

std::unique_ptr<SessionWorkspace::LoadFolder> SessionWorkspace::newLoadFolder() {
    const std::lock_guard lock(mutex_);
    // The folder is looked for again at each load: a clean-up tool may have swept it away in between.
    if (!folder_ || !QDir(folder_->path()).exists()) {
        const QString parent = parentFolder_.isEmpty() ? QDir::tempPath() : parentFolder_;
        folder_ = std::make_unique<QTemporaryDir>(parent + QStringLiteral("/zorbel-viewer-session-XXXXXX"));
    }
    std::error_code error;
    auto path =
        std::filesystem::path(folder_->path().toStdU16String()) / ("load-" + std::to_string(++nextLoad_));
    if (!folder_->isValid() || !std::filesystem::create_directory(path, error) || error) {
        folder_.reset();
        throw std::runtime_error("Cannot create the session-only DICOM workspace.");
    }
    return std::unique_ptr<LoadFolder>(new LoadFolder(std::move(path)));
}

} // namespace zorbel

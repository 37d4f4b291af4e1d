#include "report/WordDocumentWatch.h"

#include "base/PathText.h"
#include "base/qt/QtText.h"

namespace zorbel {

WordDocumentWatch::WordDocumentWatch(
    const std::filesystem::path& document, const WordReportTiming& timing, QObject* parent)
    : QObject(parent), file_(qtText(pathText(document))), folder_(qtText(pathText(document.parent_path()))) {
    settle_.setSingleShot(true);
    settle_.setInterval(timing.settle);
    poll_.setInterval(timing.poll);
    // Not begun anew by each notice: somebody who saves without a pause is looked at all the same.
    const auto soon = [this] {
        if (!settle_.isActive())
            settle_.start();
    };
    connect(&watcher_, &QFileSystemWatcher::fileChanged, this, soon);
    connect(&watcher_, &QFileSystemWatcher::directoryChanged, this, soon);
    connect(&settle_, &QTimer::timeout, this, &WordDocumentWatch::lookDue);
    connect(&poll_, &QTimer::timeout, this, &WordDocumentWatch::lookDue);
    poll_.start();
    renew();
}

void WordDocumentWatch::renew() {
    if (!watcher_.files().contains(file_))
        watcher_.addPath(file_);
    if (!watcher_.directories().contains(folder_))
        watcher_.addPath(folder_);
}

} // namespace zorbel

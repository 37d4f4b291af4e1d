#pragma once

#include "report/WordReportTiming.h"

#include <QFileSystemWatcher>
#include <QObject>
#include <QTimer>

#include <filesystem>

namespace zorbel {

/// Says when it is worth looking at a document: soon after the system tells of a change of the file or its
/// folder (word processors save by replacing the file), and now and then in any case, for some file systems
/// tell nothing, and a file that was replaced is no longer the one that was watched. Touches no file itself
/// but through the system's notices. User-interface thread.
class WordDocumentWatch : public QObject {
    Q_OBJECT

public:
    WordDocumentWatch(
        const std::filesystem::path& document, const WordReportTiming& timing, QObject* parent = nullptr);

    /// The file was there when it was looked at: it is followed from now on, if it was not.
    void renew();

Q_SIGNALS:
    void lookDue();

private:
    QString file_;
    QString folder_;
    QFileSystemWatcher watcher_;
    QTimer settle_;
    QTimer poll_;
};

} // namespace zorbel

#pragma once

#include "viewer/reading/records/FindingList.h"
#include "viewer/reading/records/KeyImageList.h"
#include "viewer/reading/state/CrashRecovery.h"
#include "viewer/reading/state/KeyImageStore.h"
#include "viewer/reading/state/ReadingStateStore.h"
#include "viewer/reading/state/RecentStudiesFile.h"
#include "viewer/reading/state/SaveScheduler.h"
#include "viewer/reading/state/SessionFile.h"
#include "viewer/reading/state/StateFiles.h"
#include "viewer/studies/StudyIdentity.h"

#include <QObject>
#include <QString>
#include <QTimer>

#include <filesystem>
#include <optional>

namespace zorbel {

class ViewerWorkspace;

/// Remembers for the open study where the reader was, how it was hung, and what was recorded: restores it
/// when the study is shown, and writes what changes. Also which studies were opened, and which one is open
/// now. User-interface thread.
class ReadingSession : public QObject {
    Q_OBJECT

public:
    /// folder: the user's own; empty keeps everything in memory, for this session alone.
    ReadingSession(
        std::filesystem::path folder, ViewerWorkspace& workspace, bool previousRunCrashed,
        QObject* parent = nullptr);
    /// Writes what is not written yet.
    ~ReadingSession() override;

    RecentStudies recentStudies() { return recent_.load(); }
    CrashRecovery& recovery() { return recovery_; }

    /// The workspace is about to show other images: what is not written yet is written, and what changes
    /// until studyShown() is nobody's doing.
    void aboutToShow();
    /// The workspace has just been given this study's images.
    void studyShown(const StudyIdentity& study, const QString& orthancId, const QString& modality);
    /// Writes what is not written yet; no study is open afterwards.
    void studyClosed();
    bool hasStudy() const { return !study_.studyInstanceUID.isEmpty(); }

    const FindingList& findings() const { return findings_; }
    void setFindings(const FindingList& findings);
    /// The active viewport with all that lies over it; false where nothing was captured.
    bool captureKeyImage();

Q_SIGNALS:
    void statusText(const QString& text);
    void recentStudiesChanged();

private:
    void changed(StateKind kind);
    void writeDue();
    void write(const std::vector<StateKind>& kinds);
    std::string save(StateKind kind);
    void schedule();
    void restore();
    void say(const std::string& text);

    ViewerWorkspace& workspace_;
    StateFiles files_;
    ReadingStateStore store_;
    KeyImageStore keyImageStore_;
    RecentStudiesFile recent_;
    SessionFile session_;
    CrashRecovery recovery_;
    SaveScheduler scheduler_;
    QTimer timer_;
    StudyIdentity study_;
    QString modality_;
    FindingList findings_;
    KeyImageList keyImages_;
    bool restoring_ = false;
};

} // namespace zorbel

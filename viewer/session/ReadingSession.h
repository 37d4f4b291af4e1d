#pragma once

#include "base/StudyIdentity.h"
#include "viewer/reading/records/KeyImageEdits.h"
#include "viewer/reading/records/KeyImagePng.h"
#include "viewer/reading/state/ReadingSaver.h"
#include "viewer/reading/study/StudyReading.h"

#include <QImage>
#include <QObject>
#include <QPixmap>
#include <QString>

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zorbel {

/// The readings of this session: opens the one of a study with what an earlier session left of it, and has
/// written what changes, so that nobody waits for the disk. Also which studies were opened, and which one is
/// open now. What cannot be written is kept, whatever is opened or closed meanwhile, and the reader is told
/// until it is. What is given to be called is called on the user-interface thread. User-interface thread.
class ReadingSession : public QObject {
    Q_OBJECT

public:
    /// folder: the user's own; empty keeps everything in memory, for this session alone. previousRunCrashed:
    /// what the session lock told.
    ReadingSession(std::filesystem::path folder, bool previousRunCrashed, QObject* parent = nullptr);
    /// Tries once more to write what is not written.
    ~ReadingSession() override;

    /// Ready to be shown: at once where it is in memory, else when it was read. An earlier call that was not
    /// answered yet is forgotten.
    void open(const StudyIdentity& study, std::function<void(std::shared_ptr<StudyReading>)> then);
    /// The reading is on the screen: it is the open one, until another is or close().
    void shown(const std::shared_ptr<StudyReading>& reading);
    void close();
    /// Null while no study is open.
    const std::shared_ptr<StudyReading>& current() const { return current_; }

    /// A picture of the open study, for the report; statusText() says what became of it.
    void addKeyImage(const QPixmap& picture, const std::string& caption);
    /// The open study's list takes up what another program captured or removed meanwhile. then: when it has,
    /// or it cannot be read.
    void refreshKeyImages(std::function<void()> then = {});
    /// Reads a picture; null where its file is missing or damaged.
    void keyImagePicture(
        const StudyIdentity& study, const KeyImage& image, std::function<void(const QImage&)> then);
    /// Reads the files of pictures, in the given order.
    void keyImagePngs(
        const StudyIdentity& study, std::vector<KeyImage> images,
        std::function<void(std::vector<KeyImagePng>)> then);

    /// From now on everything is kept in this folder, with what was recorded so far. then: with what
    /// prevented it, in which case nothing has changed; empty for nothing.
    void moveTo(std::filesystem::path folder, std::function<void(QString failure)> then);
    /// Calls `clear`, on a thread of its own, to remove all that is kept, but for the open study, which is
    /// written again. then: with what `clear` returned.
    void clearKept(std::function<QString()> clear, std::function<void(QString failure)> then);

    void recentStudies(std::function<void(RecentStudies)> then);
    /// The study that a crashed program left open and the reader is to be asked about; see CrashRecovery.
    void recoverable(std::function<void(std::optional<StudyIdentity>)> then);
    void acceptRecovery(const StudyIdentity& study);
    void declineRecovery(const StudyIdentity& study);

    /// Nothing waits to be written, failed or not.
    bool isAllWritten() const { return saver_->unsaved().empty(); }
    /// What waits, in words.
    QString unsavedText() const { return words(saver_->unsaved()); }
    /// The program ends properly.
    void endSession();
    /// Tries to write all that is not written. left: empty, or what the reader would lose, in words.
    void finish(std::function<void(QString left)> then);

Q_SIGNALS:
    void statusText(const QString& text);
    void recentStudiesChanged();
    /// Empty where all is on the disk, or on its way there without a failure yet.
    void unsavedChanged(const QString& text);

private:
    using OnUi = std::function<void()>;
    /// Called by the saver's thread; does nothing once this object is gone.
    void post(OnUi call);
    void save(const std::string& uid, StudyReading::Change change);
    void saveKeyImages(const std::string& uid);
    /// The list on the disk becomes the reading's, with what the reader did to it.
    void adoptKeyImages(const std::shared_ptr<StudyReading>& reading, const KeyImageList& stored);
    void forgetWritten();
    void say(const std::string& text);
    QString words(const std::vector<ReadingSaver::Unsaved>& unsaved) const;

    /// Readings that are open, or have something that is not written.
    struct Kept {
        std::shared_ptr<StudyReading> reading;
        StudyReading::Subscription subscription;
        KeyImageList keyImages; ///< those whose edits are noted
        KeyImageEdits edits;    ///< since it was opened
    };
    std::map<std::string, Kept> kept_; ///< by the study's UID
    std::shared_ptr<StudyReading> current_;
    unsigned openings_ = 0; ///< so that only the last one is answered
    std::unique_ptr<ReadingSaver> saver_;
};

} // namespace zorbel

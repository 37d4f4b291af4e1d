#include "viewer/session/ReadingSession.h"

#include "viewer/reading/state/SaveAttempt.h"

#include <QBuffer>
#include <QImage>
#include <QMetaObject>
#include <QStringList>

#include <algorithm>
#include <utility>

namespace zorbel {

namespace {

QString kindWord(StateKind kind) {
    switch (kind) {
    case StateKind::ReadingPosition:
        return QStringLiteral("reading position");
    case StateKind::HangingProtocol:
        return QStringLiteral("hanging protocol");
    case StateKind::Findings:
        return QStringLiteral("findings");
    case StateKind::Measurements:
        return QStringLiteral("measurements");
    case StateKind::KeyImages:
        return QStringLiteral("key images");
    }
    return {};
}

KeyImageCapture store(
    KeyImageStore& store, const std::string& uid, KeyImageList& list, const QImage& image,
    const std::string& caption) {
    QByteArray png;
    QBuffer buffer(&png);
    if (image.isNull() || !buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "PNG"))
        return {false, KeyImageList::grabFailedText};
    return store.add(
        uid, list,
        {std::string_view(png.constData(), static_cast<std::size_t>(png.size())), image.width(),
         image.height(), caption});
}

} // namespace

ReadingSession::ReadingSession(std::filesystem::path folder, bool previousRunCrashed, QObject* parent)
    : QObject(parent) {
    saver_ = std::make_unique<ReadingSaver>(
        std::move(folder), previousRunCrashed, [this](const ReadingSaver::Report& report) {
            post([this, report] {
                for (const std::string& failure : report.failures)
                    say(failure);
                const QString left = words(report.failing);
                Q_EMIT unsavedChanged(left.isEmpty() ? QString() : QStringLiteral("Not saved: %1").arg(left));
                forgetWritten();
            });
        });
}

ReadingSession::~ReadingSession() {
    saver_.reset(); // while what it calls is still here
}

void ReadingSession::post(OnUi call) {
    QMetaObject::invokeMethod(this, std::move(call), Qt::QueuedConnection);
}

void ReadingSession::open(
    const StudyIdentity& study, std::function<void(std::shared_ptr<StudyReading>)> then) {
    const unsigned opening = ++openings_;
    const StudyIdentity identity = study.trimmed();
    if (const auto known = kept_.find(identity.studyInstanceUid); known != kept_.end()) {
        then(known->second.reading);
        return;
    }
    saver_->load(identity.studyInstanceUid, [this, opening, identity, then](StoredReading stored) {
        post([this, opening, identity, then, stored = std::move(stored)] {
            if (opening == openings_)
                then(std::make_shared<StudyReading>(identity, stored));
        });
    });
}

void ReadingSession::shown(const std::shared_ptr<StudyReading>& reading) {
    const StudyIdentity& study = reading->identity();
    if (current_ && current_ != reading)
        current_->showNothing(); // its images are not needed any more
    current_ = reading;
    auto& kept = kept_[study.studyInstanceUid];
    if (kept.reading != reading) {
        kept.reading = reading;
        kept.keyImages = reading->keyImages();
        kept.edits = {};
        kept.subscription = reading->observe(
            [this, uid = study.studyInstanceUid](StudyReading::Change change) { save(uid, change); });
    }
    forgetWritten();
    saver_->run([this, study](ReadingSaver::Stores& stores) {
        const auto session = stores.session.studyOpened(study);
        const auto recent = stores.recent.recordOpened(study);
        post([this, session, recent] {
            say(session);
            say(recent);
            Q_EMIT recentStudiesChanged();
        });
    });
}

void ReadingSession::close() {
    ++openings_;
    if (!current_)
        return;
    current_->showNothing();
    current_.reset();
    forgetWritten();
    saver_->run([this](ReadingSaver::Stores& stores) {
        const auto failure = stores.session.studyClosed();
        post([this, failure] { say(failure); });
    });
}

void ReadingSession::save(const std::string& uid, StudyReading::Change change) {
    const StudyReading& reading = *kept_.at(uid).reading;
    const auto put = [&](ReadingSaver::Part part) {
        saver_->save(uid, reading.shown().modality, std::move(part));
    };
    switch (change) {
    case StudyReading::Change::Hanging:
        put(reading.hangings());
        break;
    case StudyReading::Change::Measurements:
        put(reading.measurements().measurements());
        break;
    case StudyReading::Change::Findings:
        put(reading.findings());
        break;
    case StudyReading::Change::Series:
        if (reading.shown().image && reading.series().size() > 1) // which one is shown last
            put(reading.hangings());
        break;
    case StudyReading::Change::KeyImages:
        saveKeyImages(uid);
        break;
    case StudyReading::Change::MeasurementsSelection:
        break;
    }
}

void ReadingSession::saveKeyImages(const std::string& uid) {
    Kept& kept = kept_.at(uid);
    const KeyImageList& images = kept.reading->keyImages();
    KeyImageEdits edits;
    edits.note(kept.keyImages, images);
    if (!edits.isEmpty()) { // a capture is on the disk already
        kept.edits.note(kept.keyImages, images);
        saver_->save(uid, kept.reading->shown().modality, ReadingSaver::EditedKeyImages{images, kept.edits});
    }
    kept.keyImages = images;
}

void ReadingSession::adoptKeyImages(
    const std::shared_ptr<StudyReading>& reading, const KeyImageList& stored) {
    const auto kept = kept_.find(reading->identity().studyInstanceUid);
    if (kept == kept_.end() || kept->second.reading != reading)
        return;
    kept->second.keyImages = kept->second.edits.appliedTo(stored);
    reading->setKeyImages(kept->second.keyImages);
}

void ReadingSession::forgetWritten() {
    const auto unsaved = saver_->unsaved();
    std::erase_if(kept_, [&](const auto& entry) {
        const bool waits =
            std::any_of(unsaved.begin(), unsaved.end(), [&](const ReadingSaver::Unsaved& left) {
                return left.studyInstanceUid == entry.first;
            });
        return entry.second.reading != current_ && !waits;
    });
}

void ReadingSession::addKeyImage(const QPixmap& picture, const std::string& caption) {
    if (!current_) {
        say(KeyImageList::noStudyText);
        return;
    }
    // Writing a picture as PNG takes as long as the disk.
    saver_->run([this, reading = current_, list = current_->keyImages(), image = picture.toImage(),
                 uid = current_->identity().studyInstanceUid, caption](ReadingSaver::Stores& stores) {
        KeyImageList held = list;
        const auto result = store(stores.keyImages, uid, held, image, caption);
        post([this, reading, held, result] {
            if (result.captured)
                adoptKeyImages(reading, held);
            say(result.text);
        });
    });
}

void ReadingSession::refreshKeyImages(std::function<void()> then) {
    if (!current_) {
        post([then] {
            if (then)
                then();
        });
        return;
    }
    saver_->run([this, reading = current_, then](ReadingSaver::Stores& stores) {
        const auto stored = stores.keyImages.list(reading->identity().studyInstanceUid);
        post([this, reading, stored, then] {
            if (stored)
                adoptKeyImages(reading, *stored);
            if (then)
                then();
        });
    });
}

void ReadingSession::keyImagePicture(
    const StudyIdentity& study, const KeyImage& image, std::function<void(const QImage&)> then) {
    saver_->run(
        [this, uid = study.studyInstanceUid, image, then = std::move(then)](ReadingSaver::Stores& stores) {
            const auto png = stores.keyImages.png(uid, image);
            const QImage picture = png ? QImage::fromData(QByteArray::fromStdString(*png), "PNG") : QImage();
            post([then, picture] { then(picture); });
        });
}

void ReadingSession::keyImagePngs(
    const StudyIdentity& study, std::vector<KeyImage> images,
    std::function<void(std::vector<KeyImagePng>)> then) {
    saver_->run([this, uid = study.studyInstanceUid, images = std::move(images),
                 then = std::move(then)](ReadingSaver::Stores& stores) {
        std::vector<KeyImagePng> pictures;
        for (const KeyImage& image : images)
            pictures.push_back({image, stores.keyImages.png(uid, image)});
        post([then, pictures = std::move(pictures)] { then(pictures); });
    });
}

void ReadingSession::moveTo(std::filesystem::path folder, std::function<void(QString)> then) {
    std::optional<StudyIdentity> open;
    if (current_)
        open = current_->identity();
    saver_->moveTo(std::move(folder), std::move(open), [this, then](const std::string& failure) {
        post([this, then, failure] {
            Q_EMIT recentStudiesChanged();
            then(QString::fromStdString(failure));
        });
    });
}

void ReadingSession::clearKept(std::function<QString()> clear, std::function<void(QString)> then) {
    saver_->run([this, reading = current_, clear = std::move(clear), then](ReadingSaver::Stores& stores) {
        const std::string uid = reading ? reading->identity().studyInstanceUid : std::string();
        const KeyImageList list = stores.keyImages.list(uid).value_or(KeyImageList());
        std::vector<KeyImagePng> pictures;
        for (const KeyImage& image : list.images())
            pictures.push_back({image, stores.keyImages.png(uid, image)});
        stores.session.studyClosed(); // its lock lies there, too
        const QString failure = clear();
        std::string lost;
        if (reading) {
            stores.session.studyOpened(reading->identity());
            if (!pictures.empty())
                lost = attemptSave(saveFailedText(StateKind::KeyImages), [&] {
                    stores.keyImages.putBack(uid, list, pictures);
                });
        }
        post([this, reading, uid, failure, then, lost] {
            if (kept_.contains(uid))
                for (const auto change :
                     {StudyReading::Change::Hanging, StudyReading::Change::Measurements,
                      StudyReading::Change::Findings})
                    save(uid, change);
            say(lost);
            Q_EMIT recentStudiesChanged();
            then(failure);
        });
    });
}

void ReadingSession::recentStudies(std::function<void(RecentStudies)> then) {
    saver_->run([this, then](ReadingSaver::Stores& stores) {
        post([then, recent = stores.recent.load()] { then(recent); });
    });
}

void ReadingSession::recoverable(std::function<void(std::optional<StudyIdentity>)> then) {
    saver_->run([this, then](ReadingSaver::Stores& stores) {
        post([then, study = stores.recovery.question()] { then(study); });
    });
}

void ReadingSession::acceptRecovery(const StudyIdentity& study) {
    saver_->run([study](ReadingSaver::Stores& stores) { stores.recovery.accept(study); });
}

void ReadingSession::declineRecovery(const StudyIdentity& study) {
    saver_->run([this, study](ReadingSaver::Stores& stores) {
        const auto failure = stores.recovery.decline(study);
        post([this, failure] { say(failure); });
    });
}

void ReadingSession::endSession() {
    saver_->run([](ReadingSaver::Stores& stores) { stores.recovery.endSession(); });
}

void ReadingSession::finish(std::function<void(QString)> then) {
    saver_->flush([this, then](const ReadingSaver::Report& report) {
        post([this, then, report] { then(words(report.failing)); });
    });
}

QString ReadingSession::words(const std::vector<ReadingSaver::Unsaved>& unsaved) const {
    QStringList studies;
    for (const ReadingSaver::Unsaved& study : unsaved) {
        QStringList kinds;
        for (const StateKind kind : study.kinds)
            kinds += kindWord(kind);
        const auto kept = kept_.find(study.studyInstanceUid);
        const auto name = kept != kept_.end() ? kept->second.reading->identity().patientName : std::string();
        const QString what = kinds.join(QStringLiteral(", "));
        studies += name.empty() ? what : QStringLiteral("%1 of %2").arg(what, QString::fromStdString(name));
    }
    return studies.join(QStringLiteral("; "));
}

void ReadingSession::say(const std::string& text) {
    if (!text.empty())
        Q_EMIT statusText(QString::fromStdString(text));
}

} // namespace zorbel

#include "viewer/session/ReadingSession.h"

#include "app/log/Logger.h"
#include "viewer/measuring/MeasurementController.h"
#include "viewer/reading/records/MeasurementRecords.h"
#include "viewer/workspace/ViewerWorkspace.h"

#include <QBuffer>
#include <QPixmap>

#include <chrono>
#include <utility>

namespace zorbel {

ReadingSession::ReadingSession(
    std::filesystem::path folder, ViewerWorkspace& workspace, bool previousRunCrashed, QObject* parent)
    : QObject(parent), workspace_(workspace), files_(std::move(folder)), store_(files_),
      keyImageStore_(files_), recent_(files_), session_(files_),
      recovery_(session_, recent_, previousRunCrashed) {
    timer_.setSingleShot(true);
    connect(&timer_, &QTimer::timeout, this, &ReadingSession::writeDue);
    connect(
        &workspace, &ViewerWorkspace::positionChanged, this, [this] { changed(StateKind::ReadingPosition); });
    connect(
        &workspace, &ViewerWorkspace::hangingChanged, this, [this] { changed(StateKind::HangingProtocol); });
    connect(&workspace.measurements(), &MeasurementController::recordsChanged, this, [this] {
        changed(StateKind::Measurements);
    });
}

ReadingSession::~ReadingSession() {
    write(scheduler_.takeAll(std::chrono::steady_clock::now()));
}

void ReadingSession::aboutToShow() {
    write(scheduler_.takeAll(std::chrono::steady_clock::now()));
    timer_.stop();
    restoring_ = true;
}

void ReadingSession::studyShown(
    const StudyIdentity& study, const QString& orthancId, const QString& modality) {
    // Another series of the same study: its records stay as they are in memory.
    const bool another = study.studyInstanceUID != study_.studyInstanceUID;
    if (another) {
        scheduler_.reset();
        study_ = study;
    }
    modality_ = modality;
    const std::string uid = study.studyInstanceUID.toStdString();
    if (another) {
        findings_ = store_.findings(uid);
        keyImages_ = keyImageStore_.load(uid);
        const auto records = MeasurementRecords::fromJson(store_.measurements(uid));
        if (records.unreadable > 0)
            Logger::instance().warn(
                "MainWindow", "Measurements that cannot be read were left out",
                {{"records", std::to_string(records.unreadable)}});
        workspace_.measurements().assign(records.measurements);
    }
    restore();
    say(session_.studyOpened(uid, orthancId.toStdString()));
    say(recent_.recordOpened(
        {uid,
         orthancId.toStdString(),
         study.patientName.toStdString(),
         study.modality.toStdString(),
         study.studyDate.toStdString(),
         {}}));
    Q_EMIT recentStudiesChanged();
}

void ReadingSession::restore() {
    restoring_ = true;
    const std::string uid = study_.studyInstanceUID.toStdString();
    if (const auto hanging = store_.hangingProtocol(uid))
        workspace_.applyHangingProtocol(*hanging);
    if (const auto position = store_.readingPosition(uid))
        workspace_.applyReadingPosition(*position);
    restoring_ = false;
}

void ReadingSession::studyClosed() {
    write(scheduler_.takeAll(std::chrono::steady_clock::now()));
    scheduler_.reset();
    timer_.stop();
    study_ = {};
    findings_ = {};
    keyImages_ = {};
    restoring_ = false;
    say(session_.studyClosed());
}

void ReadingSession::setFindings(const FindingList& findings) {
    findings_ = findings;
    changed(StateKind::Findings);
}

bool ReadingSession::captureKeyImage() {
    if (!hasStudy()) {
        Q_EMIT statusText(QString::fromLatin1(KeyImageList::noStudyText));
        return false;
    }
    const auto capture = workspace_.captureActiveViewport();
    if (!capture) {
        Q_EMIT statusText(QString::fromLatin1(KeyImageList::notVisibleText));
        return false;
    }
    QByteArray png;
    QBuffer buffer(&png);
    if (capture->picture.isNull() || !buffer.open(QIODevice::WriteOnly) ||
        !capture->picture.save(&buffer, "PNG")) {
        Q_EMIT statusText(QString::fromLatin1(KeyImageList::grabFailedText));
        return false;
    }
    const auto result = keyImageStore_.add(
        study_.studyInstanceUID.toStdString(), keyImages_,
        {std::string_view(png.constData(), static_cast<std::size_t>(png.size())), capture->picture.width(),
         capture->picture.height(), keyImageCaption(capture->view)});
    say(result.text);
    return result.captured;
}

void ReadingSession::changed(StateKind kind) {
    if (!hasStudy() || restoring_)
        return;
    scheduler_.changed(kind);
    schedule();
}

void ReadingSession::schedule() {
    const auto wait = scheduler_.wait(std::chrono::steady_clock::now());
    if (wait)
        timer_.start(std::chrono::ceil<std::chrono::milliseconds>(*wait));
}

void ReadingSession::writeDue() {
    write(scheduler_.takeDue(std::chrono::steady_clock::now()));
    schedule();
}

void ReadingSession::write(const std::vector<StateKind>& kinds) {
    for (const StateKind kind : kinds) {
        const std::string failure = save(kind);
        if (failure.empty())
            continue;
        scheduler_.failed(kind, std::chrono::steady_clock::now());
        say(failure);
    }
}

std::string ReadingSession::save(StateKind kind) {
    const std::string uid = study_.studyInstanceUID.toStdString();
    switch (kind) {
    case StateKind::ReadingPosition:
        if (auto position = workspace_.readingPosition()) {
            position->studyInstanceUid = uid;
            position->modality = modality_.toStdString();
            return store_.save(*position);
        }
        return {};
    case StateKind::HangingProtocol:
        return store_.save(uid, workspace_.hangingProtocol());
    case StateKind::Findings:
        return store_.save(uid, findings_);
    case StateKind::Measurements:
        return store_.saveMeasurements(
            uid, MeasurementRecords::toJson(workspace_.measurements().list().measurements()));
    case StateKind::KeyImages:
        return {}; // written with each capture
    }
    return {};
}

void ReadingSession::say(const std::string& text) {
    if (!text.empty())
        Q_EMIT statusText(QString::fromStdString(text));
}

} // namespace zorbel

#include "viewer/reading/state/ReadingSaver.h"

#include "app/log/Logger.h"
#include "platform/threads/StackGuard.h"
#include "viewer/reading/records/MeasurementRecords.h"

#include <chrono>
#include <utility>

namespace zorbel {

namespace {

using Clock = std::chrono::steady_clock;

/// The positions of the planes as their own file has them; nothing where no series has any.
std::optional<ReadingPosition>
positionOf(const std::string& uid, const std::string& modality, const StudyHanging& hanging) {
    ReadingPosition position;
    position.studyInstanceUid = uid;
    position.modality = modality;
    for (const auto& [key, protocol] : hanging.series)
        if (protocol.planes)
            position.series[key] = *protocol.planes;
    if (position.series.empty())
        return std::nullopt;
    // A 2D image of the study may have been looked at since.
    position.last = position.series.count(hanging.last) > 0 ? hanging.last : position.series.begin()->first;
    return position;
}

StoredReading read(ReadingSaver::Stores& stores, const std::string& uid) {
    StoredReading stored;
    stored.findings = stores.state.findings(uid);
    stored.keyImages = stores.keyImages.load(uid);
    auto records = MeasurementRecords::fromJson(stores.state.measurements(uid));
    if (records.unreadable > 0)
        Logger::instance().warn(
            "MainWindow", "Measurements that cannot be read were left out",
            {{"records", std::to_string(records.unreadable)}});
    stored.measurements = std::move(records.measurements);
    stored.hanging = stores.state.hanging(uid).value_or(StudyHanging());
    if (const auto position = stores.state.readingPosition(uid))
        for (const auto& [key, planes] : position->series) {
            if (stored.hanging.series.count(key) == 0)
                stored.hanging.series[key] = stored.hanging.of(key);
            stored.hanging.series[key].planes = planes;
        }
    return stored;
}

} // namespace

ReadingSaver::Stores::Stores(std::filesystem::path folder, bool previousRunCrashed)
    : files(std::move(folder)), recovery(session, recent, previousRunCrashed) {}

ReadingSaver::ReadingSaver(
    std::filesystem::path folder, bool previousRunCrashed, std::function<void(const Report&)> report)
    : report_(std::move(report)),
      thread_([this, folder = std::move(folder), previousRunCrashed] { work(folder, previousRunCrashed); }) {}

ReadingSaver::~ReadingSaver() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    wake_.notify_all();
    thread_.join();
}

std::vector<StateKind> ReadingSaver::kindsOf(const Part& part) {
    if (std::holds_alternative<StudyHanging>(part))
        return {StateKind::ReadingPosition, StateKind::HangingProtocol};
    if (std::holds_alternative<EditedKeyImages>(part))
        return {StateKind::KeyImages};
    return {std::holds_alternative<FindingList>(part) ? StateKind::Findings : StateKind::Measurements};
}

void ReadingSaver::save(const std::string& studyInstanceUid, const std::string& modality, Part part) {
    {
        const std::lock_guard lock(mutex_);
        Study& study = studies_[studyInstanceUid];
        study.modality = modality;
        const auto shared = std::make_shared<const Part>(std::move(part));
        for (const StateKind kind : kindsOf(*shared)) {
            study.slots[static_cast<std::size_t>(kind)].part = shared;
            study.scheduler.changed(kind);
        }
    }
    wake_.notify_all();
}

void ReadingSaver::run(std::function<void(Stores&)> job) {
    {
        const std::lock_guard lock(mutex_);
        jobs_.push_back([this, job = std::move(job)](Lock& held) {
            held.unlock();
            job(*stores_);
            held.lock();
        });
    }
    wake_.notify_all();
}

void ReadingSaver::load(const std::string& studyInstanceUid, std::function<void(StoredReading)> loaded) {
    {
        const std::lock_guard lock(mutex_);
        jobs_.push_back([this, uid = studyInstanceUid, loaded = std::move(loaded)](Lock& held) {
            writeAll(held);
            held.unlock();
            loaded(read(*stores_, uid));
            held.lock();
        });
    }
    wake_.notify_all();
}

void ReadingSaver::flush(std::function<void(const Report&)> done) {
    {
        const std::lock_guard lock(mutex_);
        jobs_.push_back([this, done = std::move(done)](Lock& held) {
            const Report report = write(held, takeWaiting(true));
            held.unlock();
            done(report);
            held.lock();
        });
    }
    wake_.notify_all();
}

void ReadingSaver::moveTo(
    std::filesystem::path folder, std::optional<StudyIdentity> open,
    std::function<void(std::string failure)> moved) {
    {
        const std::lock_guard lock(mutex_);
        jobs_.push_back(
            [this, folder = std::move(folder), open = std::move(open), moved = std::move(moved)](Lock& held) {
                writeAll(held); // what cannot be written waits, and then goes to the new folder
                held.unlock();
                std::string failure;
                try {
                    auto next = std::make_unique<Stores>(folder, false);
                    stores_->files.copyTo(next->files);
                    stores_->session.studyClosed();
                    stores_ = std::move(next);
                    if (open)
                        stores_->session.studyOpened(*open);
                } catch (const std::exception& error) {
                    failure = error.what();
                }
                moved(failure);
                held.lock();
            });
    }
    wake_.notify_all();
}

std::vector<ReadingSaver::Unsaved> ReadingSaver::unsaved() const {
    const std::lock_guard lock(mutex_);
    return listed(false);
}

std::vector<ReadingSaver::Unsaved> ReadingSaver::listed(bool failingOnly) const {
    std::vector<Unsaved> list;
    for (const auto& [uid, study] : studies_) {
        Unsaved unsaved{uid, {}};
        for (std::size_t kind = 0; kind < study.slots.size(); ++kind)
            if (study.slots[kind].part && (!failingOnly || study.slots[kind].failing))
                unsaved.kinds.push_back(static_cast<StateKind>(kind));
        if (!unsaved.kinds.empty())
            list.push_back(std::move(unsaved));
    }
    return list;
}

std::vector<ReadingSaver::Attempt> ReadingSaver::takeWaiting(bool all) {
    std::vector<Attempt> attempts;
    const auto now = Clock::now();
    for (auto& [uid, study] : studies_)
        for (const StateKind kind : all ? study.scheduler.takeAll(now) : study.scheduler.takeDue(now))
            if (const Slot& slot = study.slots[static_cast<std::size_t>(kind)]; slot.part)
                attempts.push_back({uid, study.modality, kind, slot.part});
    return attempts;
}

std::string ReadingSaver::write(const Attempt& attempt) {
    if (const auto* findings = std::get_if<FindingList>(attempt.part.get()))
        return stores_->state.save(attempt.uid, *findings);
    if (const auto* measurements = std::get_if<std::vector<Measurement>>(attempt.part.get()))
        return stores_->state.saveMeasurements(attempt.uid, MeasurementRecords::toJson(*measurements));
    if (const auto* keyImages = std::get_if<EditedKeyImages>(attempt.part.get()))
        return stores_->keyImages.edit(attempt.uid, keyImages->list, keyImages->edits);
    const auto& hanging = std::get<StudyHanging>(*attempt.part);
    if (attempt.kind == StateKind::HangingProtocol)
        return stores_->state.save(attempt.uid, hanging);
    const auto position = positionOf(attempt.uid, attempt.modality, hanging);
    return position ? stores_->state.save(*position) : std::string();
}

ReadingSaver::Report ReadingSaver::write(Lock& lock, const std::vector<Attempt>& attempts) {
    Report report;
    bool recovered = false;
    for (const Attempt& attempt : attempts) {
        lock.unlock();
        const std::string failure = write(attempt);
        lock.lock();
        Study& study = studies_[attempt.uid];
        Slot& slot = study.slots[static_cast<std::size_t>(attempt.kind)];
        if (!failure.empty()) {
            if (!std::exchange(slot.failing, true)) // told once; that it lasts is in report.failing
                report.failures.push_back(failure);
            study.scheduler.failed(attempt.kind, Clock::now());
            continue;
        }
        recovered = recovered || slot.failing;
        slot.failing = false;
        if (slot.part == attempt.part)
            slot.part.reset(); // nothing newer was given meanwhile
    }
    report.failing = listed(true);
    if (report_ && (recovered || !report.failures.empty())) {
        lock.unlock();
        report_(report);
        lock.lock();
    }
    return report;
}

void ReadingSaver::writeAll(Lock& lock) {
    write(lock, takeWaiting(true));
}

std::optional<SaveScheduler::Duration> ReadingSaver::timeUntilDue() const {
    std::optional<SaveScheduler::Duration> shortest;
    for (const auto& [uid, study] : studies_)
        if (const auto wait = study.scheduler.wait(Clock::now()))
            shortest = shortest ? std::min(*shortest, *wait) : *wait;
    return shortest;
}

void ReadingSaver::work(const std::filesystem::path& folder, bool previousRunCrashed) {
    guardThreadStack();
    stores_ = std::make_unique<Stores>(folder, previousRunCrashed);
    Lock lock(mutex_);
    while (!ending_ || !jobs_.empty()) {
        if (!jobs_.empty()) {
            const auto job = std::move(jobs_.front());
            jobs_.pop_front();
            job(lock);
            continue;
        }
        if (const auto attempts = takeWaiting(false); !attempts.empty()) {
            write(lock, attempts);
            continue;
        }
        if (const auto wait = timeUntilDue())
            wake_.wait_for(lock, *wait);
        else
            wake_.wait(lock);
    }
    writeAll(lock);
}

} // namespace zorbel

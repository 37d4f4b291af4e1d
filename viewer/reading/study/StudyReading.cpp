#include "viewer/reading/study/StudyReading.h"

#include <algorithm>
#include <utility>

namespace zorbel {

StudyReading::StudyReading(StudyIdentity identity, StoredReading stored)
    : identity_(std::move(identity)), hangings_(std::move(stored.hanging)),
      findings_(std::move(stored.findings)), keyImages_(std::move(stored.keyImages)) {
    measurements_.assign(std::move(stored.measurements));
    measurements_.setChangeCallback([this](MeasurementList::Change change) {
        tell(
            change == MeasurementList::Change::Records ? Change::Measurements
                                                       : Change::MeasurementsSelection);
    });
}

void StudyReading::show(StudySeries series) {
    newlyHung_ = hangings_.series.count(series.key) == 0 && hangings_.series.count(std::string()) == 0;
    if (hangings_.series.count(series.key) == 0) {
        hangings_.series[series.key] = hangings_.of(series.key);
        hangings_.series.erase(std::string()); // what spoke for all series has done so
    }
    hangings_.last = series.key;
    shown_ = std::move(series);
    const auto known = std::find_if(
        series_.begin(), series_.end(), [this](const StudySeries& other) { return other.key == shown_.key; });
    StudySeries record = shown_;
    record.image.reset();
    if (known == series_.end())
        series_.push_back(std::move(record));
    else
        *known = std::move(record);
    tell(Change::Series);
}

void StudyReading::showNothing() {
    shown_ = {};
    tell(Change::Series);
}

const HangingProtocol& StudyReading::hanging() const {
    static const HangingProtocol none;
    const auto found = hangings_.series.find(shown_.key);
    return shown_.key.empty() || found == hangings_.series.end() ? none : found->second;
}

void StudyReading::setHanging(HangingProtocol hanging) {
    if (shown_.key.empty() || hanging == this->hanging())
        return;
    hangings_.series[shown_.key] = std::move(hanging);
    tell(Change::Hanging);
}

void StudyReading::setFindings(FindingList findings) {
    if (findings == findings_)
        return;
    findings_ = std::move(findings);
    tell(Change::Findings);
}

void StudyReading::setKeyImages(KeyImageList images) {
    if (images == keyImages_)
        return;
    keyImages_ = std::move(images);
    tell(Change::KeyImages);
}

StudyReading::Subscription StudyReading::observe(Observer observer) {
    auto subscription = std::make_shared<const Observer>(std::move(observer));
    observers_.push_back(subscription);
    return subscription;
}

void StudyReading::tell(Change change) {
    std::erase_if(observers_, [](const auto& observer) { return observer.expired(); });
    // An observer may add others, or take itself away.
    const auto told = observers_;
    for (const auto& observer : told)
        if (const auto living = observer.lock())
            (*living)(change);
}

} // namespace zorbel

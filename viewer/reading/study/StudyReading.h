#pragma once

#include "base/StudyIdentity.h"
#include "viewer/reading/measurements/MeasurementList.h"
#include "viewer/reading/records/FindingList.h"
#include "viewer/reading/records/KeyImageList.h"
#include "viewer/reading/state/HangingProtocol.h"
#include "viewer/reading/state/StoredReading.h"
#include "viewer/reading/study/StudySeries.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace zorbel {

/// The reading of one open study, and all that is known of it: whose it is, its series, how each of them
/// hangs, and what the reader recorded. Views show it and change it through here; persistence, report and
/// export read it and nothing else. It tells of every change. User-interface thread.
class StudyReading {
public:
    enum class Change {
        Series,                ///< another one is shown, or none
        Hanging,               ///< of the series that is shown
        Measurements,          ///< the records
        MeasurementsSelection, ///< which of them is selected
        Findings,
        KeyImages,
    };
    using Observer = std::function<void(Change)>;
    /// Being told ends with it. It may outlive the reading.
    using Subscription = std::shared_ptr<const Observer>;

    explicit StudyReading(StudyIdentity identity, StoredReading stored = {});
    StudyReading(const StudyReading&) = delete;
    StudyReading& operator=(const StudyReading&) = delete;

    const StudyIdentity& identity() const { return identity_; }

    /// The series becomes the one that is shown; the image of the one before is let go.
    void show(StudySeries series);
    /// No series is shown, and no image held.
    void showNothing();
    /// Empty key and no image while none is shown.
    const StudySeries& shown() const { return shown_; }
    /// All that were shown so far, without their images, in that order.
    const std::vector<StudySeries>& series() const { return series_; }

    /// Of the series that is shown.
    const HangingProtocol& hanging() const;
    /// It had none before it was shown this time.
    bool isNewlyHung() const { return newlyHung_; }
    /// edit: takes the hanging of the shown series and changes it. Nothing without one.
    template <class Edit>
    void editHanging(Edit edit) {
        HangingProtocol edited = hanging();
        edit(edited);
        setHanging(std::move(edited));
    }
    /// As it is written: all series.
    const StudyHanging& hangings() const { return hangings_; }

    MeasurementList& measurements() { return measurements_; }
    const MeasurementList& measurements() const { return measurements_; }
    const FindingList& findings() const { return findings_; }
    void setFindings(FindingList findings);
    const KeyImageList& keyImages() const { return keyImages_; }
    void setKeyImages(KeyImageList images);

    [[nodiscard]] Subscription observe(Observer observer);

private:
    void setHanging(HangingProtocol hanging);
    void tell(Change change);

    const StudyIdentity identity_;
    StudySeries shown_;
    std::vector<StudySeries> series_;
    StudyHanging hangings_;
    bool newlyHung_ = false;
    MeasurementList measurements_;
    FindingList findings_;
    KeyImageList keyImages_;
    std::vector<std::weak_ptr<const Observer>> observers_;
};

} // namespace zorbel

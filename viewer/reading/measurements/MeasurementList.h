#pragma once

#include "viewer/reading/measurements/MeasurementPlane.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace zorbel {

/// The open study's measurements in the order in which they were drawn, and which of them is selected. An id
/// names a measurement as long as the list lives and is never used twice. One thread.
class MeasurementList {
public:
    enum class Change {
        Records,   ///< to be saved
        Selection, ///< to be shown only
    };

    const std::vector<Measurement>& measurements() const { return measurements_; }
    /// Null for an unknown id; valid until the next change.
    const Measurement* find(int id) const;

    /// Appends it under a new id, which is returned.
    int add(Measurement measurement);
    /// Takes the place of the measurement with the same id; false where there is none.
    bool replace(const Measurement& measurement);
    /// The reader's own name for it; an empty one takes it away. False for an unknown id.
    bool setLabel(int id, const std::string& label);
    /// What each of them measures, see Measurement::value; valueOf: nothing where it stays as it is.
    void setValues(const std::function<std::optional<std::string>(const Measurement&)>& valueOf);
    /// False for an unknown id.
    bool remove(int id);
    /// Another study's, as read from a file. Those that lack points or hold numbers that are not finite are
    /// left out; returns how many. Tells of a change of the selection: there is nothing to save.
    int assign(std::vector<Measurement> measurements);
    void clear() { assign({}); }

    /// Nothing, or an unknown id: none is selected.
    void select(std::optional<int> id);
    std::optional<int> selected() const { return selected_; }
    /// What Delete removes: the selected one; else the last drawn of those that `isShown` holds for, so that
    /// nothing goes that the reader does not see. Without a predicate, of all.
    std::optional<int> deletionTarget(const std::function<bool(const Measurement&)>& isShown = {}) const;

    /// In drawing order; valid until the next change.
    std::vector<const Measurement*> shownOn(const MeasurementPlane& plane) const;

    /// Called after each change.
    void setChangeCallback(std::function<void(Change)> callback) { changed_ = std::move(callback); }

private:
    std::vector<Measurement>::iterator position(int id);
    void tell(Change change) const {
        if (changed_)
            changed_(change);
    }

    std::vector<Measurement> measurements_;
    std::optional<int> selected_;
    int lastId_ = 0;
    std::function<void(Change)> changed_;
};

} // namespace zorbel

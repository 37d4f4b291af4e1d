#include "imaging/dicom/BlockBuilder.h"

#include "imaging/dicom/SliceStack.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <set>
#include <string_view>
#include <tuple>

namespace zorbel::imaging {

namespace {

/// Less than this, and a slant comes from orientation cosines written with few digits.
constexpr double smallestTiltDegrees = 0.05;
/// So does less than this, in millimetres from the first slice to the last, from positions written so.
constexpr double smallestShift = 0.03;

struct Candidate {
    std::shared_ptr<const DicomFileHeader> header;
    std::size_t index = 0;

    const FrameHeader& frame() const { return header->frames[index]; }
    Orientation orientation() const {
        return frame().orientation.value_or(Orientation{{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}});
    }
};
using Candidates = std::vector<Candidate>;

bool sameNumber(double a, double b) {
    return std::abs(a - b) <= 1e-3 * std::max(std::abs(a), std::abs(b));
}

/// What kept two frames apart, for SplitReason::details; empty when they may share a block.
std::string valueDifference(const Candidate& a, const Candidate& b) {
    const DicomFileHeader& x = *a.header;
    const DicomFileHeader& y = *b.header;
    if (x.columns != y.columns || x.rows != y.rows)
        return "size";
    if (x.metadata.photometricInterpretation != y.metadata.photometricInterpretation)
        return "photometric interpretation";
    if (x.format.bitsAllocated != y.format.bitsAllocated || x.format.isSigned != y.format.isSigned ||
        x.format.samples != y.format.samples)
        return "pixel format";
    if (a.header != b.header && (a.frame().positionAssumed || b.frame().positionAssumed))
        return "file";
    return {};
}

bool samePixelSpacing(const Candidate& a, const Candidate& b) {
    const auto& p = a.frame().pixelSpacing;
    const auto& q = b.frame().pixelSpacing;
    if (!p || !q)
        return p.has_value() == q.has_value();
    return sameNumber(p->first, q->first) && sameNumber(p->second, q->second);
}

constexpr double sameCosine = 1e-4;

bool sameOrientation(const Orientation& p, const Orientation& q) {
    const auto close = [](const Vector3& u, const Vector3& v) {
        return std::abs(u[0] - v[0]) < sameCosine && std::abs(u[1] - v[1]) < sameCosine &&
               std::abs(u[2] - v[2]) < sameCosine;
    };
    return close(p.first, q.first) && close(p.second, q.second);
}

template <class Same>
std::vector<Candidates> partition(const Candidates& all, Same same) {
    std::vector<Candidates> groups;
    for (const Candidate& candidate : all) {
        const auto group = std::find_if(
            groups.begin(), groups.end(), [&](const Candidates& g) { return same(g.front(), candidate); });
        if (group == groups.end())
            groups.push_back({candidate});
        else
            group->push_back(candidate);
    }
    return groups;
}

/// As partition() by sameOrientation(), in the time of a search even where each frame has its own: the same
/// ones lie near each other along any line through their six numbers.
std::vector<Candidates> partitionByOrientation(const Candidates& all) {
    constexpr Vector3 rowWeights{0.31, 0.57, 0.83};
    constexpr Vector3 columnWeights{0.91, 0.43, 0.67};
    constexpr double reach = sameCosine * (0.31 + 0.57 + 0.83 + 0.91 + 0.43 + 0.67);
    std::vector<Candidates> groups;
    std::multimap<double, std::pair<std::size_t, Orientation>> places; ///< of each group's first
    for (const Candidate& candidate : all) {
        const Orientation orientation = candidate.orientation();
        const double place = dot(orientation.first, rowWeights) + dot(orientation.second, columnWeights);
        std::size_t group = groups.size();
        for (auto at = places.lower_bound(place - reach); at != places.end() && at->first <= place + reach;
             ++at)
            if (at->second.first < group && sameOrientation(at->second.second, orientation))
                group = at->second.first;
        if (group == groups.size()) {
            groups.emplace_back();
            places.emplace(place, std::pair(group, orientation));
        }
        groups[group].push_back(candidate);
    }
    return groups;
}

Vector3 normalOf(const Candidate& candidate) {
    const Orientation orientation = candidate.orientation();
    return cross(orientation.first, orientation.second);
}

ImageGeometry geometryOf(const Candidates& frames, const Vector3* step) {
    const Candidate& first = frames.front();
    const Orientation orientation = first.orientation();
    const Vector3 normal = cross(orientation.first, orientation.second);
    const auto inPlane =
        first.frame().pixelSpacing.value_or(std::pair{1.0, first.header->metadata.pixelAspectRatio});
    Vector3 sliceStep = normal * first.frame().sliceSpacing.value_or(1.0);
    if (step)
        sliceStep = *step;
    const Vector3 spacing{inPlane.first, inPlane.second, dot(sliceStep, normal)};
    return ImageGeometry(
        {first.header->columns, first.header->rows, static_cast<int>(frames.size())},
        first.frame().position.value_or(Vector3{0.0, 0.0, 0.0}), orientation.first, orientation.second,
        spacing, sliceStep);
}

ImageBlock makeBlock(const Candidates& frames, const Vector3* step, std::vector<SplitReason> reasons) {
    ImageBlock block;
    block.splitReasons = std::move(reasons);
    block.geometry = geometryOf(frames, step);
    const Candidate& middle = frames[frames.size() / 2];
    block.metadata = middle.header->metadata;
    block.metadata.windows = middle.frame().windows;
    if (const auto& padding = middle.header->storedPadding) {
        const ModalityRescale& rescale = middle.frame().rescale;
        block.metadata.padding = std::minmax(
            padding->first * rescale.slope + rescale.intercept,
            padding->second * rescale.slope + rescale.intercept);
    }
    for (const Candidate& candidate : frames) {
        const FrameHeader& frame = candidate.frame();
        block.metadata.rescale.push_back(frame.rescale);
        block.frames.push_back(
            {candidate.header->file, candidate.index, candidate.header->sopInstanceUID, frame.position,
             frame.rescale, candidate.header});
    }
    return block;
}

/// Each in a slice that holds the largest of them.
ImageBlock makeSet(const Candidates& images, std::vector<SplitReason> reasons) {
    ImageBlock set = makeBlock(images, nullptr, std::move(reasons));
    std::array<int, 3> dimensions = set.geometry.dimensions();
    for (const Candidate& image : images) {
        ImageBlock alone = makeBlock({image}, nullptr, {});
        for (std::size_t axis = 0; axis < 2; ++axis)
            dimensions[axis] = std::max(dimensions[axis], alone.geometry.dimensions()[axis]);
        set.members.push_back({alone.geometry, std::move(alone.metadata)});
    }
    const ImageGeometry& first = set.geometry;
    set.geometry = ImageGeometry(
        dimensions, first.origin(), first.row(), first.column(), first.spacing(), first.sliceStep());
    const std::vector<ModalityRescale> rescale = std::move(set.metadata.rescale);
    set.metadata = set.members.front().metadata;
    set.metadata.rescale = rescale;
    return set;
}

std::vector<Vector3> positionsOf(const Candidates& frames) {
    std::vector<Vector3> positions;
    for (const Candidate& candidate : frames)
        positions.push_back(*candidate.frame().position);
    return positions;
}

/// Frames of one orientation and their places along the normal.
class Stack {
public:
    explicit Stack(Candidates frames) : frames_(std::move(frames)), normal_(normalOf(frames_.front())) {
        std::stable_sort(frames_.begin(), frames_.end(), [this](const Candidate& a, const Candidate& b) {
            return distance(a) < distance(b);
        });
        const double together = sameness();
        double start = 0.0;
        for (const Candidate& frame : frames_) {
            if (places_.empty() || distance(frame) - start > together) {
                places_.emplace_back();
                start = distance(frame);
            }
            places_.back().push_back(frame);
        }
    }

    std::size_t placeCount() const { return places_.size(); }
    bool overlapping() const { return places_.size() < frames_.size(); }
    const Vector3& normal() const { return normal_; }

    /// Sets of frames with at most one at each place; the first holds a frame of every place.
    std::vector<Candidates> acquisitions() const {
        if (!overlapping())
            return {frames_};
        std::size_t keys = 0;
        for (const Candidate& frame : frames_)
            keys = std::max(keys, frame.frame().acquisitionKeys.size());
        for (std::size_t key = 0; key <= keys; ++key)
            if (auto sets = byKey(key); !sets.empty())
                return sets;
        return byOrder();
    }

    /// Acquisitions whose slices lie among each other's, each of them regular where all together are not;
    /// empty where no key tells such apart.
    std::vector<Candidates> interleaved() const {
        if (overlapping() || isRegular(frames_))
            return {};
        for (std::size_t key = 0; key < frames_.front().frame().acquisitionKeys.size(); ++key) {
            std::size_t changes = 0;
            for (std::size_t i = 1; i < frames_.size(); ++i)
                changes += keyOf(frames_[i], key) != keyOf(frames_[i - 1], key);
            const std::vector<Candidates> sets = partition(
                frames_, [&](const auto& a, const auto& b) { return keyOf(a, key) == keyOf(b, key); });
            if (sets.size() > 1 && changes >= sets.size() &&
                std::all_of(sets.begin(), sets.end(), [&](const auto& set) {
                    return set.size() > 2 && isRegular(set);
                }))
                return sets;
        }
        return {};
    }

private:
    static std::string_view keyOf(const Candidate& candidate, std::size_t key) {
        const auto& keys = candidate.frame().acquisitionKeys;
        return key < keys.size() ? std::string_view(keys[key]) : std::string_view();
    }

    /// But for missing slices.
    bool isRegular(const Candidates& frames) const {
        const auto runs = splitStack(positionsOf(frames), normal_);
        return std::none_of(
            runs.begin(), runs.end(), [](const SliceRun& run) { return run.irregularBeside; });
    }

    double distance(const Candidate& candidate) const { return dot(*candidate.frame().position, normal_); }

    /// Frames nearer to each other than this lie at one place.
    double sameness() const {
        std::vector<double> gaps;
        for (std::size_t i = 1; i < frames_.size(); ++i)
            if (const double gap = distance(frames_[i]) - distance(frames_[i - 1]); gap > 1e-3)
                gaps.push_back(gap);
        if (gaps.empty())
            return 1e-3;
        std::nth_element(
            gaps.begin(), gaps.begin() + static_cast<std::ptrdiff_t>(gaps.size() / 2), gaps.end());
        return std::max(1e-3, 0.1 * gaps[gaps.size() / 2]);
    }

    /// Acquisitions by one of the frames' keys (the last: by file), if it tells all of them apart and one is
    /// whole.
    std::vector<Candidates> byKey(std::size_t key) const {
        std::map<std::string, std::pair<Candidates, std::set<std::size_t>>> sets;
        std::size_t largest = 0;
        for (std::size_t place = 0; place < places_.size(); ++place)
            for (const Candidate& frame : places_[place]) {
                const auto& keys = frame.frame().acquisitionKeys;
                const bool severalFrames = frame.header->frames.size() > 1;
                std::string value = key < keys.size() ? keys[key] : std::string();
                if (key >= keys.size() && severalFrames)
                    value = frame.header->sopInstanceUID + frame.header->file.string();
                auto& [members, taken] = sets[value];
                if (!taken.insert(place).second)
                    return {};
                members.push_back(frame);
                largest = std::max(largest, members.size());
            }
        if (largest < places_.size())
            return {};
        std::vector<Candidates> result;
        for (auto& [value, set] : sets)
            result.push_back(std::move(set.first));
        return result;
    }

    /// The first frame of each place in instance order, then the second of each, …
    std::vector<Candidates> byOrder() const {
        std::vector<Candidates> sets;
        for (const Candidates& place : places_)
            for (std::size_t i = 0; i < place.size(); ++i) {
                if (sets.size() <= i)
                    sets.emplace_back();
                sets[i].push_back(place[i]);
            }
        return sets;
    }

    Candidates frames_; ///< by place, then in the order given
    Vector3 normal_;
    std::vector<Candidates> places_;
};

class Builder {
public:
    std::vector<ImageBlock> blocks;

    void addSeries(const Candidates& series, const std::vector<SplitReason>& reasons) {
        Candidates placed;
        Candidates unplaced;
        for (const Candidate& candidate : series)
            (candidate.frame().position ? placed : unplaced).push_back(candidate);
        addPlaced(placed, reasons);
        addUnplaced(unplaced, series.size(), reasons);
    }

private:
    void addPlaced(const Candidates& series, const std::vector<SplitReason>& reasons) {
        const std::vector<Candidates> values =
            partition(series, [](const auto& a, const auto& b) { return valueDifference(a, b).empty(); });
        for (const Candidates& group : values) {
            std::vector<SplitReason> groupReasons = reasons;
            if (values.size() > 1) {
                const Candidates& other = &group == &values.front() ? values[1] : values.front();
                groupReasons.push_back(
                    {SplitReasonType::ValueSplitDifference, valueDifference(group.front(), other.front())});
            }
            addGroup(group, groupReasons);
        }
    }

    /// Nothing but the kind of their voxels keeps images apart that form no grid.
    void
    addUnplaced(const Candidates& images, std::size_t seriesSize, const std::vector<SplitReason>& reasons) {
        const std::vector<Candidates> kinds = partition(images, [](const auto& a, const auto& b) {
            return (a.header->photometric == Photometric::Monochrome) ==
                   (b.header->photometric == Photometric::Monochrome);
        });
        for (const Candidates& kind : kinds) {
            std::vector<SplitReason> own = reasons;
            if (kinds.size() > 1)
                own.push_back({SplitReasonType::ValueSplitDifference, "photometric interpretation"});
            if (seriesSize > 1)
                own.push_back({SplitReasonType::ImagePositionMissing, "no position"});
            blocks.push_back(kind.size() > 1 ? makeSet(kind, own) : makeBlock(kind, nullptr, own));
        }
    }

    void addGroup(const Candidates& group, const std::vector<SplitReason>& reasons) {
        const std::vector<Candidates> orientations = partitionByOrientation(group);
        for (const Candidates& frames : orientations) {
            std::vector<SplitReason> own = reasons;
            if (orientations.size() > 1)
                own.push_back(
                    {SplitReasonType::OrientationDifference,
                     std::to_string(orientations.size()) + " orientations"});
            const std::vector<Candidates> spacings = partition(frames, samePixelSpacing);
            if (spacings.size() > 1)
                own.push_back({SplitReasonType::ValueSplitDifference, "pixel spacing"});
            for (const Candidates& members : spacings)
                addStack(Stack(members), members, own);
        }
    }

    void addStack(const Stack& stack, const Candidates& frames, std::vector<SplitReason> reasons) {
        const bool assumed = std::any_of(frames.begin(), frames.end(), [](const Candidate& candidate) {
            return candidate.frame().positionAssumed || !candidate.frame().orientation;
        });
        if (assumed && frames.size() > 1)
            reasons.push_back({SplitReasonType::ImagePositionMissing, "positions assumed"});
        if (stack.overlapping())
            reasons.push_back(
                {SplitReasonType::OverlappingFrames, std::to_string(frames.size()) + " frames at " +
                                                         std::to_string(stack.placeCount()) + " positions"});
        std::vector<Candidates> acquisitions = stack.interleaved();
        if (acquisitions.empty())
            acquisitions = stack.acquisitions();
        else
            reasons.push_back(
                {SplitReasonType::OverlappingFrames,
                 std::to_string(acquisitions.size()) + " interleaved acquisitions"});
        for (const Candidates& acquisition : acquisitions)
            addAcquisition(acquisition, stack.normal(), reasons);
    }

    void
    addAcquisition(const Candidates& frames, const Vector3& normal, const std::vector<SplitReason>& reasons) {
        for (const SliceRun& run : splitStack(positionsOf(frames), normal)) {
            std::vector<SplitReason> own = reasons;
            const auto begin = frames.begin() + static_cast<std::ptrdiff_t>(run.first);
            const Candidates members(begin, begin + static_cast<std::ptrdiff_t>(run.count));
            // The rule for incomplete series reads this number from the largest block, which may be on either
            // side of a gap: so both sides carry it.
            if (run.missingBeside > 0)
                own.push_back({SplitReasonType::MissingSlices, std::to_string(run.missingBeside)});
            if (run.irregularBeside)
                own.push_back({SplitReasonType::SliceDistanceInconsistency, "irregular slice distance"});
            Vector3 step = normal * dot(run.step, normal);
            const double shift = length(run.step - step) * static_cast<double>(run.count - 1);
            if (const double tilt = ImageGeometry(
                                        {1, 1, 1}, {}, members.front().orientation().first,
                                        members.front().orientation().second, {1.0, 1.0, 1.0}, run.step)
                                        .tiltDegrees();
                run.count > 1 && tilt > smallestTiltDegrees && shift > smallestShift) {
                step = run.step;
                std::array<char, 32> text{};
                std::snprintf(text.data(), text.size(), "%.2f", tilt);
                own.push_back({SplitReasonType::GantryTilt, text.data()});
            }
            blocks.push_back(makeBlock(members, run.count > 1 ? &step : nullptr, own));
        }
    }
};

} // namespace

std::vector<ImageBlock> buildBlocks(std::vector<std::shared_ptr<const DicomFileHeader>> headers) {
    std::sort(headers.begin(), headers.end(), [](const auto& a, const auto& b) {
        return std::tie(a->metadata.seriesInstanceUID, a->instanceNumber, a->sopInstanceUID, a->file) <
               std::tie(b->metadata.seriesInstanceUID, b->instanceNumber, b->sopInstanceUID, b->file);
    });
    std::map<std::string, Candidates> series;
    for (const auto& header : headers)
        for (std::size_t i = 0; i < header->frames.size(); ++i)
            series[header->metadata.seriesInstanceUID].push_back({header, i});

    Builder builder;
    std::vector<SplitReason> reasons;
    if (series.size() > 1)
        reasons.push_back({SplitReasonType::MultipleSeries, std::to_string(series.size()) + " series"});
    for (const auto& [uid, frames] : series)
        builder.addSeries(frames, reasons);
    std::stable_sort(
        builder.blocks.begin(), builder.blocks.end(),
        [](const ImageBlock& a, const ImageBlock& b) { return a.frameCount() > b.frameCount(); });
    return std::move(builder.blocks);
}

} // namespace zorbel::imaging

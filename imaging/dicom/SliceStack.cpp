#include "imaging/dicom/SliceStack.h"

#include <algorithm>
#include <cmath>

namespace zorbel::imaging {

namespace {

enum class GapKind { Regular, Missing, Irregular };

struct Gap {
    double distance = 0.0;
    Vector3 shift{}; ///< what remains of the step within the slices' plane
    GapKind kind = GapKind::Irregular;
    std::size_t missing = 0;
};

/// Positions of slanted slices written with two decimals each stray by up to 0.0087 mm.
double distanceTolerance(double spacing) {
    return std::min(std::max(0.01 * spacing, 0.02) + 1e-6, 0.25 * spacing);
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

class Splitter {
public:
    Splitter(const std::vector<Vector3>& positions, const Vector3& normal)
        : positions_(positions), normal_(normal), gaps_(positions.size() - 1) {
        for (std::size_t i = 0; i < gaps_.size(); ++i) {
            const Vector3 step = positions[i + 1] - positions[i];
            gaps_[i].distance = dot(step, normal);
            gaps_[i].shift = step - normal * gaps_[i].distance;
        }
    }

    std::vector<SliceRun> split() {
        classify(0, gaps_.size());
        std::vector<SliceRun> runs;
        std::size_t first = 0;
        for (std::size_t i = 0; i < positions_.size(); ++i)
            if (i == gaps_.size() || gaps_[i].kind != GapKind::Regular) {
                addRun(first, i, runs);
                first = i + 1;
            }
        return runs;
    }

private:
    /// The distance that most of the gaps [begin, end) share, averaged over them; the smallest such distance.
    double commonDistance(std::size_t begin, std::size_t end) const {
        std::vector<double> sorted;
        for (std::size_t i = begin; i < end; ++i)
            sorted.push_back(gaps_[i].distance);
        std::sort(sorted.begin(), sorted.end());
        std::size_t most = 0;
        double result = sorted.front();
        for (const double candidate : sorted) {
            const double tolerance = distanceTolerance(candidate);
            const auto low = std::lower_bound(sorted.begin(), sorted.end(), candidate - tolerance);
            const auto high = std::upper_bound(sorted.begin(), sorted.end(), candidate + tolerance);
            if (const auto count = static_cast<std::size_t>(high - low); count > most) {
                most = count;
                double sum = 0.0;
                for (auto value = low; value != high; ++value)
                    sum += *value;
                result = sum / static_cast<double>(count);
            }
        }
        return result;
    }

    /// In-plane shift per millimetre along the normal, of the gaps of the common distance.
    Vector3 commonSlant(std::size_t begin, std::size_t end, double spacing) const {
        Vector3 slant{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            std::vector<double> values;
            for (std::size_t i = begin; i < end; ++i)
                if (std::abs(gaps_[i].distance - spacing) <= distanceTolerance(spacing))
                    values.push_back(gaps_[i].shift[axis] / gaps_[i].distance);
            slant[axis] = values.empty() ? 0.0 : median(std::move(values));
        }
        return slant;
    }

    void classify(std::size_t begin, std::size_t end) {
        if (begin == end)
            return;
        const double spacing = commonDistance(begin, end);
        const Vector3 slant = commonSlant(begin, end, spacing);
        bool anyRegular = false;
        for (std::size_t i = begin; i < end; ++i) {
            Gap& gap = gaps_[i];
            gap.kind = GapKind::Irregular;
            const double stray = length(gap.shift - slant * gap.distance);
            // Beyond 45 degrees the slices lie beside each other rather than upon each other.
            if (stray > std::max(0.03, 0.02 * gap.distance) || length(gap.shift) > gap.distance)
                continue;
            const double steps = std::round(gap.distance / spacing);
            if (std::abs(gap.distance - spacing) <= distanceTolerance(spacing)) {
                gap.kind = GapKind::Regular;
                anyRegular = true;
            } else if (steps >= 2.0 && std::abs(gap.distance - steps * spacing) <= 0.05 * spacing + 0.01) {
                gap.kind = GapKind::Missing;
                gap.missing = static_cast<std::size_t>(steps) - 1;
            }
        }
        if (anyRegular)
            classifyRest(begin, end);
    }

    /// Slices that belong to no run of the common distance may form a grid of another distance among
    /// themselves.
    void classifyRest(std::size_t begin, std::size_t end) {
        std::size_t i = begin;
        while (i < end) {
            std::size_t stop = i;
            while (stop < end && gaps_[stop].kind == GapKind::Irregular)
                ++stop;
            // The slices at both ends of the irregular gaps belong to their neighbours' runs, if these are
            // runs.
            std::size_t from = i;
            std::size_t to = stop;
            if (from < to && i > begin && gaps_[i - 1].kind == GapKind::Regular)
                ++from;
            if (from < to && stop < end && gaps_[stop].kind == GapKind::Regular)
                --to;
            if (from < to && to - from < end - begin)
                classify(from, to);
            i = std::max(stop, i + 1);
        }
    }

    /// Adds the slices first to last; cuts where small deviations add up to a quarter of a slice.
    void addRun(std::size_t first, std::size_t last, std::vector<SliceRun>& runs) {
        SliceRun run;
        run.first = first;
        run.count = last - first + 1;
        if (run.count > 1) {
            run.step = (positions_[last] - positions_[first]) * (1.0 / static_cast<double>(last - first));
            double worst = 0.25 * std::max(dot(run.step, normal_), 0.04);
            std::size_t at = first;
            for (std::size_t i = first + 1; i < last; ++i) {
                const Vector3 expected = positions_[first] + run.step * static_cast<double>(i - first);
                if (const double deviation = length(positions_[i] - expected); deviation > worst) {
                    worst = deviation;
                    at = i;
                }
            }
            if (at != first) {
                gaps_[at].kind = GapKind::Irregular;
                addRun(first, at, runs);
                addRun(at + 1, last, runs);
                return;
            }
        }
        const auto border = [&run](const Gap& gap) {
            run.missingBeside += gap.kind == GapKind::Missing ? gap.missing : 0;
            run.irregularBeside = run.irregularBeside || gap.kind == GapKind::Irregular;
        };
        if (first > 0)
            border(gaps_[first - 1]);
        if (last < gaps_.size())
            border(gaps_[last]);
        runs.push_back(run);
    }

    const std::vector<Vector3>& positions_;
    Vector3 normal_;
    std::vector<Gap> gaps_;
};

} // namespace

std::vector<SliceRun> splitStack(const std::vector<Vector3>& positions, const Vector3& normal) {
    return Splitter(positions, normal).split();
}

} // namespace zorbel::imaging

#pragma once

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>

namespace zorbel::bench {

/// What a row's goal is about: its ratio to the reference, which should be high, or the figure itself, which
/// should be low or high.
enum class GoalKind { RatioAtLeast, FigureAtMost, FigureAtLeast };

struct Goal {
    GoalKind kind = GoalKind::RatioAtLeast;
    double value = 0.0;
};

/// One measured thing. The ratio says how many times as well as the reference the program does: above 1 it is
/// the faster one, whatever the unit.
struct BenchRow {
    std::string name;
    std::string unit;
    std::optional<double> ours; ///< empty when it could not be measured
    std::optional<double> reference;
    std::optional<double> ratio;
    std::optional<Goal> goal;
    std::string note; ///< what exactly was measured; for the reader of the table

    /// Empty without a goal. A goal about a figure that is not there does not hold.
    std::optional<bool> holds() const;
};

/// More is better, as MB/s.
BenchRow rateRow(std::string name, std::string unit, double ours, double reference, double ratioAtLeast);
/// Less is better, as seconds.
BenchRow durationRow(std::string name, std::string unit, double ours, double reference, double ratioAtLeast);
/// A figure with an upper bound, as MB of memory.
BenchRow boundedRow(std::string name, std::string unit, double ours, double atMost);
/// A figure with a lower bound, as frames a second.
BenchRow flooredRow(std::string name, std::string unit, double ours, double atLeast);
/// A figure for information.
BenchRow plainRow(std::string name, std::string unit, double ours);
/// A row that could not be measured; reason becomes its note.
BenchRow failedRow(std::string name, std::string reason);

/// The members name, ours, reference, ratio, goal (a number: the least ratio where there is a reference, else
/// the highest figure), holds and unit; null where there is none.
nlohmann::json toJson(const BenchRow& row);

} // namespace zorbel::bench

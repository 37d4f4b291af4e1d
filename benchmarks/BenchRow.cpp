#include "benchmarks/BenchRow.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <utility>

namespace zorbel::bench {

namespace {

std::optional<double> quotient(double numerator, double denominator) {
    const double value = numerator / denominator;
    return std::isfinite(value) && denominator > 0.0 ? std::optional(value) : std::nullopt;
}

nlohmann::json jsonOf(const std::optional<double>& value) {
    return value && std::isfinite(*value) ? nlohmann::json(*value) : nlohmann::json();
}

} // namespace

std::optional<bool> BenchRow::holds() const {
    if (!goal)
        return std::nullopt;
    if (goal->kind == GoalKind::RatioAtLeast)
        return ratio && *ratio >= goal->value;
    if (goal->kind == GoalKind::FigureAtLeast)
        return ours && *ours >= goal->value;
    return ours && *ours <= goal->value;
}

BenchRow rateRow(std::string name, std::string unit, double ours, double reference, double ratioAtLeast) {
    BenchRow row = plainRow(std::move(name), std::move(unit), ours);
    row.reference = reference;
    row.ratio = quotient(ours, reference);
    row.goal = Goal{GoalKind::RatioAtLeast, ratioAtLeast};
    return row;
}

BenchRow durationRow(std::string name, std::string unit, double ours, double reference, double ratioAtLeast) {
    BenchRow row = rateRow(std::move(name), std::move(unit), ours, reference, ratioAtLeast);
    row.ratio = quotient(reference, ours);
    return row;
}

BenchRow boundedRow(std::string name, std::string unit, double ours, double atMost) {
    BenchRow row = plainRow(std::move(name), std::move(unit), ours);
    row.goal = Goal{GoalKind::FigureAtMost, atMost};
    return row;
}

BenchRow flooredRow(std::string name, std::string unit, double ours, double atLeast) {
    BenchRow row = plainRow(std::move(name), std::move(unit), ours);
    row.goal = Goal{GoalKind::FigureAtLeast, atLeast};
    return row;
}

BenchRow plainRow(std::string name, std::string unit, double ours) {
    BenchRow row;
    row.name = std::move(name);
    row.unit = std::move(unit);
    row.ours = ours;
    return row;
}

BenchRow failedRow(std::string name, std::string reason) {
    BenchRow row;
    row.name = std::move(name);
    row.note = "not measured: " + std::move(reason);
    return row;
}

nlohmann::json toJson(const BenchRow& row) {
    const std::optional<bool> holds = row.holds();
    nlohmann::json object;
    object["name"] = row.name;
    object["unit"] = row.unit.empty() ? nlohmann::json() : nlohmann::json(row.unit);
    object["ours"] = jsonOf(row.ours);
    object["reference"] = jsonOf(row.reference);
    object["ratio"] = jsonOf(row.ratio);
    object["goal"] = row.goal ? nlohmann::json(row.goal->value) : nlohmann::json();
    object["holds"] = holds ? nlohmann::json(*holds) : nlohmann::json();
    return object;
}

} // namespace zorbel::bench

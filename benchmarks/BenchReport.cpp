#include "benchmarks/BenchReport.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace zorbel::bench {

namespace {

constexpr std::size_t columnCount = 6;
using Cells = std::array<std::string, columnCount>;

/// Three significant digits, and never fewer than the whole ones.
std::string number(double value) {
    const int decimals = std::abs(value) >= 100.0 ? 0 : std::abs(value) >= 10.0 ? 1 : 2;
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
    return text.data();
}

std::string figure(const std::optional<double>& value, const std::string& unit) {
    return value ? number(*value) + " " + unit : "-";
}

std::string goalText(const BenchRow& row) {
    if (!row.goal)
        return "-";
    const std::string value = number(row.goal->value);
    switch (row.goal->kind) {
    case GoalKind::RatioAtLeast:
        return ">= " + value;
    case GoalKind::FigureAtLeast:
        return ">= " + value + " " + row.unit;
    case GoalKind::FigureAtMost:
        break;
    }
    return "<= " + value + " " + row.unit;
}

Cells cellsOf(const BenchRow& row) {
    const auto holds = row.holds();
    return {
        row.name,
        figure(row.ours, row.unit),
        figure(row.reference, row.unit),
        row.ratio ? number(*row.ratio) : "-",
        goalText(row),
        holds ? (*holds ? "yes" : "NO") : "-"};
}

/// Characters on the screen: bytes that begin one.
std::size_t width(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
    }));
}

std::string line(const Cells& cells, const std::array<std::size_t, columnCount>& widths) {
    std::string text;
    for (std::size_t column = 0; column < columnCount; ++column) {
        const std::string padding(widths[column] - width(cells[column]), ' ');
        // Names to the left, figures to the right.
        text += column == 0 ? cells[column] + padding : "  " + padding + cells[column];
    }
    return text + "\n";
}

} // namespace

std::string table(const std::vector<BenchRow>& rows) {
    std::vector<Cells> lines{{"name", "ours", "reference", "ratio", "goal", "holds"}};
    for (const BenchRow& row : rows)
        lines.push_back(cellsOf(row));
    std::array<std::size_t, columnCount> widths{};
    for (const Cells& cells : lines)
        for (std::size_t column = 0; column < columnCount; ++column)
            widths[column] = std::max(widths[column], width(cells[column]));
    std::size_t total = 2 * (columnCount - 1);
    for (const std::size_t columnWidth : widths)
        total += columnWidth;

    std::string text = line(lines.front(), widths) + std::string(total, '-') + "\n";
    for (std::size_t index = 1; index < lines.size(); ++index)
        text += line(lines[index], widths);
    bool first = true;
    for (const BenchRow& row : rows) {
        if (row.note.empty())
            continue;
        text += (first ? "\n" : "") + row.name + ": " + row.note + "\n";
        first = false;
    }
    return text;
}

std::string jsonText(const std::vector<BenchRow>& rows) {
    nlohmann::json list = nlohmann::json::array();
    for (const BenchRow& row : rows)
        list.push_back(toJson(row));
    return list.dump(2) + "\n";
}

} // namespace zorbel::bench

#include "diagnostics/LogLine.h"

#include <nlohmann/json.hpp>

#include <QString>

#include <array>

namespace zorbel {

namespace {

constexpr std::array levels{
    LogLevel::Debug, LogLevel::Info, LogLevel::Warn, LogLevel::Error, LogLevel::Fatal};

LogLevel levelNamed(std::string_view word) {
    for (const LogLevel level : levels)
        if (logLevelWord(level) == word)
            return level;
    return LogLevel::Info;
}

/// "2026-01-31T09:15:02.007Z" without its day.
std::string timeOfDay(const std::string& timestamp) {
    return timestamp.size() == 24 ? timestamp.substr(11, 12) : timestamp;
}

std::string padded(std::string word, std::size_t width) {
    word.resize(std::max(width, word.size()), ' ');
    return word;
}

} // namespace

LogLine LogLine::parse(std::string_view line) {
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
        line.remove_suffix(1);
    LogLine result;
    const auto json = nlohmann::ordered_json::parse(line, nullptr, false);
    if (!json.is_object()) {
        result.text = line;
        return result;
    }
    const auto word = [&json](const char* key) {
        const auto found = json.find(key);
        return found != json.end() && found->is_string() ? found->get<std::string>() : std::string();
    };
    const std::string level = word("level");
    result.level = levelNamed(level);
    result.component = word("component");
    result.text = timeOfDay(word("ts")) + "  " +
                  padded(QString::fromStdString(level).toUpper().toStdString(), 5) + "  " + result.component +
                  "  " + word("message");
    if (const auto meta = json.find("meta"); meta != json.end() && meta->is_object())
        for (const auto& [key, value] : meta->items())
            result.text += "  " + key + "=" + (value.is_string() ? value.get<std::string>() : value.dump());
    for (char& c : result.text)
        if (c == '\n' || c == '\r')
            c = ' ';
    return result;
}

bool LogFilter::matches(const LogLine& line) const {
    return line.level >= least && (component.empty() || line.component == component) &&
           (part.empty() ||
            QString::fromStdString(line.text).contains(QString::fromStdString(part), Qt::CaseInsensitive));
}

} // namespace zorbel

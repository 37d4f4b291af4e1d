#include "app/log/LogFormat.h"

#include <cstdio>

namespace zorbel {

namespace {

void appendEscaped(std::string& out, std::string_view text) {
    for (const char c : text) {
        switch (c) {
        case '\t':
            out += "\\t";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        default:
            if (const auto byte = static_cast<unsigned char>(c); byte < 0x20) {
                char escape[8];
                std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(byte));
                out += escape;
            } else {
                out += c;
            }
        }
    }
}

void appendTimestamp(std::string& out, std::chrono::system_clock::time_point time) {
    using namespace std::chrono;
    const auto instant = floor<milliseconds>(time);
    const auto day = floor<days>(instant);
    const year_month_day date(day);
    const hh_mm_ss clock(instant - day);
    char text[64];
    std::snprintf(
        text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(date.year()),
        static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
        static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
        static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
    out += text;
}

} // namespace

std::string_view logLevelWord(LogLevel level) noexcept {
    switch (level) {
    case LogLevel::Debug:
        return "debug";
    case LogLevel::Info:
        return "info";
    case LogLevel::Warn:
        return "warn";
    case LogLevel::Error:
        return "error";
    case LogLevel::Fatal:
        return "fatal";
    }
    return "info";
}

std::string formatLogLine(
    std::chrono::system_clock::time_point time, LogLevel level, std::string_view component,
    std::string_view correlationId, std::string_view message, const LogMeta& meta) {
    std::string line = "{\"ts\":\"";
    appendTimestamp(line, time);
    line += "\",\"level\":\"";
    line += logLevelWord(level);
    line += "\",\"component\":\"";
    appendEscaped(line, component);
    line += "\",\"correlationId\":\"";
    appendEscaped(line, correlationId);
    line += "\",\"message\":\"";
    appendEscaped(line, message);
    line += '"';
    if (!meta.empty()) {
        line += ",\"meta\":{";
        const char* separator = "\"";
        for (const auto& [key, value] : meta) {
            line += separator;
            appendEscaped(line, key);
            line += "\":\"";
            appendEscaped(line, value);
            line += '"';
            separator = ",\"";
        }
        line += '}';
    }
    line += "}\n";
    return line;
}

} // namespace zorbel

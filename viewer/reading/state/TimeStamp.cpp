#include "viewer/reading/state/TimeStamp.h"

#include <algorithm>

namespace zorbel {

namespace {

void append(std::string& text, int value, int digits) {
    const auto number = std::to_string(value);
    text.append(static_cast<std::size_t>(std::max(0, digits - static_cast<int>(number.size()))), '0');
    text += number;
}

} // namespace

std::string utcTimeStamp(std::chrono::system_clock::time_point time) {
    using namespace std::chrono;
    const auto instant = floor<milliseconds>(time);
    const auto day = floor<days>(instant);
    const year_month_day date(day);
    const hh_mm_ss clock(instant - day);
    std::string text;
    append(text, static_cast<int>(date.year()), 4);
    append(text += '-', static_cast<int>(static_cast<unsigned>(date.month())), 2);
    append(text += '-', static_cast<int>(static_cast<unsigned>(date.day())), 2);
    append(text += 'T', static_cast<int>(clock.hours().count()), 2);
    append(text += ':', static_cast<int>(clock.minutes().count()), 2);
    append(text += ':', static_cast<int>(clock.seconds().count()), 2);
    append(text += '.', static_cast<int>(clock.subseconds().count()), 3);
    return text += 'Z';
}

std::string utcTimeStampForFiles(std::chrono::system_clock::time_point time) {
    auto text = utcTimeStamp(time);
    std::erase_if(text, [](char c) { return c == '-' || c == ':' || c == '.'; });
    return text;
}

} // namespace zorbel

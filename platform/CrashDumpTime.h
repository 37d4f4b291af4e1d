#pragma once

#include <array>
#include <chrono>
#include <cstdint>

namespace zorbel {

/// "YYYYMMDDTHHMMSSZ" with its terminating zero, by arithmetic alone: usable within a signal handler.
inline std::array<char, 17> crashDumpTime(std::int64_t secondsSinceEpoch) noexcept {
    using namespace std::chrono;
    const sys_seconds instant{seconds(secondsSinceEpoch)};
    const auto day = floor<days>(instant);
    const year_month_day date(day);
    const auto second = static_cast<unsigned>((instant - day).count());
    std::array<char, 17> text{};
    const auto put = [&text](std::size_t at, std::size_t digits, unsigned value) {
        for (std::size_t i = digits; i-- > 0; value /= 10) {
            text[at + i] = static_cast<char>('0' + value % 10);
        }
    };
    put(0, 4, static_cast<unsigned>(static_cast<int>(date.year())));
    put(4, 2, static_cast<unsigned>(date.month()));
    put(6, 2, static_cast<unsigned>(date.day()));
    text[8] = 'T';
    put(9, 2, second / 3600);
    put(11, 2, second / 60 % 60);
    put(13, 2, second % 60);
    text[15] = 'Z';
    return text;
}

} // namespace zorbel

#include "demo/word/WordReplies.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace zorbel::demo {

std::string utcText(std::chrono::system_clock::time_point time) {
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count();
    const std::time_t seconds = milliseconds / 1000;
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    std::array<char, 32> day{};
    std::strftime(day.data(), day.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%s.%03dZ", day.data(), static_cast<int>(milliseconds % 1000));
    return text.data();
}

HttpReply documentReply(const DeskVersion& version) {
    return HttpReply::bytes(
        200, "application/vnd.openxmlformats-officedocument.wordprocessingml.document", *version.bytes);
}

} // namespace zorbel::demo

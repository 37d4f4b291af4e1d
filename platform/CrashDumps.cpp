#include "platform/CrashDumps.h"

#include <algorithm>
#include <optional>
#include <regex>
#include <system_error>
#include <utility>

namespace zorbel {

namespace fs = std::filesystem;

namespace {

/// What follows the base name.
std::optional<std::chrono::sys_seconds> timeIn(const std::string& rest) {
    using namespace std::chrono;
    static const std::regex form(
        "-([0-9]{4})([0-9]{2})([0-9]{2})T([0-9]{2})([0-9]{2})([0-9]{2})Z-[0-9]+\\.(txt|dmp)");
    std::smatch parts;
    if (!std::regex_match(rest, parts, form))
        return std::nullopt;
    const auto number = [&parts](std::size_t part) { return std::stoi(parts[part]); };
    const year_month_day day(
        year(number(1)), month(static_cast<unsigned>(number(2))),
        std::chrono::day(static_cast<unsigned>(number(3))));
    if (!day.ok())
        return std::nullopt;
    return sys_days(day) + hours(number(4)) + minutes(number(5)) + seconds(number(6));
}

} // namespace

CrashDumps::CrashDumps(fs::path folder, std::string_view baseName)
    : folder_(std::move(folder)), baseName_(baseName) {}

std::vector<CrashDumps::Dump> CrashDumps::list() const {
    std::vector<Dump> dumps;
    std::error_code failed;
    for (fs::directory_iterator entry(folder_, failed), end; !failed && entry != end;
         entry.increment(failed)) {
        const std::u8string name = entry->path().filename().u8string();
        const std::string text(name.begin(), name.end());
        if (!text.starts_with(baseName_))
            continue;
        const auto time = timeIn(text.substr(baseName_.size()));
        std::error_code gone;
        const bool isFile = entry->symlink_status(gone).type() == fs::file_type::regular;
        const auto size = isFile ? entry->file_size(gone) : 0;
        if (time && isFile && !gone)
            dumps.push_back({entry->path(), *time, size});
    }
    std::sort(dumps.begin(), dumps.end(), [](const Dump& one, const Dump& other) {
        return std::pair(one.time, one.file) > std::pair(other.time, other.file);
    });
    return dumps;
}

void CrashDumps::removeOldest() const {
    const auto dumps = list();
    for (std::size_t i = mostKept; i < dumps.size(); ++i) {
        std::error_code stays;
        fs::remove(dumps[i].file, stays);
    }
}

} // namespace zorbel

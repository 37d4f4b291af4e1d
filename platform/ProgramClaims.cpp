#include "platform/ProgramClaims.h"

#include "platform/RandomName.h"

#include <algorithm>
#include <exception>
#include <system_error>

namespace zorbel {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t digitCount = 16;

bool areDigits(const std::u8string& text) {
    return text.size() == digitCount && std::all_of(text.begin(), text.end(), [](char8_t c) {
               return (c >= u8'0' && c <= u8'9') || (c >= u8'a' && c <= u8'f');
           });
}

} // namespace

std::pair<FileLock, std::string> ProgramClaims::take() const {
    for (;;) {
        std::string digits = randomName();
        if (auto lock = FileLock::tryAcquire(fileOf(digits)))
            return {std::move(*lock), std::move(digits)};
    }
}

ProgramClaims::Found ProgramClaims::find() const {
    const std::u8string start = prefix_.filename().u8string();
    std::vector<std::pair<fs::file_time_type, std::string>> claims;
    for (const auto& entry : fs::directory_iterator(prefix_.parent_path())) {
        const std::u8string name = entry.path().filename().u8string();
        if (!name.starts_with(start) || !areDigits(name.substr(start.size())) || entry.is_symlink() ||
            !entry.is_regular_file())
            continue;
        std::error_code gone;
        claims.emplace_back(
            entry.last_write_time(gone), std::string(name.begin() + std::ssize(start), name.end()));
    }
    std::sort(claims.rbegin(), claims.rend());
    Found found;
    for (auto& [time, digits] : claims)
        (isAlive(digits) ? found.living : found.dead).push_back(std::move(digits));
    return found;
}

void ProgramClaims::removeDead(const std::string& digits) const noexcept {
    try {
        if (auto lock = FileLock::tryAcquire(fileOf(digits)))
            lock->removeFile();
    } catch (const std::exception&) {
        // it is found dead, and removed, another time
    }
}

fs::path ProgramClaims::fileOf(const std::string& digits) const {
    fs::path file = prefix_;
    file += digits;
    return file;
}

bool ProgramClaims::isAlive(const std::string& digits) const noexcept {
    try {
        return !FileLock::tryAcquire(fileOf(digits));
    } catch (const std::exception&) {
        return true;
    }
}

} // namespace zorbel

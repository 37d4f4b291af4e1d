#include "app/telemetry/TelemetryQueueFile.h"

#include "app/log/Logger.h"
#include "platform/PrivateFile.h"
#include "platform/ProgramClaims.h"
#include "platform/RegularFile.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <exception>
#include <iterator>
#include <span>
#include <stdexcept>
#include <system_error>

namespace zorbel {

namespace fs = std::filesystem;

namespace {

constexpr char component[] = "TelemetryEmitter";
constexpr char prefix[] = "telemetry-queue-";
constexpr char suffix[] = ".json";
/// A thousand events are a tenth of it.
constexpr std::uint64_t largestFile = 4 * 1024 * 1024;

ProgramClaims claimsIn(const fs::path& folder) {
    return ProgramClaims(folder / prefix);
}

void logFailure(const char* message, const std::exception& error) {
    Logger::instance().warn(component, message, {{"reason", error.what()}});
}

/// Throws whatever is wrong with the file.
std::vector<std::string> eventsIn(const fs::path& path) {
    RegularFile file(path);
    if (file.size() > largestFile)
        throw std::runtime_error("the file is too large");
    std::string text(static_cast<std::size_t>(file.size()), '\0');
    text.resize(file.read(std::as_writable_bytes(std::span(text))));
    const auto parsed = nlohmann::json::parse(text);
    std::vector<std::string> events;
    for (const auto& event : parsed.at("events").get_ref<const nlohmann::json::array_t&>()) {
        event.at("event").get_ref<const std::string&>();
        events.push_back(event.dump());
    }
    return events;
}

} // namespace

fs::path TelemetryQueueFile::ownFile() const {
    return folder_ / (prefix + digits_ + suffix);
}

void TelemetryQueueFile::claim() {
    if (claim_)
        return;
    createPrivateFolder(folder_);
    auto [lock, digits] = claimsIn(folder_).take();
    claim_.emplace(std::move(lock));
    digits_ = digits;
}

std::vector<fs::path> TelemetryQueueFile::leftBehind() const {
    std::vector<std::pair<fs::file_time_type, fs::path>> found;
    const auto claims = claimsIn(folder_);
    const auto [living, dead] = claims.find();
    for (const std::string& digits : dead)
        claims.removeDead(digits);
    std::error_code gone;
    for (const auto& entry : fs::directory_iterator(folder_)) {
        const std::string name = entry.path().filename().string();
        if (!name.starts_with(prefix) || !name.ends_with(suffix))
            continue;
        const auto digits = name.substr(sizeof prefix - 1, name.size() - sizeof prefix - sizeof suffix + 2);
        if (std::find(living.begin(), living.end(), digits) == living.end())
            found.emplace_back(entry.last_write_time(gone), entry.path());
    }
    std::sort(found.begin(), found.end());
    std::vector<fs::path> files;
    for (auto& [time, file] : found)
        files.push_back(std::move(file));
    return files;
}

std::vector<std::string> TelemetryQueueFile::takeOver(std::size_t most) {
    const std::lock_guard lock(mutex_);
    std::vector<std::string> events;
    if (closed_ || folder_.empty())
        return {};
    try {
        createPrivateFolder(folder_);
        auto starting = FileLock::acquire(folder_ / "telemetry-queue.lock", std::chrono::seconds(2));
        if (!starting)
            return {}; // another program takes them over
        const auto files = leftBehind();
        for (const fs::path& file : files) {
            try {
                std::ranges::move(eventsIn(file), std::back_inserter(events));
            } catch (const std::exception&) {
                Logger::instance().warn(component, "The telemetry queue is damaged; its events are dropped");
            }
        }
        if (events.size() > most)
            events.erase(events.begin(), events.end() - static_cast<std::ptrdiff_t>(most));
        if (!files.empty())
            writeLocked(events);
        for (const fs::path& file : files)
            fs::remove(file);
        starting->removeFile();
    } catch (const std::exception& error) {
        logFailure("The telemetry queue could not be read", error);
    }
    return events;
}

void TelemetryQueueFile::write(const std::vector<std::string>& events) {
    const std::lock_guard lock(mutex_);
    try {
        if (!closed_ && !folder_.empty())
            writeLocked(events);
    } catch (const std::exception& error) {
        logFailure("The telemetry queue could not be written", error);
    }
}

void TelemetryQueueFile::writeLocked(const std::vector<std::string>& events) {
    if (events.empty()) {
        if (claim_)
            fs::remove(ownFile());
        return;
    }
    claim();
    std::string text = "{\"events\":[";
    for (const std::string& event : events)
        text += (&event == &events.front() ? "" : ",") + event;
    writePrivateFile(ownFile(), text + "]}");
}

void TelemetryQueueFile::removeAll() {
    const std::lock_guard lock(mutex_);
    std::error_code none;
    if (folder_.empty() || !fs::exists(folder_, none))
        return;
    try {
        for (const fs::path& file : leftBehind())
            fs::remove(file);
        if (claim_)
            fs::remove(ownFile());
    } catch (const std::exception& error) {
        logFailure("The telemetry queue could not be removed", error);
    }
}

void TelemetryQueueFile::close() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    if (claim_)
        claim_->removeFile();
    claim_.reset();
}

} // namespace zorbel

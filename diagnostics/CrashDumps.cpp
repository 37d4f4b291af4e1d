#include "diagnostics/CrashDumps.h"

#include <algorithm>
#include <fstream>
#include <system_error>

namespace zorbel {

namespace {

constexpr std::size_t longestText = std::size_t{1} << 20;

} // namespace

std::vector<CrashDump> crashDumps(const std::filesystem::path& folder) {
    std::vector<CrashDump> dumps;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code ignored;
        const auto extension = entry->path().extension();
        if (!entry->is_regular_file(ignored) || (extension != ".txt" && extension != ".dmp"))
            continue;
        dumps.push_back({entry->path(), entry->file_size(ignored), extension == ".dmp"});
    }
    // Their names hold the time.
    std::sort(dumps.begin(), dumps.end(), [](const CrashDump& left, const CrashDump& right) {
        return left.file.filename() > right.file.filename();
    });
    return dumps;
}

std::string crashDumpText(const std::filesystem::path& file) {
    if (file.extension() == ".dmp")
        return "A memory dump of the system, for a debugger.";
    std::ifstream stream(file, std::ios::binary);
    std::string text(longestText, '\0');
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(std::max<std::streamsize>(stream.gcount(), 0)));
    return stream.bad() || (text.empty() && !stream.is_open()) ? "This dump cannot be read." : text;
}

} // namespace zorbel

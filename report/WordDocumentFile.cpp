#include "report/WordDocumentFile.h"

#include "base/digest/Sha256.h"
#include "platform/RegularFile.h"
#include "report/package/WholePackage.h"

#include <span>
#include <system_error>
#include <utility>

namespace zorbel {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

constexpr std::uintmax_t largestFile = std::uintmax_t{512} << 20; // bytes

/// Time stamps may be as coarse as that (FAT).
constexpr auto coarsestTime = 2s;

std::optional<WordDocumentFile::Mark> markOf(const fs::path& file) {
    std::error_code error;
    WordDocumentFile::Mark mark;
    mark.size = fs::file_size(file, error);
    if (!error)
        mark.time = fs::last_write_time(file, error);
    if (error)
        return std::nullopt;
    const auto age = fs::file_time_type::clock::now() - mark.time;
    mark.settled = age > coarsestTime || age < -coarsestTime; // clocks differ
    return mark;
}

} // namespace

std::optional<QByteArray> WordDocumentFile::readBytes(const fs::path& path) {
    try {
        RegularFile file(path);
        if (file.size() > largestFile)
            return std::nullopt;
        QByteArray bytes(static_cast<qsizetype>(file.size()), Qt::Uninitialized);
        bytes.resize(static_cast<qsizetype>(file.read(
            std::as_writable_bytes(std::span(bytes.data(), static_cast<std::size_t>(bytes.size()))))));
        return bytes;
    } catch (const std::system_error&) {
        return std::nullopt;
    }
}

std::optional<WordDocumentFile::Contents> WordDocumentFile::read(const fs::path& path) {
    auto bytes = readBytes(path);
    if (!bytes)
        return std::nullopt;
    auto sha256 = digest(*bytes);
    return Contents{std::move(*bytes), std::move(sha256)};
}

std::string WordDocumentFile::digest(const QByteArray& bytes) {
    return sha256Hex(std::as_bytes(std::span(bytes.constData(), static_cast<std::size_t>(bytes.size()))));
}

WordDocumentFile::Look WordDocumentFile::look(const fs::path& file, const std::optional<Mark>& known) {
    const auto before = markOf(file);
    if (!before)
        return {};
    if (known && known->settled && *known == *before)
        return {.finding = Finding::Unchanged, .mark = *known};
    auto contents = read(file);
    if (!contents)
        return {.finding = Finding::Unreadable};
    const auto after = markOf(file);
    if (!after || *after != *before || !isWholePackage(contents->bytes))
        return {.finding = Finding::Unfinished, .mark = after.value_or(Mark{})};
    return {.finding = Finding::Whole, .contents = std::move(*contents), .mark = *before};
}

} // namespace zorbel

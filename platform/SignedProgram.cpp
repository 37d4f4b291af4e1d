#include "platform/SignedProgram.h"

#include "platform/SignatureRefused.h"

#include <algorithm>
#include <bit>
#include <span>

namespace zorbel {

namespace {

constexpr std::uint64_t dosHeaderSize = 64;
constexpr std::uint64_t coffHeaderSize = 24; // with the magic number before it
constexpr std::uint64_t sectionSize = 40;
constexpr std::uint64_t entryHeaderSize = 8; // of an entry in the certificate table
constexpr std::uint64_t mostBeforeHeaders = 1U << 16U;
constexpr std::uint64_t mostHeaders = 1U << 16U;
constexpr std::uint64_t mostInTable = 1U << 20U;
constexpr unsigned mostSections = 96; // the system loads no more
constexpr unsigned certificateDirectory = 4;

void require(bool holds, const char* otherwise) {
    if (!holds)
        throw SignatureRefused(otherwise);
}

std::vector<std::uint8_t> bytesAt(std::istream& file, std::uint64_t at, std::uint64_t count) {
    std::vector<std::uint8_t> bytes(count);
    file.clear();
    file.seekg(static_cast<std::streamoff>(at));
    file.read(std::bit_cast<char*>(bytes.data()), static_cast<std::streamsize>(count));
    require(file.good(), SignatureRefused::unreadable);
    return bytes;
}

/// Little-endian. The caller has held the offset against the bytes.
std::uint32_t number(std::span<const std::uint8_t> bytes, std::size_t at, unsigned width = 4) {
    std::uint32_t value = 0;
    for (unsigned i = 0; i < width; ++i)
        value |= static_cast<std::uint32_t>(bytes[at + i]) << (8 * i);
    return value;
}

struct Headers {
    std::vector<std::uint8_t> optional;
    std::vector<std::uint8_t> sections;
    std::uint64_t optionalAt = 0;
    std::uint64_t end = 0; ///< of the table of sections
};

Headers readHeaders(std::istream& file, std::uint64_t size) {
    require(size >= dosHeaderSize, SignatureRefused::noProgram);
    const auto dos = bytesAt(file, 0, dosHeaderSize);
    require(dos[0] == 'M' && dos[1] == 'Z', SignatureRefused::noProgram);
    const std::uint64_t coffAt = number(dos, 0x3c);
    require(
        coffAt >= dosHeaderSize && coffAt <= mostBeforeHeaders && coffAt + coffHeaderSize <= size,
        SignatureRefused::noProgram);
    const auto coff = bytesAt(file, coffAt, coffHeaderSize);
    require(number(coff, 0) == 0x4550, SignatureRefused::noProgram); // "PE\0\0"
    constexpr unsigned executable = 0x0002, library = 0x2000;
    require((number(coff, 22, 2) & (executable | library)) == executable, SignatureRefused::noProgram);
    const unsigned sections = number(coff, 6, 2);
    require(sections >= 1 && sections <= mostSections, SignatureRefused::damaged);

    Headers headers;
    headers.optionalAt = coffAt + coffHeaderSize;
    const std::uint64_t optionalSize = number(coff, 20, 2);
    headers.end = headers.optionalAt + optionalSize + sections * sectionSize;
    require(headers.end <= size, SignatureRefused::damaged);
    headers.optional = bytesAt(file, headers.optionalAt, optionalSize);
    headers.sections = bytesAt(file, headers.optionalAt + optionalSize, sections * sectionSize);
    return headers;
}

/// Where the headers' part of the file ends and where the entry of the certificate table lies.
struct OptionalHeader {
    std::uint64_t headersEnd = 0;
    std::uint64_t directoryEntry = 0; ///< from the header's begin
};

OptionalHeader readOptionalHeader(const Headers& headers) {
    const auto& bytes = headers.optional;
    require(bytes.size() >= 96, SignatureRefused::damaged);
    const unsigned magic = number(bytes, 0, 2);
    require(magic == 0x10b || magic == 0x20b, SignatureRefused::noProgram);
    const std::size_t directoriesAt = magic == 0x10b ? 96 : 112;
    require(bytes.size() >= directoriesAt, SignatureRefused::damaged);
    const std::uint64_t directories = number(bytes, directoriesAt - 4);
    require(directories <= 16 && directoriesAt + directories * 8 <= bytes.size(), SignatureRefused::damaged);
    require(directories > certificateDirectory, SignatureRefused::unsignedProgram);
    const OptionalHeader result{number(bytes, 60), directoriesAt + certificateDirectory * 8};
    require(result.headersEnd >= headers.end && result.headersEnd <= mostHeaders, SignatureRefused::damaged);
    return result;
}

/// The sections' contents must follow the headers and one another, up to somewhere before the table.
void checkSections(const Headers& headers, std::uint64_t headersEnd, std::uint64_t tableAt) {
    struct Range {
        std::uint64_t begin, size;
    };
    std::vector<Range> ranges;
    for (std::size_t at = 0; at < headers.sections.size(); at += sectionSize)
        if (const auto size = number(headers.sections, at + 16); size > 0)
            ranges.push_back({number(headers.sections, at + 20), size});
    std::sort(ranges.begin(), ranges.end(), [](const Range& a, const Range& b) { return a.begin < b.begin; });
    std::uint64_t end = headersEnd;
    for (const Range& range : ranges) {
        require(range.begin == end, SignatureRefused::damaged);
        end += range.size;
    }
    require(end <= tableAt, SignatureRefused::damaged);
}

std::uint64_t roundedUp(std::uint64_t size) {
    return (size + 7) / 8 * 8;
}

/// How long the one element of DER is that the bytes begin with, its head included; 0 when they do not.
std::uint64_t elementSize(std::span<const std::uint8_t> bytes) {
    if (bytes.size() < 2 || bytes[0] != 0x30)
        return 0;
    if (bytes[1] < 0x80)
        return 2U + bytes[1];
    const unsigned width = bytes[1] & 0x7fU;
    if (width == 0 || width > 4 || bytes.size() < 2 + width)
        return 0;
    std::uint64_t size = 0;
    for (unsigned i = 0; i < width; ++i)
        size = size << 8U | bytes[2 + i];
    return size + 2 + width;
}

std::vector<std::uint8_t> signatureIn(const std::vector<std::uint8_t>& table) {
    const std::uint64_t entry = number(table, 0);
    require(entry > entryHeaderSize && entry <= table.size(), SignatureRefused::badSignature);
    require(roundedUp(entry) == table.size(), SignatureRefused::severalSignatures);
    constexpr unsigned revision2 = 0x0200, pkcs7 = 0x0002;
    require(number(table, 4, 2) == revision2 && number(table, 6, 2) == pkcs7, SignatureRefused::badSignature);
    const auto message = std::span(table).subspan(entryHeaderSize);
    const std::uint64_t size = elementSize(message.first(entry - entryHeaderSize));
    require(size > 0 && size <= entry - entryHeaderSize, SignatureRefused::badSignature);
    const auto padding = message.subspan(size);
    require(
        padding.size() < 8 &&
            std::all_of(padding.begin(), padding.end(), [](auto byte) { return byte == 0; }),
        SignatureRefused::strayData);
    return {message.begin(), message.begin() + static_cast<std::ptrdiff_t>(size)};
}

} // namespace

SignedProgram SignedProgram::read(std::istream& file) {
    file.clear();
    file.seekg(0, std::ios::end);
    const std::streamoff end = file.tellg();
    require(end >= 0, SignatureRefused::unreadable);
    const auto size = static_cast<std::uint64_t>(end);

    const Headers headers = readHeaders(file, size);
    const OptionalHeader optional = readOptionalHeader(headers);
    SignedProgram program;
    program.checksumAt = headers.optionalAt + 64;
    program.directoryEntryAt = headers.optionalAt + optional.directoryEntry;
    program.tableAt = number(headers.optional, optional.directoryEntry);
    const std::uint64_t tableSize = number(headers.optional, optional.directoryEntry + 4);
    require(program.tableAt != 0 || tableSize != 0, SignatureRefused::unsignedProgram);
    require(
        program.tableAt % 8 == 0 && program.tableAt <= size && tableSize <= size - program.tableAt &&
            tableSize > entryHeaderSize && tableSize <= mostInTable,
        SignatureRefused::damaged);
    require(program.tableAt + tableSize == size, SignatureRefused::strayData);
    checkSections(headers, optional.headersEnd, program.tableAt);
    program.signature = signatureIn(bytesAt(file, program.tableAt, tableSize));
    return program;
}

} // namespace zorbel

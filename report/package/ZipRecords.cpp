#include "report/package/ZipRecords.h"

#include <QSet>
#include <QStringDecoder>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include <zlib.h>

namespace zorbel {

namespace {

constexpr qint64 endSize = 22;
constexpr qint64 locatorSize = 20;
constexpr qint64 wideEndSize = 56;
constexpr qint64 centralSize = 46;
constexpr qint64 localSize = 30;
constexpr quint32 saturated = 0xffffffffU;
constexpr quint16 encryptionFlags = 0x2041; // encrypted, strongly encrypted, headers masked
constexpr quint16 sizesFollowFlag = 0x0008;

/// No deflated stream grows by more.
constexpr qint64 largestRatio = 1032;

template <class Integer>
Integer read(const QByteArray& bytes, qint64 at) {
    return qFromLittleEndian<Integer>(bytes.constData() + at);
}

bool fits(const QByteArray& bytes, qint64 at, qint64 size) {
    return at >= 0 && size >= 0 && at <= bytes.size() && size <= bytes.size() - at;
}

/// The directory's place as the end record, or the wide one beside it, tells it.
struct Directory {
    qint64 begin = 0;
    qint64 size = 0;
    qint64 entries = 0;
    qint64 limit = 0; ///< where the records about the directory begin
};

std::optional<qint64> findEnd(const QByteArray& bytes) {
    const qint64 last = bytes.size() - endSize;
    for (qint64 at = last; at >= 0 && last - at <= 0xffff; --at)
        if (read<quint32>(bytes, at) == 0x06054b50U)
            return read<quint16>(bytes, at + 20) <= last - at ? std::optional(at) : std::nullopt;
    return std::nullopt;
}

std::optional<Directory> findDirectory(const QByteArray& bytes) {
    const auto end = findEnd(bytes);
    if (!end)
        return std::nullopt;
    const auto disk = read<quint16>(bytes, *end + 4);
    const auto entriesHere = read<quint16>(bytes, *end + 8);
    const auto entries = read<quint16>(bytes, *end + 10);
    const auto size = read<quint32>(bytes, *end + 12);
    const auto begin = read<quint32>(bytes, *end + 16);
    if (entries != 0xffff && size != saturated && begin != saturated)
        return disk == 0 && entriesHere == entries ? std::optional(Directory{begin, size, entries, *end})
                                                   : std::nullopt;

    const qint64 locator = *end - locatorSize;
    if (locator < 0 || read<quint32>(bytes, locator) != 0x07064b50U)
        return Directory{begin, size, entries, *end};
    const auto wide = static_cast<qint64>(read<quint64>(bytes, locator + 8));
    if (!fits(bytes, wide, wideEndSize) || wide > locator - wideEndSize ||
        read<quint32>(bytes, wide) != 0x06064b50U)
        return std::nullopt;
    return Directory{
        static_cast<qint64>(read<quint64>(bytes, wide + 48)),
        static_cast<qint64>(read<quint64>(bytes, wide + 40)),
        static_cast<qint64>(read<quint64>(bytes, wide + 32)), wide};
}

/// Puts the values of the zip64 field in the places of those that say to look there.
bool widen(const QByteArray& bytes, qint64 at, qint64 size, std::array<qint64*, 3> values) {
    const bool wanted =
        std::any_of(values.begin(), values.end(), [](const qint64* value) { return *value == saturated; });
    for (const qint64 end = at + size; wanted && end - at >= 4;) {
        const qint64 length = read<quint16>(bytes, at + 2);
        if (length > end - at - 4)
            return false;
        if (read<quint16>(bytes, at) == 1) {
            qint64 next = at + 4;
            for (qint64* value : values) {
                if (*value != saturated)
                    continue;
                if (next + 8 > at + 4 + length)
                    return false;
                *value = static_cast<qint64>(read<quint64>(bytes, next));
                next += 8;
            }
            return true;
        }
        at += 4 + length;
    }
    return true;
}

/// A relative path whose parts are all real names, in UTF-8.
bool isHarmless(const QByteArray& name) {
    if (name.isEmpty() || name.startsWith('/') || name.contains('\\'))
        return false;
    if (std::any_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; }))
        return false;
    QByteArray path = name;
    if (path.endsWith('/'))
        path.chop(1);
    for (const QByteArray& part : path.split('/'))
        if (part.isEmpty() || part == "." || part == "..")
            return false;
    return QString::fromUtf8(name).toUtf8() == name;
}

bool isPlainFile(const QByteArray& name, quint16 host, quint32 attributes) {
    if (name.endsWith('/'))
        return false;
    if (host == 3 || host == 19) { // Unix, macOS
        const quint32 type = attributes >> 16U & 0170000U;
        return type != 0040000U && type != 0120000U;
    }
    return (attributes & 0x10U) == 0;
}

} // namespace

std::optional<ZipRecords> ZipRecords::read(const QByteArray& bytes) {
    ZipRecords records(bytes);
    if (!records.readDirectory() || !records.entriesAreDistinct())
        return std::nullopt;
    return records;
}

bool ZipRecords::readDirectory() {
    const auto directory = findDirectory(bytes_);
    if (!directory || !fits(bytes_, directory->begin, directory->size) ||
        directory->begin + directory->size > directory->limit)
        return false;
    const qint64 end = directory->begin + directory->size;
    qint64 at = directory->begin;
    qint64 total = 0;
    for (qint64 index = 0; index < directory->entries; ++index) {
        if (end - at < centralSize || zorbel::read<quint32>(bytes_, at) != 0x02014b50U)
            return false;
        const qint64 length = centralSize + zorbel::read<quint16>(bytes_, at + 28) +
                              zorbel::read<quint16>(bytes_, at + 30) + zorbel::read<quint16>(bytes_, at + 32);
        if (length > end - at || !readEntry(at, directory->begin))
            return false;
        total += entries_.back().size;
        if (total > largestTotal)
            return false;
        at += length;
    }
    return at == end;
}

bool ZipRecords::readEntry(qint64 at, qint64 directoryBegin) {
    const auto field16 = [&](qint64 offset) { return zorbel::read<quint16>(bytes_, at + offset); };
    const auto field32 = [&](qint64 offset) { return zorbel::read<quint32>(bytes_, at + offset); };
    const quint16 flags = field16(8);
    const quint16 method = field16(10);
    ZipEntry entry;
    entry.crc = field32(16);
    entry.packedSize = field32(20);
    entry.size = field32(24);
    entry.name = bytes_.mid(at + centralSize, field16(28));
    entry.header = field32(42);
    if (!widen(
            bytes_, at + centralSize + entry.name.size(), field16(30),
            {&entry.size, &entry.packedSize, &entry.header}))
        return false;
    entry.deflated = method == Z_DEFLATED;
    entry.isFile = isPlainFile(entry.name, field16(4) >> 8U, field32(38));
    if ((flags & encryptionFlags) != 0 || (method != 0 && !entry.deflated) || !isHarmless(entry.name))
        return false;
    if (entry.size < 0 || entry.size > largestTotal || entry.packedSize < 0 ||
        entry.packedSize > std::numeric_limits<qint32>::max() || !fits(bytes_, entry.header, localSize))
        return false;
    if (entry.deflated ? entry.size > entry.packedSize * largestRatio : entry.size != entry.packedSize)
        return false;
    entry.offset = entry.header + localSize + zorbel::read<quint16>(bytes_, entry.header + 26) +
                   zorbel::read<quint16>(bytes_, entry.header + 28);
    if (entry.offset > directoryBegin || entry.packedSize > directoryBegin - entry.offset ||
        !checkLocalHeader(entry.header, entry, flags, method))
        return false;
    entries_.push_back(std::move(entry));
    return true;
}

bool ZipRecords::checkLocalHeader(qint64 at, const ZipEntry& entry, quint16 flags, quint16 method) {
    const auto field16 = [&](qint64 offset) { return zorbel::read<quint16>(bytes_, at + offset); };
    const auto field32 = [&](qint64 offset) { return zorbel::read<quint32>(bytes_, at + offset); };
    if (field32(0) != 0x04034b50U || field16(8) != method ||
        ((field16(6) ^ flags) & (encryptionFlags | sizesFollowFlag)) != 0 ||
        bytes_.mid(at + localSize, field16(26)) != entry.name)
        return false;
    if ((flags & sizesFollowFlag) != 0)
        return true;
    qint64 size = field32(22);
    qint64 packedSize = field32(18);
    qint64 unused = 0;
    return widen(bytes_, at + localSize + field16(26), field16(28), {&size, &packedSize, &unused}) &&
           field32(14) == entry.crc && size == entry.size && packedSize == entry.packedSize;
}

bool ZipRecords::entriesAreDistinct() const {
    QSet<QByteArray> names;
    std::vector<std::pair<qint64, qint64>> places;
    for (const ZipEntry& entry : entries_) {
        const QByteArray name = entry.name.toLower();
        if (names.contains(name))
            return false;
        names.insert(name);
        places.emplace_back(entry.header, entry.offset + entry.packedSize);
    }
    std::sort(places.begin(), places.end());
    return std::adjacent_find(places.begin(), places.end(), [](const auto& one, const auto& next) {
               return next.first < one.second;
           }) == places.end();
}

namespace {

/// Ends with what it holds.
struct Inflation {
    z_stream stream{};
    bool ready = inflateInit2(&stream, -MAX_WBITS) == Z_OK;
    Inflation() = default;
    ~Inflation() { inflateEnd(&stream); }
    Inflation(const Inflation&) = delete;
    Inflation& operator=(const Inflation&) = delete;
};

enum class Output { Kept, Overwritten };

/// Inflates through a buffer, which holds all of it when it is kept; whether size and checksum are right.
bool inflates(const ZipEntry& entry, const char* packed, char* buffer, qint64 capacity, Output output) {
    Inflation inflation;
    z_stream& stream = inflation.stream;
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed));
    stream.avail_in = static_cast<uInt>(entry.packedSize);
    qint64 total = 0;
    uLong crc = crc32(0, nullptr, 0);
    int status = inflation.ready ? Z_OK : Z_MEM_ERROR;
    while (status == Z_OK && total <= entry.size) {
        const qint64 filled = output == Output::Kept ? total : 0;
        stream.next_out = reinterpret_cast<Bytef*>(buffer + filled);
        stream.avail_out = static_cast<uInt>(capacity - filled);
        status = inflate(&stream, Z_NO_FLUSH);
        const qint64 count = capacity - filled - stream.avail_out;
        crc = crc32_z(crc, reinterpret_cast<const Bytef*>(buffer + filled), static_cast<z_size_t>(count));
        total += count;
    }
    return status == Z_STREAM_END && total == entry.size && crc == entry.crc;
}

} // namespace

std::optional<QByteArray> ZipRecords::data(const ZipEntry& entry) const {
    const char* packed = bytes_.constData() + entry.offset;
    if (!entry.deflated) {
        QByteArray bytes(packed, entry.size);
        const auto crc =
            crc32_z(0, reinterpret_cast<const Bytef*>(packed), static_cast<z_size_t>(entry.size));
        return crc == entry.crc ? std::optional(std::move(bytes)) : std::nullopt;
    }
    // The byte too many shows when there is more.
    QByteArray bytes(entry.size + 1, Qt::Uninitialized);
    if (!inflates(entry, packed, bytes.data(), bytes.size(), Output::Kept))
        return std::nullopt;
    bytes.truncate(entry.size);
    return bytes;
}

bool ZipRecords::isIntact(const ZipEntry& entry) const {
    const char* packed = bytes_.constData() + entry.offset;
    if (!entry.deflated)
        return crc32_z(0, reinterpret_cast<const Bytef*>(packed), static_cast<z_size_t>(entry.size)) ==
               entry.crc;
    std::array<char, 1U << 16U> buffer;
    return inflates(entry, packed, buffer.data(), buffer.size(), Output::Overwritten);
}

} // namespace zorbel

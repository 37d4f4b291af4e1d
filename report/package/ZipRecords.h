#pragma once

#include <QByteArray>

#include <optional>
#include <vector>

namespace zorbel {

struct ZipEntry {
    QByteArray name; ///< UTF-8
    quint32 crc = 0;
    qint64 packedSize = 0;
    qint64 size = 0;   ///< unpacked
    qint64 header = 0; ///< where its own header begins
    qint64 offset = 0; ///< of the packed bytes
    bool deflated = false;
    bool isFile = true; ///< else a directory or a link
};

/// The records of a zip file that comes from outside. Qt's reader takes what the records say on trust: it
/// grows its buffer for as long as an entry inflates, takes the first of two entries with one name, leaves
/// checksums alone, and does not know zip64. Here the records are held against each other first, and each
/// entry is unpacked once, up to the size it claims.
class ZipRecords {
public:
    static constexpr qint64 largestTotal = qint64{512} << 20U; ///< of all entries, unpacked

    /// Empty unless every entry is stored or deflated, not encrypted, in bounds and without overlap, named
    /// once (whatever the case) by a relative path that does not climb, and the same in both its headers.
    static std::optional<ZipRecords> read(const QByteArray& bytes);

    const std::vector<ZipEntry>& entries() const { return entries_; }
    /// Empty when the entry does not unpack to its size and checksum.
    std::optional<QByteArray> data(const ZipEntry& entry) const;
    /// Whether data() would succeed; needs little memory.
    bool isIntact(const ZipEntry& entry) const;

private:
    explicit ZipRecords(const QByteArray& bytes) : bytes_(bytes) {}
    bool readDirectory();
    bool readEntry(qint64 at, qint64 directoryBegin);
    bool checkLocalHeader(qint64 at, const ZipEntry& entry, quint16 flags, quint16 method);
    bool entriesAreDistinct() const;

    QByteArray bytes_;
    std::vector<ZipEntry> entries_;
};

} // namespace zorbel

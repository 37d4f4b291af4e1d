// A Word package: the bytes of a zip file, or the texts of its parts one after the other, which lets the
// fuzzer at them without a checksum in its way. What is returned as a success is a package that others read,
// whose edited parts parse, that still holds what it held, and that can be appended to again.
#include "fuzz/FuzzSupport.h"
#include "report/package/AppendReportPacket.h"
#include "report/package/WholePackage.h"
#include "report/package/WordPackage.h"

#include <QBuffer>
#include <QList>
#include <QXmlStreamReader>

#include <private/qzipreader_p.h>
#include <private/qzipwriter_p.h>

#include <cstring>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace {

using namespace zorbel;
using fuzz::require;

const QByteArray separator = "\n%%\n";
const char* const partNames[] = {
    "word/document.xml", "word/_rels/document.xml.rels", "[Content_Types].xml", "_rels/.rels",
    "word/header1.xml"};
constexpr qsizetype partCount = std::size(partNames);

struct Input {
    QByteArray package;
    ReportPacket packet;
};

QByteArray zipOf(const QList<QByteArray>& texts) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QZipWriter writer(&buffer);
    writer.setCompressionPolicy(QZipWriter::NeverCompress);
    for (qsizetype i = 0; i < qMin(partCount, texts.size()); ++i)
        writer.addFile(QString::fromLatin1(partNames[i]), texts[i]);
    writer.close();
    return bytes;
}

ReportPacket packetOf(const QString& words, bool pictures) {
    ReportPacket packet{words, words, {{words, words, words}}, {{words, words, words}}, {}};
    if (pictures) {
        packet.keyImages.push_back({words, words, "picture", 1440, 900});
        packet.keyImages.push_back({words, words, "picture", 2, 2});
    }
    return packet;
}

Input inputOf(const QByteArray& bytes) {
    if (bytes.startsWith("PK"))
        return {bytes, packetOf(QStringLiteral("a & b"), true)};
    QList<QByteArray> texts;
    qsizetype from = 1;
    while (from <= bytes.size()) {
        qsizetype end = bytes.indexOf(separator, from);
        if (end < 0)
            end = bytes.size();
        texts.append(bytes.mid(from, end - from));
        from = end + separator.size();
    }
    const QString words = QString::fromUtf8(texts.value(partCount, "key.png"));
    return {zipOf(texts), packetOf(words, !bytes.isEmpty() && bytes[0] % 2 == 0)};
}

bool parses(const QByteArray& part) {
    QXmlStreamReader xml(part);
    while (!xml.atEnd())
        xml.readNext();
    return !xml.hasError();
}

qsizetype inCommon(const QByteArray& one, const QByteArray& other) {
    const qsizetype most = qMin(one.size(), other.size());
    qsizetype begin = 0;
    while (begin < most && one[begin] == other[begin])
        ++begin;
    qsizetype end = 0;
    while (end < most - begin && one[one.size() - 1 - end] == other[other.size() - 1 - end])
        ++end;
    return begin + end;
}

void checkSuccess(const Input& input, const EditResult& result) {
    const auto before = ZipRecords::read(input.package);
    require(before.has_value() && isWholePackage(input.package), "only whole packages are edited");
    require(isWholePackage(result.bytes), "a whole package comes out");
    const WordPackage after(*ZipRecords::read(result.bytes));

    QByteArray bytes = result.bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QZipReader reader(&buffer);
    std::size_t files = 0;
    for (const ZipEntry& entry : before->entries()) {
        if (!entry.isFile)
            continue;
        require(files < after.records().entries().size(), "no entry is lost");
        const ZipEntry& kept = after.records().entries()[files++];
        require(kept.name == entry.name, "names and order are kept");
        const QByteArray contents = after.contents(kept);
        require(reader.fileData(QString::fromUtf8(kept.name)) == contents, "Qt reads the same");
        const QByteArray old = *before->data(entry);
        if (contents == old)
            continue;
        require(
            contents.size() > old.size() && parses(contents), "what was edited has more in it, and parses");
        require(result.keyImages > 0 || inCommon(contents, old) == old.size(), "what was there is there");
    }
    require(
        after.records().entries().size() == files + static_cast<std::size_t>(result.keyImages),
        "the pictures are there, and nothing else");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Input input =
        inputOf(QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    const EditResult result = appendReportPacket(input.package, input.packet);
    require(result.success == result.error.isEmpty(), "a failure says why");
    require(result.success != result.bytes.isEmpty(), "only a success has bytes");
    if (result.success) {
        checkSuccess(input, result);
        require(appendReportPacket(result.bytes, input.packet).success, "a second report can be appended");
    }
    return 0;
}

/// Half of the time a package whose records hold becomes the texts of its parts.
extern "C" std::size_t
LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const auto records = seed % 2 == 0 ? ZipRecords::read(bytes) : std::nullopt;
    if (!records)
        return LLVMFuzzerMutate(data, size, maxSize);
    QByteArray texts(1, static_cast<char>(seed >> 8U));
    for (const char* name : partNames) {
        for (const ZipEntry& entry : records->entries())
            if (entry.name == name)
                texts += records->data(entry).value_or("");
        texts += separator;
    }
    const auto length = qMin(static_cast<std::size_t>(texts.size()), maxSize);
    std::memcpy(data, texts.constData(), length);
    return length;
}

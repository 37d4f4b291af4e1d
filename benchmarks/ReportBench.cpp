#include "benchmarks/ReportBench.h"

#include "benchmarks/BenchGround.h"
#include "benchmarks/ProcessMemory.h"
#include "benchmarks/Statistics.h"
#include "report/package/AppendReportPacket.h"

#include <nlohmann/json.hpp>

#include <QBuffer>
#include <QImage>

#include <private/qzipreader_p.h>
#include <private/qzipwriter_p.h>

#include <chrono>
#include <functional>
#include <stdexcept>
#include <utility>
#include <vector>

namespace zorbel::bench {

namespace {

constexpr double ratioGoal = 1.0 / 1.5;
constexpr int runs = 7;
constexpr int memoryRuns = 3;
constexpr int pictures = 12;
constexpr int findings = 10;
constexpr int measurements = 20;

using Parts = std::vector<std::pair<QString, QByteArray>>;

class Random {
public:
    unsigned next() {
        state_ = state_ * 1664525u + 1013904223u;
        return state_ >> 24U;
    }

private:
    unsigned state_ = 1;
};

QByteArray zipOf(const Parts& parts) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QZipWriter writer(&buffer);
    writer.setCompressionPolicy(QZipWriter::AutoCompress);
    for (const auto& [name, data] : parts)
        writer.addFile(name, data);
    writer.close();
    return bytes;
}

Parts partsOf(const QByteArray& package) {
    QByteArray bytes = package;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QZipReader reader(&buffer);
    Parts parts;
    for (const QZipReader::FileInfo& file : reader.fileInfoList())
        parts.emplace_back(file.filePath, reader.fileData(file.filePath));
    return parts;
}

/// Pages of text and photographs, as a report of some length has them.
QByteArray document() {
    constexpr char office[] = "http://schemas.openxmlformats.org/";
    Random random;
    QByteArray body;
    while (body.size() < 3'000'000) {
        body += R"(<w:p w:rsidR="00A10B62"><w:pPr><w:pStyle w:val="Normal"/></w:pPr><w:r><w:t>)";
        for (int word = 0; word < 40; ++word)
            body += QByteArray::number(random.next() * random.next(), 36) + ' ';
        body += "</w:t></w:r></w:p>";
    }
    Parts parts{
        {"[Content_Types].xml",
         QByteArray("<Types xmlns=\"") + office + "package/2006/content-types\"></Types>"},
        {"word/_rels/document.xml.rels",
         QByteArray("<Relationships xmlns=\"") + office + "package/2006/relationships\"></Relationships>"},
        {"word/document.xml", QByteArray("<w:document xmlns:w=\"") + office +
                                  "wordprocessingml/2006/main\"><w:body>" + body + "</w:body></w:document>"}};
    for (int picture = 0; picture < 8; ++picture) {
        QByteArray bytes(490'000, '\0');
        for (char& byte : bytes)
            byte = static_cast<char>(random.next());
        parts.emplace_back(QStringLiteral("word/media/image%1.jpeg").arg(picture), bytes);
    }
    return zipOf(parts);
}

/// Smooth structures with some noise, as a view of a scan.
QByteArray png(int number) {
    QImage image(1440, 900, QImage::Format_RGB32);
    Random random;
    for (int y = 0; y < image.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const int grey = (x * (number + 2) / 16 + y / 4) % 200 + static_cast<int>(random.next() / 16);
            line[x] = qRgb(grey, grey, grey);
        }
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, "PNG"))
        throw std::runtime_error("No picture could be made");
    return bytes;
}

double millisecondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

QByteArray append(const QByteArray& package, const ReportPacket& added) {
    EditResult result = appendReportPacket(package, added);
    if (!result.success || result.keyImages != pictures)
        throw std::runtime_error("The report was not appended: " + result.error.toStdString());
    return std::move(result.bytes);
}

/// What cannot be done without: each part unpacked and packed, the pictures packed.
void zipAgain(const QByteArray& package, const ReportPacket& added) {
    Parts parts = partsOf(package);
    for (const ReportPacket::KeyImage& image : added.keyImages)
        parts.emplace_back("word/media/" + image.fileName, image.png);
    if (zipOf(parts).isEmpty())
        throw std::runtime_error("The reference wrote nothing");
}

} // namespace

ReportPacket benchPacket() {
    ReportPacket packet;
    packet.title = QStringLiteral("Title");
    packet.findings.assign(findings, {"36", "Periapical lesion", "some words about it"});
    packet.measurements.assign(measurements, {"Length", "12.3 mm", "Axial"});
    for (int number = 0; number < pictures; ++number)
        packet.keyImages.push_back(
            {QStringLiteral("key-%1.png").arg(number), QStringLiteral("Axial"), png(number), 1440, 900});
    return packet;
}

std::vector<BenchRow> measureReport(BenchGround&) {
    const QByteArray package = document();
    const ReportPacket added = benchPacket();
    const PairedMedians taken = medianInTurn(
        runs, [&] { return millisecondsOf([&] { append(package, added); }); },
        [&] { return millisecondsOf([&] { zipAgain(package, added); }); });
    BenchRow row = durationRow(reportRowName, "ms", taken.ours, taken.reference, ratioGoal);
    row.note =
        "20 measurements, 10 findings and 12 key images of 1440 × 900, from bytes to bytes; the reference "
        "unzips the same package and zips it with the same pictures, with Qt's reader and writer";
    return {row};
}

nlohmann::json reportMemoryChild() {
    const QByteArray package = document();
    const ReportPacket added = benchPacket();
    resetPeak();
    const double before = residentMegabytes();
    const auto size = static_cast<double>(append(package, added).size());
    return {{"added", peakMegabytes() - before}, {"result", size / 1e6}};
}

std::vector<BenchRow> measureReportMemory(BenchGround&) {
    std::vector<double> peaks;
    double result = 0.0;
    for (int run = 0; run < memoryRuns; ++run) {
        const auto taken = measureInChild({QStringLiteral("report-memory")});
        peaks.push_back(taken.at("added").get<double>());
        result = taken.at("result").get<double>();
    }
    BenchRow row = boundedRow(reportMemoryRowName, "MB", median(peaks), 2.0 * result + 20.0);
    row.note =
        "resident memory (VmHWM) beyond that with the document and the pictures; the goal is twice the "
        "new package of " +
        std::to_string(static_cast<int>(result)) + " MB and 20 MB";
    return {row};
}

} // namespace zorbel::bench

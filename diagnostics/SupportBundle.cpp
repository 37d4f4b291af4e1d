#include "diagnostics/SupportBundle.h"

#include "app/log/LogTail.h"
#include "base/WorkCancelled.h"
#include "diagnostics/CrashDumpText.h"
#include "platform/PrivateFile.h"

#include <QBuffer>
#include <QFile>
#include <private/qzipwriter_p.h>

#include <algorithm>
#include <stdexcept>

namespace zorbel {

namespace {

constexpr std::size_t lastOfLog = std::size_t{5} << 20;

/// Empty where there is none.
std::string logTail(const std::filesystem::path& log) {
    try {
        return lastBytesOfLog(log, lastOfLog);
    } catch (const std::exception&) {
        return {};
    }
}

DiagnosticsJson telemetryJson(const std::vector<TelemetryRecord>& records, const Redactor& redactor) {
    auto events = DiagnosticsJson::array();
    for (const TelemetryRecord& record : records) {
        auto event = DiagnosticsJson::parse(record.json, nullptr, false);
        if (event.is_discarded())
            event = record.json;
        events.push_back({{"sent", record.sent}, {"event", redactor.json(event)}});
    }
    return events;
}

std::string bytesOf(const SupportBundleEntry& entry) {
    if (!entry.holdsMemory())
        return entry.contents;
    QFile file(entry.copied);
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error(
            "The crash dump " + entry.name + " cannot be read: " + file.errorString().toStdString());
    return file.readAll().toStdString();
}

} // namespace

Redactor redactorFor(const SupportBundleSources& sources) {
    return Redactor(sources.secrets, KeyedNames::ofThisComputer(sources.keyFile));
}

std::vector<SupportBundleEntry> supportBundleEntries(const SupportBundleSources& sources) {
    const Redactor redactor = redactorFor(sources);
    std::vector<SupportBundleEntry> entries;
    const auto add = [&entries](std::string name, std::string contents) {
        const std::uint64_t bytes = contents.size();
        entries.push_back({std::move(name), bytes, std::move(contents), {}});
    };
    auto report = sources.report();
    for (DiagnosticsSection& section : report)
        section.values = redactor.json(section.values);
    add("report.json", jsonText(reportJson(report)));
    add("report.txt", reportText(report));
    add("settings.json", jsonText(redactor.json(sources.settings)));
    add("telemetry.json", jsonText(telemetryJson(sources.telemetry, redactor)));
    add("zorbel-desktop.log", redactor.lines(logTail(sources.log)));
    for (const CrashDumps::Dump& dump : sources.crashDumps.list()) {
        std::string name = "crashes/" + dump.file.filename().string();
        if (holdsMemory(dump.file))
            entries.push_back({std::move(name), dump.size, {}, dump.file});
        else
            add(std::move(name), redactor.lines(crashDumpText(dump.file)));
    }
    return entries;
}

void writeSupportBundle(
    const std::filesystem::path& file, const std::vector<SupportBundleEntry>& entries,
    const std::atomic<bool>* cancel) {
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QZipWriter zip(&buffer);
    zip.setCompressionPolicy(QZipWriter::AutoCompress);
    for (const SupportBundleEntry& entry : entries) {
        throwIfCancelled(cancel);
        zip.addFile(QString::fromStdString(entry.name), QByteArray::fromStdString(bytesOf(entry)));
    }
    zip.close();
    throwIfCancelled(cancel);
    if (zip.status() != QZipWriter::NoError)
        throw std::runtime_error("The bundle could not be put together.");
    const QByteArray& bytes = buffer.data();
    writePrivateFile(file, {bytes.constData(), static_cast<std::size_t>(bytes.size())});
}

} // namespace zorbel

#include "diagnostics/SupportBundle.h"

#include "base/WorkCancelled.h"
#include "diagnostics/CrashDumps.h"
#include "platform/PrivateFile.h"

#include <QBuffer>
#include <QFile>
#include <private/qzipwriter_p.h>

#include <algorithm>
#include <set>
#include <stdexcept>

namespace zorbel {

namespace {

constexpr qint64 lastOfLog = qint64{5} << 20;

/// Whole lines.
std::string lastBytesOfLog(const std::filesystem::path& log) {
    QFile file(log);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const qint64 skipped = std::max<qint64>(file.size() - lastOfLog, 0);
    file.seek(skipped);
    QByteArray bytes = file.read(lastOfLog);
    if (skipped > 0)
        bytes.remove(0, bytes.indexOf('\n') + 1);
    return bytes.toStdString();
}

/// A name without what a patient's or a user's would leave, and no other entry's.
std::string
entryName(const Redactor& redactor, const std::filesystem::path& file, std::set<std::string>& taken) {
    const std::u8string stem = file.stem().u8string();
    std::string name = redactor.text({reinterpret_cast<const char*>(stem.data()), stem.size()});
    for (char& c : name)
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '-' && c != '_' && c != '.')
            c = '_';
    std::string unique = "crashes/" + name + file.extension().string();
    for (int number = 2; !taken.insert(unique).second; ++number)
        unique = "crashes/" + name + "-" + std::to_string(number) + file.extension().string();
    return unique;
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
    add("zorbel-desktop.log", redactor.lines(lastBytesOfLog(sources.log)));
    std::set<std::string> taken;
    for (const CrashDump& dump : crashDumps(sources.crashFolder)) {
        std::string name = entryName(redactor, dump.file, taken);
        if (dump.holdsMemory)
            entries.push_back({std::move(name), dump.bytes, {}, dump.file});
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

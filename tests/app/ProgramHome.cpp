#include "ProgramHome.h"

#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>

namespace zorbel::test {

namespace {

const QString configuration = QStringLiteral("config/Quenmark/Zorbel Desktop Workstation/");

QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// What a user's own folder below the cache folder holds of patients: archived images, and the list of recent
/// studies.
bool mayNamePatients(const QString& pathInCache) {
    static const QRegularExpression names(
        QStringLiteral("(/series/[0-9.]+/[^/]+\\.dcm|(^|/)[0-9a-f]{24}/recent-studies\\.json)$"));
    return names.match(pathInCache).hasMatch();
}

bool isReportRecord(const QString& path) {
    static const QRegularExpression record(QStringLiteral("/word/[0-9a-f]{24}/word-[^/]+/report\\.json$"));
    return record.match(path).hasMatch();
}

/// The manifest of a volume cache or of an archive below the cache folder, without its digests.
QString withoutDigests(const QString& pathInCache, QString text) {
    static const QRegularExpression digest(QStringLiteral("\"sha256\"\\s*:\\s*\"[0-9a-f]{64}\""));
    const QString name = pathInCache.section(QLatin1Char('/'), -1);
    const bool manifest =
        name == QLatin1String("manifest.json") || name == QLatin1String("archive-manifest.json");
    return manifest ? text.remove(digest) : text;
}

} // namespace

bool waitForOutput(QProcess& process, const QByteArray& text) {
    QByteArray output;
    while (!output.contains(text) && process.waitForReadyRead(-1))
        output += process.readAll();
    return (output + process.readAll()).contains(text);
}

ProgramHome::ProgramHome() : environment_(QProcessEnvironment::systemEnvironment()) {
    const auto folder = [this](const char* name) {
        QDir().mkpath(path(name));
        return path(name);
    };
    environment_.insert(QStringLiteral("HOME"), folder("home"));
    environment_.insert(QStringLiteral("XDG_CONFIG_HOME"), folder("config"));
    environment_.insert(QStringLiteral("XDG_CACHE_HOME"), folder("cache"));
    environment_.insert(QStringLiteral("XDG_DATA_HOME"), folder("data"));
    environment_.insert(QStringLiteral("TMPDIR"), folder("temp"));
    environment_.remove(QStringLiteral("ZORBEL_TELEMETRY_URL"));
}

void ProgramHome::set(const char* variable, const char* value) {
    environment_.insert(QString::fromLatin1(variable), QString::fromLatin1(value));
}

std::unique_ptr<QProcess> ProgramHome::start(const QString& program, const QStringList& arguments) const {
    auto process = std::make_unique<QProcess>();
    process->setProcessEnvironment(environment_);
    process->setProcessChannelMode(QProcess::MergedChannels);
    process->start(program, arguments);
    return process;
}

Outcome ProgramHome::run(const QString& program, const QStringList& arguments) const {
    const auto process = start(program, arguments);
    Outcome outcome;
    if (process->waitForFinished(-1) && process->exitStatus() == QProcess::NormalExit)
        outcome.code = process->exitCode();
    outcome.output = QString::fromUtf8(process->readAll());
    return outcome;
}

QString ProgramHome::log() const {
    return QString::fromUtf8(
        contents(folder_.filePath(configuration + QStringLiteral("logs/zorbel-desktop.log"))));
}

QStringList ProgramHome::logLines() const {
    const QStringList lines = log().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    return lines.isEmpty() ? QStringList{QString()} : lines;
}

bool ProgramHome::hasSessionLock() const {
    return QFile::exists(folder_.filePath(configuration + QStringLiteral("session.lock")));
}

QStringList ProgramHome::workspaces() const {
    return QDir(path("temp")).entryList({QStringLiteral("zorbel-viewer-session-*")});
}

QStringList ProgramHome::secretsFound(const QStringList& words, const QString& email) const {
    QStringList found;
    // The demo service's tokens are 64 hexadecimal digits.
    static const QRegularExpression token(QStringLiteral("Bearer|(?<![0-9a-f])[0-9a-f]{64}(?![0-9a-f])"));
    QDirIterator files(folder_.path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString name = files.next();
        QString text = QString::fromLatin1(contents(name));
        const QString inFolder = folder_.path() + QStringLiteral("/cache/");
        const QString inCache = name.startsWith(inFolder) ? name.mid(inFolder.size()) : QString();
        if (isReportRecord(name)) // it says whose document lies beside it, and which state of it was synced
            continue;
        for (const QString& word : mayNamePatients(inCache) ? QStringList() : words)
            if (text.contains(word, Qt::CaseInsensitive))
                found += name + QStringLiteral(": ") + word;
        const auto match = token.match(withoutDigests(inCache, text));
        if (match.hasMatch())
            found += name + QStringLiteral(": ") + match.captured();
        if (name.endsWith(QStringLiteral("/Zorbel Desktop Workstation.conf")))
            text.remove(QStringLiteral("lastEmail=") + email);
        if (text.contains(email, Qt::CaseInsensitive))
            found += name + QStringLiteral(": ") + email;
    }
    return found;
}

} // namespace zorbel::test

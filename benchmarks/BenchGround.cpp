#include "benchmarks/BenchGround.h"

#include "benchmarks/CompressedSeries.h"
#include "demo/PhantomStudies.h"

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>

#include <algorithm>
#include <stdexcept>

namespace zorbel::bench {

namespace fs = std::filesystem;

namespace {

constexpr int serviceStartMs = 180'000; // the phantoms are made once for each user
constexpr int serviceStopMs = 20'000;

} // namespace

BenchGround::BenchGround() : folder_(QDir::tempPath() + QStringLiteral("/zorbel-bench-XXXXXX")) {
    if (!folder_.isValid())
        throw std::runtime_error("There is no room for temporary files");
}

BenchGround::~BenchGround() {
    if (!service_)
        return;
    service_->terminate();
    if (!service_->waitForFinished(serviceStopMs)) {
        service_->kill();
        service_->waitForFinished();
    }
}

fs::path BenchGround::folder() const {
    return folder_.path().toStdString();
}

fs::path BenchGround::series() {
    const fs::path made = folder() / "series";
    if (!fs::exists(made))
        demo::writeBenchSeries(made, benchSlices, benchSize);
    return made;
}

fs::path BenchGround::compressedSeries() {
    const fs::path made = folder() / "compressed";
    if (!fs::exists(made)) {
        auto files = filesOf(series());
        files.resize(std::min<std::size_t>(files.size(), compressedSlices));
        writeJpegLossless(files, made);
    }
    return made;
}

QString BenchGround::serviceUrl() {
    if (!serviceUrl_.isEmpty())
        return serviceUrl_;
    service_ = newProcess();
    service_->setProcessChannelMode(QProcess::MergedChannels);
    service_->start(
        QString::fromStdString((programFolder() / "zorbel-demo").string()),
        {QStringLiteral("serve"), QStringLiteral("--import"), QString::fromStdString(series().string())});
    static const QRegularExpression announcement(QStringLiteral("Demo service at (\\S+)\\s"));
    QString output;
    QElapsedTimer waited;
    waited.start();
    while (waited.elapsed() < serviceStartMs && service_->waitForReadyRead(serviceStartMs)) {
        output += QString::fromUtf8(service_->readAll());
        if (const auto found = announcement.match(output); found.hasMatch())
            return serviceUrl_ = found.captured(1);
    }
    throw std::runtime_error("The demo service did not start: " + output.trimmed().toStdString());
}

Environment BenchGround::viewerEnvironment() {
    Environment environment{{QStringLiteral("ZORBEL_API_BASE_URL"), serviceUrl()}};
    const std::pair<QString, const char*> folders[] = {
        {QStringLiteral("XDG_CONFIG_HOME"), "config"},
        {QStringLiteral("XDG_CACHE_HOME"), "cache"},
        {QStringLiteral("XDG_DATA_HOME"), "data"},
        {QStringLiteral("TMPDIR"), "tmp"}};
    for (const auto& [variable, name] : folders) {
        const fs::path path = folder() / "viewer" / name;
        fs::create_directories(path);
        environment[variable] = QString::fromStdString(path.string());
    }
    return environment;
}

std::vector<fs::path> filesOf(const fs::path& folder) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(folder))
        files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace zorbel::bench

#include "benchmarks/StreamingBench.h"

#include "api/ZorbelApiClient.h"
#include "benchmarks/BenchGround.h"
#include "benchmarks/ProcessMemory.h"
#include "benchmarks/Statistics.h"
#include "demo/DemoAccounts.h"

#include <nlohmann/json.hpp>

#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace zorbel::bench {

namespace {

constexpr double streamingRatioGoal = 0.8;
constexpr double streamingGrowthGoalMegabytes = 30.0;
constexpr int streamingRuns = 11;
constexpr int memoryRuns = 3;

/// The measured series as the service lists it, and a client that is signed in.
struct Source {
    ZorbelApiClient client;
    QString studyInstanceUid;
    OrthancSeriesSummary series;

    explicit Source(const QString& serviceUrl) : client(ApiClientConfig{serviceUrl}) {
        client.signIn(
            QString::fromLatin1(demo::readerAccount.email),
            QString::fromLatin1(demo::readerAccount.password));
        if (!client.isSignedIn())
            throw std::runtime_error("The demo service refused its own account");
        const auto studies = client.listStudies(QString(), 100);
        const auto study =
            std::find_if(studies.begin(), studies.end(), [](const ViewerStudySummary& candidate) {
                return candidate.studyDescription == QStringLiteral("BENCH");
            });
        if (study == studies.end())
            throw std::runtime_error("The demo service does not list the series to be streamed");
        studyInstanceUid = study->studyInstanceUID;
        const ImageDataRoute route = client.cloudRoute();
        series = client.seriesSummary(route, client.studySeriesIds(route, study->orthancId).value(0));
        if (series.instanceIds.size() != benchSlices)
            throw std::runtime_error("The demo service does not hold the whole series");
    }

    /// Streams the series, keeping nothing; the bytes of the reply.
    std::int64_t stream() const {
        std::int64_t transferred = 0;
        std::size_t partBytes = 0;
        std::size_t parts = 0;
        client.StreamSeries(
            studyInstanceUid, series.seriesInstanceUID, series.instanceIds,
            [&](std::int64_t received, std::int64_t) { transferred = received; }, {},
            [&](const QString&, const std::byte*, std::size_t length, std::size_t, std::size_t) {
                partBytes += length;
                ++parts;
            });
        constexpr std::size_t pixelBytes = std::size_t{2} * benchSlices * benchSize * benchSize;
        if (parts != benchSlices || partBytes < pixelBytes)
            throw std::runtime_error("The stream brought less than the series");
        return transferred;
    }
};

double streamRate(const Source& source, std::int64_t& bytes) {
    QElapsedTimer clock;
    clock.start();
    bytes = source.stream();
    return static_cast<double>(bytes) / 1e6 / (static_cast<double>(clock.nsecsElapsed()) / 1e9);
}

/// curl's settings for the same request; by standard input, so that no token shows in the process list.
QByteArray curlSettings(const Source& source) {
    const ImageDataRoute route = source.client.cloudRoute();
    const QString url =
        QStringLiteral("%1%2dicom-web/studies/%3/series/%4")
            .arg(route.baseUrl, route.prefix, source.studyInstanceUid, source.series.seriesInstanceUID);
    const QString settings =
        QStringLiteral(
            "url = \"%1\"\n"
            "header = \"Authorization: Bearer %2\"\n"
            "header = \"Accept: multipart/related; type=\\\"application/dicom\\\"; transfer-syntax=*\"\n"
            "header = \"Accept-Encoding: identity\"\n"
            "noproxy = \"*\"\n"
            "output = \"/dev/null\"\n"
            "fail\nsilent\nshow-error\n"
            "write-out = \"%{size_download} %{time_total}\"\n")
            .arg(url, route.token);
    return settings.toUtf8();
}

/// curl tells the time of the transfer itself; starting the program is not in it.
double curlRate(const QByteArray& settings, std::int64_t expectedBytes) {
    const QByteArray output = runProgram(
        QStringLiteral("curl"), {QStringLiteral("-q"), QStringLiteral("--config"), QStringLiteral("-")},
        settings);
    long long bytes = 0;
    double seconds = 0.0;
    if (std::sscanf(output.constData(), "%lld %lf", &bytes, &seconds) != 2 || seconds <= 0.0)
        throw std::runtime_error("curl did not tell its figures");
    if (bytes != expectedBytes)
        throw std::runtime_error("curl received another number of bytes than the viewer");
    return static_cast<double>(bytes) / 1e6 / seconds;
}

} // namespace

std::vector<BenchRow> measureStreaming(BenchGround& ground) {
    const Source source(ground.serviceUrl());
    const QByteArray settings = curlSettings(source);
    std::int64_t bytes = 0;
    const PairedMedians rates = medianInTurn(
        streamingRuns, [&] { return streamRate(source, bytes); }, [&] { return curlRate(settings, bytes); });
    BenchRow row = rateRow(streamingRowName, "MB/s", rates.ours, rates.reference, streamingRatioGoal);
    row.note =
        "400 slices of 512 x 512, " + std::to_string(bytes / 1'000'000) +
        " MB, every part taken apart and handed on; the reference is curl to /dev/null on the same URL of "
        "the demo service";
    return {row};
}

nlohmann::json streamingMemoryChild(const QString& serviceUrl) {
    const Source source(serviceUrl);
    resetPeak();
    const double before = residentMegabytes();
    source.stream();
    return {{"growth", peakMegabytes() - before}, {"before", before}};
}

std::vector<BenchRow> measureStreamingMemory(BenchGround& ground) {
    std::vector<double> growth;
    for (int run = 0; run < memoryRuns; ++run)
        growth.push_back(measureInChild({QStringLiteral("streaming-memory"), ground.serviceUrl()})
                             .at("growth")
                             .get<double>());
    BenchRow row = boundedRow(streamingMemoryRowName, "MB", median(growth), streamingGrowthGoalMegabytes);
    row.note =
        "a fresh process's peak of resident memory (VmHWM) during the call, above what was resident just "
        "before it; one instance is 0.5 MB, the series 210 MB";
    return {row};
}

} // namespace zorbel::bench

#include "benchmarks/CacheBench.h"

#include "base/digest/Sha256.h"
#include "benchmarks/BenchGround.h"
#include "benchmarks/ProcessMemory.h"
#include "benchmarks/Statistics.h"
#include "cache/OrthancStudyLoader.h"
#include "cache/SessionWorkspace.h"
#include "cache/archive/StudyArchiveTransaction.h"
#include "cache/storage/ViewerStorage.h"
#include "cache/volume/VolumeCacheManifest.h"
#include "cache/volume/VolumeCacheReader.h"
#include "cache/writer/VolumeCacheWriter.h"
#include "demo/DemoAccounts.h"

#include <nlohmann/json.hpp>

#include <QCoreApplication>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>

#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

namespace zorbel::bench {

namespace fs = std::filesystem;

namespace {

constexpr int side = 512;
constexpr int chunkSlices = 32; ///< 16 chunks
constexpr double cacheRatioGoal = 1.0 / 1.15;
constexpr double archiveRatioGoal = 1.0 / 1.25;
constexpr int cacheRuns = 7;
constexpr int archiveRuns = 7;
constexpr int reopenRuns = 5;
constexpr int policyRuns = 5;
constexpr int memoryRuns = 3;
constexpr int policyStudies = 10'000;
constexpr char studyUid[] = "1.2.3";

double millisecondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

/// Smooth structures with some noise: it compresses about as a cone beam volume does.
std::shared_ptr<const imaging::Image> syntheticVolume() {
    constexpr std::size_t count = std::size_t{side} * side * side;
    auto voxels = std::make_shared_for_overwrite<std::byte[]>(count * sizeof(std::int16_t));
    auto* values = reinterpret_cast<std::int16_t*>(voxels.get());
    std::uint32_t random = 1;
    for (std::size_t index = 0; index < count; ++index) {
        const auto column = static_cast<int>(index % side);
        const auto row = static_cast<int>(index / side % side);
        const auto slice = static_cast<int>(index / side / side);
        random = random * 1664525u + 1013904223u;
        values[index] = static_cast<std::int16_t>(
            (column / 16 * row / 16 + slice * 2) % 2000 + static_cast<int>(random >> 27));
    }
    imaging::ImageMetadata metadata;
    metadata.studyInstanceUID = studyUid;
    return std::make_shared<imaging::Image>(
        imaging::ImageGeometry(
            {side, side, side}, {0.0, 0.0, 0.0}, {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.3, 0.3, 0.3}),
        imaging::VoxelType::Int16, 1, voxels, count * sizeof(std::int16_t), metadata);
}

/// The volume cache, written when first asked for.
fs::path volumeCache(const BenchGround& ground) {
    const fs::path folder = ground.folder() / "volume-cache";
    if (!fs::exists(folder / "manifest.json"))
        VolumeCacheWriter::write(
            *syntheticVolume(), folder, {.studyInstanceUid = studyUid, .chunkSlices = chunkSlices});
    return folder;
}

ZorbelVolumeData load(const fs::path& folder) {
    auto result =
        VolumeCacheReader(
            folder, programFolder() / "resources/contracts/volume-cache-manifest.v1.0.json", {}, studyUid)
            .load();
    if (const auto* error = std::get_if<LoadError>(&result))
        throw std::runtime_error("The volume cache could not be loaded: " + error->message);
    return std::get<ZorbelVolumeData>(std::move(result));
}

std::vector<std::byte> readFile(const fs::path& file) {
    std::vector<std::byte> bytes(fs::file_size(file));
    std::ifstream stream(file, std::ios::binary);
    if (!stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size())))
        throw std::runtime_error("Cannot read " + file.filename().string());
    return bytes;
}

void hashAndInflate(const std::vector<fs::path>& chunks, std::vector<std::byte>& scratch) {
    for (const fs::path& chunk : chunks) {
        std::vector<std::byte> bytes = readFile(chunk);
        sha256Hex(bytes);
        z_stream stream{};
        stream.next_in = reinterpret_cast<Bytef*>(bytes.data());
        stream.avail_in = static_cast<uInt>(bytes.size());
        stream.next_out = reinterpret_cast<Bytef*>(scratch.data());
        stream.avail_out = static_cast<uInt>(scratch.size());
        const bool whole = inflateInit2(&stream, 47) == Z_OK && inflate(&stream, Z_FINISH) == Z_STREAM_END;
        inflateEnd(&stream);
        if (!whole)
            throw std::runtime_error("zlib cannot inflate " + chunk.filename().string());
    }
}

/// The files' bytes, to be written anew in every run as a download does.
std::vector<std::vector<std::byte>> contents(const std::vector<fs::path>& files) {
    std::vector<std::vector<std::byte>> all;
    for (const fs::path& file : files)
        all.push_back(readFile(file));
    return all;
}

void writeFile(const fs::path& file, const std::vector<std::byte>& bytes, bool sync) {
    const int descriptor = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    const bool written =
        descriptor >= 0 &&
        write(descriptor, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()) &&
        (!sync || fsync(descriptor) == 0);
    if (descriptor >= 0)
        close(descriptor);
    if (!written)
        throw std::runtime_error("Cannot write " + file.string());
}

/// Milliseconds; the files are written before, as a download leaves them.
double
archive(const fs::path& folder, const fs::path& download, const std::vector<std::vector<std::byte>>& files) {
    fs::create_directories(download);
    for (std::size_t index = 0; index < files.size(); ++index)
        writeFile(download / std::to_string(index), files[index], false);
    return millisecondsOf([&] {
        auto transaction =
            StudyArchiveTransaction::begin(folder, studyUid, "1.2.3.4", std::chrono::seconds(10));
        for (std::size_t index = 0; index < files.size(); ++index)
            transaction.adopt("instance-" + std::to_string(index), download / std::to_string(index));
        transaction.commit();
    });
}

void hashAndWrite(const fs::path& folder, const std::vector<std::vector<std::byte>>& files) {
    fs::remove_all(folder);
    fs::create_directories(folder);
    for (std::size_t index = 0; index < files.size(); ++index) {
        sha256Hex(files[index]);
        writeFile(folder / std::to_string(index), files[index], true);
    }
}

StudyIdentity benchStudy(const ZorbelApiClient& client) {
    for (const auto& row : client.listStudies({}, 100))
        if (row.studyDescription == QStringLiteral("BENCH"))
            return identityOf(row);
    throw std::runtime_error("The demo service does not list the series");
}

} // namespace

std::vector<BenchRow> measureCacheLoad(BenchGround& ground) {
    const fs::path folder = volumeCache(ground);
    std::vector<fs::path> chunks;
    for (int index = 0; index < side / chunkSlices; ++index)
        chunks.push_back(folder / chunkFileName(index));
    std::vector<std::byte> scratch(std::size_t{2} * side * side * chunkSlices);
    const PairedMedians taken = medianInTurn(
        cacheRuns, [&] { return millisecondsOf([&] { load(folder); }); },
        [&] { return millisecondsOf([&] { hashAndInflate(chunks, scratch); }); });
    BenchRow row = durationRow(cacheLoadRowName, "ms", taken.ours, taken.reference, cacheRatioGoal);
    row.note = "512 × 512 × 512 int16 in 16 chunks, manifest to assembled volume, from the page cache; the "
               "reference reads, hashes and inflates the chunk files one after the other into one buffer and "
               "keeps nothing";
    return {row};
}

nlohmann::json cacheMemoryChild(const fs::path& cacheFolder) {
    const auto volume = load(cacheFolder);
    return {{"peak", peakMegabytes()}, {"voxels", static_cast<double>(volume.byteLength) / 1e6}};
}

std::vector<BenchRow> measureCacheMemory(BenchGround& ground) {
    const fs::path folder = volumeCache(ground);
    std::vector<double> peaks;
    double voxels = 0.0;
    for (int run = 0; run < memoryRuns; ++run) {
        const auto result =
            measureInChild({QStringLiteral("cache-memory"), QString::fromStdString(folder.string())});
        peaks.push_back(result.at("peak").get<double>());
        voxels = result.at("voxels").get<double>();
    }
    const double chunk = voxels * chunkSlices / side;
    BenchRow row = boundedRow(cacheMemoryRowName, "MB", median(peaks), 1.1 * voxels + chunk + 50.0);
    row.note = "peak of resident memory (VmHWM) of a fresh process; the goal is 1.1 times the volume of " +
               std::to_string(static_cast<int>(voxels)) + " MB, one chunk and 50 MB";
    return {row};
}

std::vector<BenchRow> measureArchiveCommit(BenchGround& ground) {
    const auto files = contents(filesOf(ground.series()));
    const fs::path archiveFolder = ground.folder() / "archive-commit" / "1.2.3.4";
    const fs::path plainFolder = ground.folder() / "archive-reference";
    const PairedMedians taken = medianInTurn(
        archiveRuns, [&] { return archive(archiveFolder, ground.folder() / "archive-download", files); },
        [&] { return millisecondsOf([&] { hashAndWrite(plainFolder, files); }); });
    BenchRow row = durationRow(archiveCommitRowName, "ms", taken.ours, taken.reference, archiveRatioGoal);
    row.note =
        "downloaded files moved into the staging folder, checked, hashed, flushed and promoted over an "
        "earlier copy; the reference hashes each file and writes and fsyncs it";
    return {row};
}

std::vector<BenchRow> measureArchiveReopen(BenchGround& ground) {
    const auto client = std::make_shared<ZorbelApiClient>(ApiClientConfig{ground.serviceUrl()});
    client->signIn(
        QString::fromLatin1(demo::readerAccount.email), QString::fromLatin1(demo::readerAccount.password));
    const auto listing = listLoadableSeries(client, benchStudy(*client), {});
    SessionWorkspace workspace(QString::fromStdString(ground.folder().string()));
    const StudyArchives archives(
        ViewerStorage(ground.folder() / "reopen", StorageScope::of("organization", "reader")));
    const auto open = [&](bool reuse) {
        const SeriesLoadRequest request{listing.study, listing.series.front(), listing.route, archives, reuse,
                                        false};
        auto result = LoadStudyFromOrthanc(client, request, workspace, {}, {});
        const auto expected = reuse ? ImageSource::Archive : ImageSource::Service;
        if (!result.image || result.source != expected)
            throw std::runtime_error("The series did not come from where it should");
        return result;
    };
    StoragePolicy policy;
    archives.store(*open(false).downloaded, policy, {});
    const PairedMedians taken = medianInTurn(
        reopenRuns, [&] { return millisecondsOf([&] { open(true); }); },
        [&] { return millisecondsOf([&] { open(false); }); });
    BenchRow row = durationRow(archiveReopenRowName, "ms", taken.ours, taken.reference, 1.0);
    row.goal.reset();
    row.note =
        "every file's size and digest checked, grouped and decoded; the reference streams the series from "
        "the demo service on this machine first, faster than any real network";
    return {row};
}

std::vector<BenchRow> measurePolicy(BenchGround& ground) {
    const ViewerStorage storage(ground.folder() / "policy", StorageScope::of("organization", "reader"));
    for (int study = 0; study < policyStudies; ++study) {
        const fs::path series =
            storage.archiveDirectory("1.2." + std::to_string(study), "1.2." + std::to_string(study) + ".1");
        fs::create_directories(series);
        for (const char* name : {"a.dcm", "b.dcm", "archive-manifest.json"})
            std::ofstream(series / name) << "content";
    }
    std::vector<double> taken;
    for (int run = 0; run < policyRuns; ++run)
        taken.push_back(millisecondsOf([&] {
            if (storage.applyPolicy({}, ViewerStorage::Time::clock::now()).removedDirectories != 0)
                throw std::runtime_error("The policy removed fresh studies");
        }));
    BenchRow row = plainRow(policyRowName, "ms", median(taken));
    row.note = "listing, sizes and age of 10,000 study folders of 3 files each, nothing to remove";
    return {row};
}

} // namespace zorbel::bench

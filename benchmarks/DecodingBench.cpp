#include "benchmarks/DecodingBench.h"

#include "benchmarks/BenchGround.h"
#include "benchmarks/ProcessMemory.h"
#include "benchmarks/Statistics.h"
#include "imaging/DicomSeriesReader.h"

#include <nlohmann/json.hpp>

#include <gdcmImageReader.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>

namespace zorbel::bench {

namespace fs = std::filesystem;

namespace {

constexpr double decodingRatioGoal = 1.6;
constexpr int decodingRuns = 11;
constexpr int compressedRuns = 7;
constexpr int memoryRuns = 3;
constexpr double memoryFactorGoal = 1.3;
constexpr double memoryOffsetGoalMegabytes = 150.0;
constexpr std::size_t sliceVoxels = std::size_t{benchSize} * benchSize;

double millisecondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

std::shared_ptr<const imaging::Image> decode(const std::vector<fs::path>& files) {
    const imaging::DicomAnalysis analysis = imaging::DicomSeriesReader::analyze(files);
    if (analysis.blocks.size() != 1 || analysis.blocks.front().frameCount() != files.size())
        throw std::runtime_error("The files were not grouped as one series");
    return imaging::DicomSeriesReader::load(analysis.blocks.front());
}

/// The stored values of all files, which are in the order of the slices, one behind the other.
struct PlainVolume {
    std::unique_ptr<std::uint16_t[]> voxels;
    std::size_t count = 0;
};

PlainVolume decodePlainly(const std::vector<fs::path>& files) {
    PlainVolume volume;
    volume.count = files.size() * sliceVoxels;
    volume.voxels = std::make_unique_for_overwrite<std::uint16_t[]>(volume.count);
    for (std::size_t slice = 0; slice < files.size(); ++slice) {
        gdcm::ImageReader reader;
        reader.SetFileName(files[slice].c_str());
        if (!reader.Read() || reader.GetImage().GetBufferLength() != sliceVoxels * sizeof(std::uint16_t) ||
            !reader.GetImage().GetBuffer(reinterpret_cast<char*>(volume.voxels.get() + slice * sliceVoxels)))
            throw std::runtime_error("GDCM cannot read " + files[slice].filename().string());
    }
    return volume;
}

/// A figure for a wrong volume would be worth nothing.
void compare(const std::vector<fs::path>& files) {
    const auto image = decode(files);
    const PlainVolume plain = decodePlainly(files);
    constexpr std::size_t stride = 997;
    for (std::size_t index = 0; index < plain.count; index += stride) {
        const auto column = static_cast<int>(index % benchSize);
        const auto row = static_cast<int>(index / benchSize % benchSize);
        const auto slice = static_cast<int>(index / sliceVoxels);
        if (image->storedValueAt(column, row, slice) != plain.voxels[index])
            throw std::runtime_error("The decoded volume differs from GDCM's");
    }
}

BenchRow decodingRow(const char* name, const std::vector<fs::path>& files, int runs) {
    compare(files);
    const PairedMedians taken = medianInTurn(
        runs, [&] { return millisecondsOf([&] { decode(files); }); },
        [&] { return millisecondsOf([&] { decodePlainly(files); }); });
    BenchRow row = durationRow(name, "ms", taken.ours, taken.reference, decodingRatioGoal);
    row.note = "grouping, decoding and rescaling into one volume, from the page cache; the reference is one "
               "loop over "
               "gdcm::ImageReader and GetBuffer in the order of the slices, without rescaling";
    return row;
}

} // namespace

std::vector<BenchRow> measureDecoding(BenchGround& ground) {
    return {decodingRow(decodingRowName, filesOf(ground.series()), decodingRuns)};
}

std::vector<BenchRow> measureCompressedDecoding(BenchGround& ground) {
    BenchRow row = decodingRow(compressedDecodingRowName, filesOf(ground.compressedSeries()), compressedRuns);
    row.goal.reset(); // ours does more: see the note
    row.note +=
        "; ours also walks each stream to its last sample first, because GDCM silently fills in what a "
        "cut one lacks";
    return {row};
}

nlohmann::json decodingMemoryChild(const fs::path& folder) {
    const double before = residentMegabytes();
    const auto image = decode(filesOf(folder));
    return {
        {"peak", peakMegabytes()},
        {"before", before},
        {"voxels", static_cast<double>(image->voxels().size()) / 1e6}};
}

std::vector<BenchRow> measureDecodingMemory(BenchGround& ground) {
    std::vector<double> peaks;
    nlohmann::json last;
    for (int run = 0; run < memoryRuns; ++run) {
        last = measureInChild(
            {QStringLiteral("decoding-memory"), QString::fromStdString(ground.series().string())});
        peaks.push_back(last.at("peak").get<double>());
    }
    const double voxels = last.at("voxels").get<double>();
    BenchRow row = boundedRow(
        decodingMemoryRowName, "MB", median(peaks), memoryFactorGoal * voxels + memoryOffsetGoalMegabytes);
    row.note = "peak of resident memory (VmHWM) of a fresh process, its " +
               std::to_string(static_cast<int>(last.at("before").get<double>())) +
               " MB before the call included; the voxels are " + std::to_string(static_cast<int>(voxels)) +
               " MB, the goal is 1.3 times that and 150 MB";
    return {row};
}

} // namespace zorbel::bench

#include "benchmarks/VolumeBench.h"

#include "benchmarks/ChildProcess.h"
#include "benchmarks/ProcessMemory.h"
#include "benchmarks/Statistics.h"
#include "benchmarks/StudyOpening.h"
#include "imaging/rendering/OpenGlCapabilities.h"
#include "imaging/rendering/OpenGlRenderWindowWidget.h"
#include "imaging/rendering/VolumeView.h"

#include <nlohmann/json.hpp>

#include <QApplication>
#include <QElapsedTimer>

#include <cmath>
#include <memory>

namespace zorbel::bench {

namespace {

constexpr char turningName[] = "Turning a 512³ volume in 3D, 600 × 600";
constexpr char partName[] = "Longest part of the still 3D picture";
constexpr char stillName[] = "Still 3D picture in all its parts";
constexpr char memoryName[] = "Memory after 20 volumes in 3D, against the first";

constexpr double leastFramesPerSecond = 10.0;
constexpr double longestPartGoalMs = 100.0;
constexpr double memoryGrowthGoalPercent = 5.0;
constexpr int viewSide = 600;
constexpr int turningSide = 512;
constexpr int turningFrames = 60;
constexpr int memorySide = 256;
constexpr int memoryVolumes = 20;

/// Air, a head of soft tissue, and in it a shell of bone and rows of teeth.
std::int16_t greyAt(double x, double y, double z) {
    const double radius = std::sqrt(x * x + 0.8 * y * y + z * z);
    if (radius > 0.9)
        return -1000;
    if (radius > 0.74 && radius < 0.80)
        return 1200;
    const double arch = std::hypot(x, y - 0.2);
    if (std::abs(z + 0.3) < 0.1 && std::abs(arch - 0.45) < 0.05 && std::sin(40.0 * std::atan2(y, x)) > -0.3)
        return 2400;
    return 40;
}

std::shared_ptr<const imaging::Image> head(int side) {
    const auto voxels =
        static_cast<std::size_t>(side) * static_cast<std::size_t>(side) * static_cast<std::size_t>(side);
    const std::shared_ptr<std::byte[]> bytes(new std::byte[voxels * sizeof(std::int16_t)]);
    auto* out = reinterpret_cast<std::int16_t*>(bytes.get());
    const auto place = [side](int index) { return 2.0 * (index + 0.5) / side - 1.0; };
    std::uint32_t noise = 1;
    for (int slice = 0; slice < side; ++slice)
        for (int row = 0; row < side; ++row)
            for (int column = 0; column < side; ++column) {
                noise = noise * 1664525U + 1013904223U;
                *out++ = static_cast<std::int16_t>(
                    greyAt(place(column), place(row), place(slice)) + static_cast<int>(noise >> 26));
            }
    imaging::ImageMetadata metadata;
    metadata.minimum = -1000.0;
    metadata.maximum = 2463.0;
    const double spacing = 160.0 / side;
    return std::make_shared<const imaging::Image>(
        imaging::ImageGeometry(
            {side, side, side}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {spacing, spacing, spacing}),
        imaging::VoxelType::Int16, 1, bytes, voxels * sizeof(std::int16_t), std::move(metadata));
}

void waitForStill(imaging::VolumeView& view, const std::function<void()>& change) {
    bool still = false;
    QObject connection;
    QObject::connect(
        &view, &imaging::VolumeView::stillFrameRendered, &connection, [&still] { still = true; });
    change();
    waitUntil([&still] { return still; }, "a 3D picture at rest");
}

double framesPerSecond(imaging::VolumeView& view) {
    int frames = 0;
    QObject connection;
    QObject::connect(&view, &imaging::VolumeView::frameRendered, &connection, [&] {
        if (++frames < turningFrames)
            view.rotateBy(3.0, 0.5);
    });
    QElapsedTimer clock;
    clock.start();
    view.rotateBy(3.0, 0.5);
    waitUntil([&frames] { return frames >= turningFrames; }, "turned 3D frames");
    return 1e9 * frames / static_cast<double>(clock.nsecsElapsed());
}

double memoryGrowthPercent(imaging::VolumeView& view) {
    double first = 0.0;
    for (int volume = 0; volume < memoryVolumes; ++volume) {
        waitForStill(view, [&view] { view.setImage(head(memorySide)); });
        view.clear();
        view.grabFrame();
        if (volume == 0)
            first = residentMegabytes();
    }
    return 100.0 * (residentMegabytes() / first - 1.0);
}

} // namespace

std::vector<std::string> volumeRowNames() {
    return {turningName, partName, stillName, memoryName};
}

nlohmann::json volumeChild() {
    char name[] = "zorbel-bench";
    char* arguments[] = {name, nullptr};
    int count = 1;
    imaging::OpenGlRenderWindowWidget::setDefaultSurfaceFormat();
    const QApplication application(count, arguments);
    imaging::VolumeView view;
    view.resize(viewSide, viewSide);
    view.show();
    nlohmann::json result;
    result["renderer"] = imaging::OpenGlCapabilities::instance().renderer;
    waitForStill(view, [&view] { view.setImage(head(turningSide)); });
    framesPerSecond(view); // finds how many rays there is time for
    result["turning"] = framesPerSecond(view);
    waitForStill(view, [&view] { view.rotateBy(3.0, 0.0); });
    result["part"] = view.longestPartMilliseconds();
    result["still"] = view.stillMilliseconds();
    view.clear();
    view.resize(viewSide / 2, viewSide / 2);
    result["memory"] = memoryGrowthPercent(view);
    return result;
}

std::vector<BenchRow> measureVolume(BenchGround&) {
    const nlohmann::json result = measureInChild({QStringLiteral("volume")}, {}, 600);
    const auto figure = [&result](const char* key) { return result.at(key).get<double>(); };
    std::vector<BenchRow> rows{
        flooredRow(turningName, "frames/s", figure("turning"), leastFramesPerSecond),
        boundedRow(partName, "ms", figure("part"), longestPartGoalMs),
        plainRow(stillName, "ms", figure("still")),
        boundedRow(memoryName, "% more", figure("memory"), memoryGrowthGoalPercent)};
    rows.front().note =
        "frames shown one after another, drawn by " + result.at("renderer").get<std::string>();
    rows[1].note = "for so long the next mouse movement may wait";
    return rows;
}

} // namespace zorbel::bench

#include "benchmarks/PlaneBench.h"

#include "base/WorkerPool.h"
#include "benchmarks/ChildProcess.h"
#include "benchmarks/Statistics.h"
#include "imaging/planes/PlaneSampler.h"
#include "imaging/rendering/PlaneView.h"
#include "imaging/volume/VoxelBuffer.h"

#include <nlohmann/json.hpp>

#include <QApplication>
#include <QElapsedTimer>
#include <QHBoxLayout>
#include <QTest>

#include <vtkImageData.h>
#include <vtkImageReslice.h>
#include <vtkMatrix4x4.h>
#include <vtkNew.h>
#include <vtkSmartPointer.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <numbers>
#include <random>
#include <sstream>
#include <stdexcept>

namespace zorbel::bench {

namespace {

using imaging::Image;
using imaging::PlaneFrame;
using imaging::PlaneValues;
using imaging::SlabMode;
using imaging::Vector3;

constexpr int volumeSide = 512;
constexpr int pictureSide = 1024;
constexpr int slabPlanes = 25;
constexpr int planeRuns = 15;
constexpr int slabRuns = 5;
constexpr int handSteps = 40;
constexpr double planeRatioGoal = 2.0;
constexpr double slabRatioGoal = 3.0;
constexpr double rotationGoalMs = 33.0;
constexpr double windowGoalMs = 8.0;
constexpr int waitMs = 20000;
/// Of the compared greys: a window of bone.
constexpr double windowCenter = 400.0;
constexpr double windowWidth = 1800.0;

constexpr char planeName[] = "Oblique plane";
constexpr char rotationName[] = "Coupled rotation, one step of two oblique planes";
constexpr char windowName[] = "Window drag, one step of one view";

std::string slabName(SlabMode mode) {
    return "Oblique slab of 25 planes, " + std::string(imaging::slabModeName(mode));
}

std::vector<SlabMode> slabModes() {
    return {SlabMode::Mip, SlabMode::Average, SlabMode::MinIp, SlabMode::Sum};
}

double millisecondsOf(const std::function<void()>& work) {
    QElapsedTimer clock;
    clock.start();
    work();
    return static_cast<double>(clock.nsecsElapsed()) / 1e6;
}

/// Soft and sharp structures in all directions, and noise.
std::shared_ptr<const Image> benchVolume() {
    constexpr std::size_t side = volumeSide;
    constexpr std::size_t bytes = side * side * side * sizeof(std::int16_t);
    const std::shared_ptr<std::byte[]> buffer = imaging::newVoxelBuffer(bytes);
    auto* voxels = reinterpret_cast<std::int16_t*>(buffer.get());
    parallelFor(side, 1, [&](std::size_t slice, std::size_t) {
        std::minstd_rand noise(static_cast<unsigned>(slice + 1));
        std::int16_t* out = voxels + slice * side * side;
        for (std::size_t row = 0; row < side; ++row) {
            const double smooth = 600.0 * std::cos(0.07 * static_cast<double>(row)) +
                                  500.0 * std::sin(0.09 * static_cast<double>(slice));
            for (std::size_t column = 0; column < side; ++column) {
                const double block = (column / 16 + row / 16 + slice / 16) % 2 == 0 ? 800.0 : 0.0;
                *out++ = static_cast<std::int16_t>(smooth + block + static_cast<double>(noise() % 64U));
            }
        }
    });
    const imaging::ImageGeometry geometry(
        {volumeSide, volumeSide, volumeSide}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1});
    imaging::ImageMetadata metadata;
    metadata.minimum = -1100.0;
    metadata.maximum = 1963.0;
    imaging::LevelWindow window;
    window.center = windowCenter;
    window.width = windowWidth;
    metadata.windows = {window};
    return std::make_shared<const Image>(
        geometry, imaging::VoxelType::Int16, 1, buffer, bytes, std::move(metadata));
}

PlaneFrame obliqueFrame(const Image& image) {
    PlaneFrame frame;
    frame.plane = imaging::PlaneGeometry(image.geometry().center(), {0.8, 0.5, 0.2}, {-0.3, 0.6, -0.7});
    frame.width = frame.height = pictureSide;
    frame.millimetresPerPixel = 0.5;
    return frame;
}

/// vtkImageReslice set to the same picture; values outside the volume are the lowest of all.
class Reference {
public:
    Reference(const Image& image, const PlaneFrame& frame) {
        const auto data = vtkSmartPointer<vtkImageData>::Take(image.newVtkImage());
        reslice_->SetInputData(data);
        vtkNew<vtkMatrix4x4> axes;
        const Vector3 corner = frame.pixelToWorld(0, 0);
        const Vector3 normal = frame.plane.normal();
        for (int row = 0; row < 3; ++row) {
            const auto at = static_cast<std::size_t>(row);
            axes->SetElement(row, 0, frame.plane.axisVector(0)[at]);
            axes->SetElement(row, 1, frame.plane.axisVector(1)[at]);
            axes->SetElement(row, 2, normal[at]);
            axes->SetElement(row, 3, corner[at]);
        }
        reslice_->SetResliceAxes(axes);
        reslice_->SetInterpolationModeToLinear();
        reslice_->SetOutputDimensionality(2);
        reslice_->SetOutputOrigin(0.0, 0.0, 0.0);
        reslice_->SetOutputSpacing(frame.millimetresPerPixel, frame.millimetresPerPixel, frame.slab.spacing);
        reslice_->SetOutputExtent(0, frame.width - 1, 0, frame.height - 1, 0, 0);
        reslice_->SetBackgroundLevel(outside);
        reslice_->SetSlabNumberOfSlices(frame.slab.count);
        if (frame.slab.mode == SlabMode::Mip)
            reslice_->SetSlabModeToMax();
        else if (frame.slab.mode == SlabMode::MinIp)
            reslice_->SetSlabModeToMin();
        else if (frame.slab.mode == SlabMode::Average)
            reslice_->SetSlabModeToMean();
        else
            reslice_->SetSlabModeToSum();
        if (frame.slab.count > 1 && frame.slab.mode == SlabMode::Sum)
            reslice_->SetOutputScalarType(VTK_FLOAT); // The sums do not fit the voxels' type.
    }

    void draw() {
        reslice_->Modified();
        reslice_->Update();
    }
    double at(int x, int y) { return reslice_->GetOutput()->GetScalarComponentAsDouble(x, y, 0, 0); }

    static constexpr double outside = -32768.0;

private:
    vtkNew<vtkImageReslice> reslice_;
};

/// Greys, 0 to 255, under the window of bone, where both pictures are more than a slab away from the border.
double
greyDifference(const Image& image, const PlaneFrame& frame, const PlaneValues& values, Reference& other) {
    imaging::LevelWindow window;
    window.center = windowCenter;
    window.width = windowWidth;
    const imaging::LevelWindow shown = windowForSlab(window, frame.slab);
    double largest = 0.0;
    for (int y = 0; y < frame.height; ++y) {
        for (int x = 0; x < frame.width; ++x) {
            const Vector3 index = image.geometry().worldToIndex(frame.pixelToWorld(x, y));
            const double margin = frame.slab.count / 2.0;
            bool inside = true;
            for (std::size_t axis = 0; axis < 3; ++axis)
                inside = inside && index[axis] > margin && index[axis] < volumeSide - 1 - margin;
            if (inside)
                largest = std::max(
                    largest,
                    255.0 *
                        std::abs(applyWindow(shown, values.at(x, y)) - applyWindow(shown, other.at(x, y))));
        }
    }
    return largest;
}

nlohmann::json
againstReference(const std::shared_ptr<const Image>& image, const PlaneFrame& frame, int runs) {
    const imaging::PlaneSampler sampler(image);
    PlaneValues values;
    Reference reference(*image, frame);
    const PairedMedians taken = medianInTurn(
        runs, [&] { return millisecondsOf([&] { sampler.sample(frame, values); }); },
        [&] { return millisecondsOf([&] { reference.draw(); }); });
    return {
        {"ours", taken.ours},
        {"reference", taken.reference},
        {"difference", greyDifference(*image, frame, values, reference)}};
}

void waitUntil(const std::function<bool()>& done) {
    if (!QTest::qWaitFor(done, waitMs))
        throw std::runtime_error("The views did not draw");
}

/// Two views of which each has the whole picture's size, as far as the screen's scale allows.
struct Views {
    QWidget window;
    imaging::PlaneView* first = new imaging::PlaneView(imaging::ViewDirection::Coronal);
    imaging::PlaneView* second = new imaging::PlaneView(imaging::ViewDirection::Sagittal);
    int frames = 0;

    explicit Views(const std::shared_ptr<const Image>& image) {
        auto* layout = new QHBoxLayout(&window);
        layout->setContentsMargins(0, 0, 0, 0);
        for (auto* view : {first, second}) {
            const double ratio = window.devicePixelRatioF();
            view->setFixedSize(QSizeF(pictureSide / ratio, pictureSide / ratio).toSize());
            layout->addWidget(view);
            view->setImage(image);
            QObject::connect(
                view, &imaging::RenderWindowWidget::frameRendered, &window, [this] { ++frames; });
        }
        window.show();
        waitUntil([this] { return upToDate() && frames >= 2; });
    }

    bool upToDate() const { return first->isUpToDate() && second->isUpToDate(); }

    /// Until the full pictures of all changed views are painted.
    double millisecondsUntilPainted(int views, const std::function<void()>& change) {
        const int before = frames;
        return millisecondsOf([&] {
            change();
            // No waiting for a timer: the event loop sleeps until something has happened.
            while (!upToDate() || frames < before + views)
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        });
    }
};

double rotationStep(Views& views, const Image& image) {
    std::vector<double> taken;
    const Vector3 center = image.geometry().center();
    for (int step = 0; step < handSteps; ++step) {
        const double angle = (20.0 + step) * std::numbers::pi / 180.0;
        const Vector3 along{std::cos(angle), std::sin(angle), 0.1};
        const Vector3 across{-std::sin(angle), std::cos(angle), 0.15};
        taken.push_back(views.millisecondsUntilPainted(2, [&] {
            views.first->navigation().reorientSlices(center, along, {0.2, 0.1, -1.0});
            views.second->navigation().reorientSlices(center, across, {0.2, 0.1, -1.0});
        }));
    }
    return median(std::move(taken));
}

double windowStep(Views& views) {
    std::vector<double> taken;
    for (int step = 0; step < handSteps; ++step)
        taken.push_back(views.millisecondsUntilPainted(
            1, [&] { views.first->setWindow(windowCenter + step, windowWidth - 5.0 * step); }));
    return median(std::move(taken));
}

std::string differenceNote(const nlohmann::json& measured) {
    std::ostringstream text;
    text.precision(2);
    text << std::fixed << "the pictures differ by at most " << measured.at("difference").get<double>()
         << " greys of 256 (window 1800, level 400)";
    return text.str();
}

} // namespace

std::vector<std::string> planeRowNames() {
    std::vector<std::string> names{planeName};
    for (const SlabMode mode : slabModes())
        names.push_back(slabName(mode));
    names.emplace_back(rotationName);
    names.emplace_back(windowName);
    return names;
}

nlohmann::json planesChild(int argc, char** argv) {
    const QApplication application(argc, argv);
    const auto image = benchVolume();
    nlohmann::json result;
    PlaneFrame frame = obliqueFrame(*image);
    result[planeName] = againstReference(image, frame, planeRuns);
    for (const SlabMode mode : slabModes()) {
        frame.slab = {mode, slabPlanes, 1.0};
        result[slabName(mode)] = againstReference(image, frame, slabRuns);
    }
    Views views(image);
    result[windowName] = windowStep(views);
    result[rotationName] = rotationStep(views, *image);
    return result;
}

std::vector<BenchRow> measurePlanes(BenchGround&) {
    const nlohmann::json result = measureInChild({QStringLiteral("planes")});
    std::vector<BenchRow> rows;
    const auto compared = [&](const std::string& name, double goal) {
        const nlohmann::json& measured = result.at(name);
        rows.push_back(durationRow(
            name, "ms", measured.at("ours").get<double>(), measured.at("reference").get<double>(), goal));
        rows.back().note = differenceNote(measured);
    };
    compared(planeName, planeRatioGoal);
    rows.back().note = "1024 × 1024 pixels of half a voxel through 512³ voxels of 16 bits, all cores; the "
                       "reference is vtkImageReslice with linear interpolation; " +
                       rows.back().note;
    for (const SlabMode mode : slabModes())
        compared(slabName(mode), slabRatioGoal);
    rows.push_back(boundedRow(rotationName, "ms", result.at(rotationName).get<double>(), rotationGoalMs));
    rows.back().note = "from turning the planes until both full pictures of 1024 × 1024 pixels are painted";
    rows.push_back(boundedRow(windowName, "ms", result.at(windowName).get<double>(), windowGoalMs));
    rows.back().note = "from setting the window until 1024 × 1024 pixels are painted";
    return rows;
}

} // namespace zorbel::bench

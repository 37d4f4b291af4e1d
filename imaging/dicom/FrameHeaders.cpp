#include "imaging/dicom/DicomHeaderParts.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>

namespace zorbel::imaging {

namespace {

constexpr double farthestPosition = 1e7; // millimetres; beyond it the numbers are no position

std::optional<Vector3> readPosition(const DicomAttributes& attributes) {
    const std::vector<double> values = attributes.numbers({0x0020, 0x0032});
    if (values.size() < 3)
        return std::nullopt;
    const Vector3 position{values[0], values[1], values[2]};
    if (length(position) > farthestPosition)
        return std::nullopt;
    return position;
}

/// Absent also where the file holds a placeholder of zeros; throws where the vectors cannot be axes of an
/// image.
std::optional<Orientation> readOrientation(const DicomAttributes& attributes) {
    const std::vector<double> values = attributes.numbers({0x0020, 0x0037});
    if (values.size() < 6)
        return std::nullopt;
    const Vector3 row{values[0], values[1], values[2]};
    const Vector3 column{values[3], values[4], values[5]};
    if (length(row) < 1e-6 && length(column) < 1e-6)
        return std::nullopt;
    if (std::abs(length(row) - 1.0) > 0.1 || std::abs(length(column) - 1.0) > 0.1)
        throw std::runtime_error("the image orientation holds no unit vectors");
    const Vector3 unitRow = normalized(row);
    const double slant = dot(unitRow, normalized(column));
    if (std::abs(slant) > 0.02)
        throw std::runtime_error("the image orientation is not orthogonal");
    return Orientation{unitRow, normalized(normalized(column) - unitRow * slant)};
}

std::optional<std::pair<double, double>> readSpacing(const DicomAttributes& attributes, Tag tag) {
    const std::vector<double> values = attributes.numbers(tag);
    if (values.size() < 2 || values[0] <= 0.0 || values[1] <= 0.0)
        return std::nullopt;
    return std::pair{values[1], values[0]}; // the file names the distance of the rows first
}

std::optional<double> readSliceSpacing(const DicomAttributes& attributes) {
    for (const Tag& tag : {Tag(0x0018, 0x0088), Tag(0x0018, 0x0050)})
        if (const auto value = attributes.number(tag); value && std::abs(*value) > 1e-6)
            return std::abs(*value);
    return std::nullopt;
}

void readRescale(const DicomAttributes& attributes, FrameHeader& frame) {
    const auto slope = attributes.number({0x0028, 0x1053});
    const auto intercept = attributes.number({0x0028, 0x1052});
    if (!slope && !intercept)
        return;
    // A slope of 0 would make every voxel equal: such files mean "no scaling", the intercept holds all the
    // same.
    frame.rescale.slope = slope && *slope != 0.0 ? *slope : 1.0;
    frame.rescale.intercept = intercept.value_or(0.0);
    frame.rescaleType = attributes.text({0x0028, 0x1054});
}

std::string indexText(const DicomAttributes& attributes, Tag tag) {
    std::string_view bytes = attributes.bytes(tag);
    std::string text;
    for (; bytes.size() >= 4; bytes.remove_prefix(4)) {
        std::uint32_t value = 0;
        std::memcpy(&value, bytes.data(), 4);
        text += std::to_string(value) + '\\';
    }
    return text;
}

/// What a frame says of itself where the file's root says nothing: PS3.3 C.7.6.16.
void readFunctionalGroups(const DicomAttributes& groups, FrameHeader& frame) {
    const auto inside = [&groups](Tag tag, auto&& read) {
        const std::vector<DicomAttributes> items = groups.items(tag);
        if (!items.empty())
            read(items.front());
    };
    inside({0x0020, 0x9113}, [&frame](const DicomAttributes& item) {
        if (const auto position = readPosition(item))
            frame.position = position;
    });
    inside({0x0020, 0x9116}, [&frame](const DicomAttributes& item) {
        if (const auto orientation = readOrientation(item))
            frame.orientation = orientation;
    });
    inside({0x0028, 0x9110}, [&frame](const DicomAttributes& item) {
        if (const auto spacing = readSpacing(item, {0x0028, 0x0030}))
            frame.pixelSpacing = spacing;
        if (const auto spacing = readSliceSpacing(item))
            frame.sliceSpacing = spacing;
    });
    inside({0x0028, 0x9145}, [&frame](const DicomAttributes& item) { readRescale(item, frame); });
    inside({0x0028, 0x9132}, [&frame](const DicomAttributes& item) {
        if (auto windows = readWindows(item); !windows.empty())
            frame.windows = std::move(windows);
    });
    inside({0x0020, 0x9111}, [&frame](const DicomAttributes& item) {
        frame.acquisitionKeys = {
            indexText(item, {0x0020, 0x9128}), item.text({0x0020, 0x9056}),
            std::to_string(item.unsignedShort({0x0020, 0x9156}).value_or(0))};
        // Each dimension on its own: one of them may be time or energy.
        std::string_view rest = item.bytes({0x0020, 0x9157});
        for (; rest.size() >= 4; rest.remove_prefix(4))
            frame.acquisitionKeys.emplace_back(rest.substr(0, 4));
    });
}

/// Positions of the frames of an object that names one position, or none, for all of them.
void layOutFrames(const DicomAttributes& root, std::vector<FrameHeader>& frames) {
    const std::vector<double> offsets = root.numbers({0x3004, 0x000c});
    const bool stated = frames.front().position && frames.front().orientation;
    const Vector3 origin = frames.front().position.value_or(Vector3{0.0, 0.0, 0.0});
    const Orientation orientation =
        frames.front().orientation.value_or(Orientation{{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}});
    const Vector3 normal = cross(orientation.first, orientation.second);
    const auto between = root.number({0x0018, 0x0088});
    const double step = between && *between != 0.0 ? *between : frames.front().sliceSpacing.value_or(1.0);
    const bool byOffsets = offsets.size() == frames.size();
    for (std::size_t i = 0; i < frames.size(); ++i) {
        const double distance = byOffsets ? offsets[i] - offsets[0] : step * static_cast<double>(i);
        frames[i].position = origin + normal * distance;
        frames[i].orientation = orientation;
        frames[i].positionAssumed = !stated || !(byOffsets || between);
    }
}

} // namespace

std::vector<LevelWindow> readWindows(const DicomAttributes& attributes) {
    const std::vector<double> centers = attributes.numbers({0x0028, 0x1050});
    const std::vector<double> widths = attributes.numbers({0x0028, 0x1051});
    const std::vector<std::string> explanations = attributes.texts({0x0028, 0x1055});
    const std::string function = attributes.text({0x0028, 0x1056});
    std::vector<LevelWindow> windows;
    // Each frame has its own list; nobody chooses among more.
    constexpr std::size_t most = 64;
    for (std::size_t i = 0; i < std::min({centers.size(), widths.size(), most}); ++i) {
        if (widths[i] <= 0.0)
            continue;
        LevelWindow window{centers[i], widths[i], VoiFunction::Linear, {}};
        if (function == "LINEAR_EXACT")
            window.function = VoiFunction::LinearExact;
        else if (function == "SIGMOID")
            window.function = VoiFunction::Sigmoid;
        if (i < explanations.size())
            window.explanation = explanations[i];
        windows.push_back(std::move(window));
    }
    return windows;
}

void readFrames(const DicomAttributes& root, std::size_t frameCount, DicomFileHeader& header) {
    FrameHeader common;
    common.position = readPosition(root);
    common.orientation = readOrientation(root);
    common.pixelSpacing = readSpacing(root, {0x0028, 0x0030});
    common.sliceSpacing = readSliceSpacing(root);
    common.windows = readWindows(root);
    // Nuclear medicine: one place for each detector; the first holds for reconstructed slices.
    if (const auto detectors = root.items({0x0054, 0x0022});
        !detectors.empty() && !common.position && !common.orientation) {
        common.position = readPosition(detectors.front());
        common.orientation = readOrientation(detectors.front());
    }
    readRescale(root, common);
    if (const auto scaling = root.number({0x3004, 0x000e}); scaling && *scaling > 0.0)
        common.rescale = {*scaling, 0.0};
    if (frameCount == 1)
        common.acquisitionKeys = {root.text({0x0020, 0x0100}), root.text({0x0020, 0x0012}),
                                  root.text({0x0018, 0x0086}), root.text({0x0018, 0x0081}),
                                  root.text({0x0018, 0x1060}), root.text({0x0008, 0x0008}),
                                  root.text({0x0008, 0x0032})};

    for (const DicomAttributes& item : root.items({0x5200, 0x9229}))
        readFunctionalGroups(item, common);

    header.frames.assign(frameCount, common);
    const std::vector<DicomAttributes> perFrame = root.items({0x5200, 0x9230});
    bool positions = frameCount == 1;
    for (std::size_t i = 0; i < std::min(perFrame.size(), frameCount); ++i) {
        if (frameCount > 1)
            header.frames[i].position.reset();
        readFunctionalGroups(perFrame[i], header.frames[i]);
        positions = positions || header.frames[i].position.has_value();
    }
    if (!positions) {
        header.frames.front().position = common.position;
        layOutFrames(root, header.frames);
    }
    if (!header.modalityTable.entries.empty() || header.photometric != Photometric::Monochrome)
        for (FrameHeader& frame : header.frames)
            frame.rescale = {};
}

} // namespace zorbel::imaging

#include "demo/PhantomStudies.h"

#include "demo/DicomFile.h"
#include "demo/JawPhantom.h"
#include "demo/Projections.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <vector>

#include <unistd.h>

namespace zorbel::demo {

namespace fs = std::filesystem;

namespace {

// Part of the cache folder's name: raise it with every change of what the studies hold.
constexpr const char* version = "phantom-3";
constexpr double noise = 42;

struct StudyText {
    std::string key; ///< names the folder and, through uidOf, the study
    std::string patient;
    std::string date;
    std::string description;
};

struct SeriesText {
    std::string key;
    std::string modality;
    std::string description;
    std::string protocol;
    int number = 1;
};

void describe(DicomFile& file, const StudyText& study, const SeriesText& series, int instance) {
    const std::string seriesName = study.key + "/" + series.key;
    file.text(0x00080018, uidOf(seriesName + "/" + std::to_string(instance)));
    file.text(0x00080020, study.date);
    file.text(0x00080021, study.date);
    file.text(0x00080030, "101500");
    file.text(0x00080050, "");
    file.text(0x00080060, series.modality);
    file.text(0x00080070, "Zorbel demonstration");
    file.text(0x00080090, "");
    file.text(0x00081030, study.description);
    file.text(0x0008103E, series.description);
    file.text(0x00100010, study.patient);
    file.text(0x00100020, "PHANTOM-" + study.key);
    file.text(0x00100030, "19700101");
    file.text(0x00100040, "O");
    file.text(0x00181030, series.protocol);
    file.text(0x0020000D, uidOf(study.key));
    file.text(0x0020000E, uidOf(seriesName));
    file.text(0x00200010, study.key);
    file.text(0x00200011, std::to_string(series.number));
    file.text(0x00200013, std::to_string(instance));
}

void setWindow(DicomFile& file, double centre, double width) {
    file.text(0x00281050, decimals({centre}));
    file.text(0x00281051, decimals({width}));
}

fs::path makeFolder(const fs::path& root, const StudyText& study, const SeriesText& series) {
    const fs::path folder = root / study.key / series.key;
    fs::create_directories(folder);
    return folder;
}

std::string fileName(int instance) {
    const std::string digits = std::to_string(instance);
    return "IM" + std::string(5 - std::min<std::size_t>(digits.size(), 5), '0') + digits + ".dcm";
}

/// missing: index of a slice to leave out, or -1.
void writeVolume(
    const fs::path& root, const StudyText& study, const SeriesText& series, const JawPhantom::Grid& grid,
    const std::vector<std::int16_t>& greys, int missing = -1) {
    const fs::path folder = makeFolder(root, study, series);
    const std::size_t slice = grid.voxels() / static_cast<std::size_t>(grid.size[2]);
    std::vector<std::uint16_t> stored(slice);
    for (int k = 0; k < grid.size[2]; ++k) {
        if (k == missing) {
            continue;
        }
        const std::int16_t* from = greys.data() + slice * static_cast<std::size_t>(k);
        std::transform(from, from + slice, stored.begin(), [](std::int16_t grey) {
            return static_cast<std::uint16_t>(grey + 1000);
        });
        DicomFile file;
        describe(file, study, series, k + 1);
        file.text(0x00080008, "ORIGINAL\\PRIMARY\\AXIAL");
        file.text(0x00080016, "1.2.840.10008.5.1.4.1.1.2");
        file.text(0x00180015, "JAW");
        file.text(0x00180050, decimals({grid.spacing[2]}));
        file.text(0x00180060, "90");
        file.text(
            0x00200032, decimals({grid.origin[0], grid.origin[1], grid.origin[2] + grid.spacing[2] * k}));
        file.text(0x00200037, "1\\0\\0\\0\\1\\0");
        file.text(0x00200052, uidOf(study.key + " frame of reference"));
        file.text(0x00280004, "MONOCHROME2");
        file.text(0x00280030, decimals({grid.spacing[1], grid.spacing[0]}));
        setWindow(file, 900, 3600);
        file.text(0x00281052, "-1000");
        file.text(0x00281053, "1");
        file.text(0x00281054, "HU");
        file.pixels(grid.size[0], grid.size[1], stored.data(), 16);
        file.write(folder / fileName(k + 1));
    }
}

/// The coronal overview that a device takes before the scan: greys averaged from front to back.
void writeScout(
    const fs::path& root, const StudyText& study, const SeriesText& series, const JawPhantom::Grid& grid,
    const std::vector<std::int16_t>& greys) {
    const auto nx = static_cast<std::size_t>(grid.size[0]);
    const auto ny = static_cast<std::size_t>(grid.size[1]);
    const auto nz = static_cast<std::size_t>(grid.size[2]);
    std::vector<std::uint16_t> stored(nx * nz);
    for (std::size_t k = 0; k < nz; ++k) {
        for (std::size_t i = 0; i < nx; ++i) {
            int sum = 0;
            for (std::size_t j = 0; j < ny; ++j) {
                sum += greys[(k * ny + j) * nx + i] + 1000;
            }
            stored[(nz - 1 - k) * nx + i] = static_cast<std::uint16_t>(sum / static_cast<int>(ny));
        }
    }
    DicomFile file;
    describe(file, study, series, 1);
    file.text(0x00080008, "ORIGINAL\\PRIMARY\\LOCALIZER");
    file.text(0x00080016, "1.2.840.10008.5.1.4.1.1.2");
    file.text(0x00180015, "JAW");
    file.text(
        0x00200032, decimals({grid.origin[0], 0, grid.origin[2] + grid.spacing[2] * (grid.size[2] - 1)}));
    file.text(0x00200037, "1\\0\\0\\0\\0\\-1");
    file.text(0x00200052, uidOf(study.key + " frame of reference"));
    file.text(0x00280004, "MONOCHROME2");
    file.text(0x00280030, decimals({grid.spacing[2], grid.spacing[0]}));
    setWindow(file, 900, 1800);
    file.text(0x00281052, "0");
    file.text(0x00281053, "1");
    file.pixels(grid.size[0], grid.size[2], stored.data(), 16);
    file.write(makeFolder(root, study, series) / fileName(1));
}

struct RadiographText {
    std::string orientation; ///< PatientOrientation
    std::string viewPosition;
    double windowCentre = 0;
    double windowWidth = 0;
    double magnification = 0; ///< 0: the pixel spacing is that in the patient
    bool inverted = false;    ///< MONOCHROME1
};

void writeRadiograph(
    const fs::path& root, const StudyText& study, const SeriesText& series, const Radiograph& image,
    const RadiographText& text) {
    std::vector<std::uint16_t> stored = image.pixels;
    if (text.inverted) {
        std::transform(stored.begin(), stored.end(), stored.begin(), [](std::uint16_t value) {
            return static_cast<std::uint16_t>(4095 - value);
        });
    }
    DicomFile file;
    describe(file, study, series, 1);
    file.text(0x00080008, "ORIGINAL\\PRIMARY");
    file.text(0x00080016, "1.2.840.10008.5.1.4.1.1.1.1");
    file.text(0x00080068, "FOR PRESENTATION");
    file.text(0x00180015, text.magnification > 0 ? "HEAD" : "JAW");
    file.text(0x00185101, text.viewPosition);
    file.text(0x00200020, text.orientation);
    file.text(0x00200062, "U");
    file.text(0x00280004, text.inverted ? "MONOCHROME1" : "MONOCHROME2");
    file.text(0x00280301, "NO");
    const double spacing = image.pixelSpacing;
    if (text.magnification > 0) {
        file.text(0x00181114, decimals({text.magnification}));
        file.text(0x00181164, decimals({spacing, spacing}));
        file.text(0x00280030, decimals({spacing / text.magnification, spacing / text.magnification}));
        file.text(0x00280A02, "GEOMETRY");
        file.text(0x00280A04, "Source to midline 1500 mm, source to detector 1650 mm");
    } else {
        file.text(0x00280030, decimals({spacing, spacing}));
    }
    setWindow(file, text.inverted ? 4095 - text.windowCentre : text.windowCentre, text.windowWidth);
    file.text(0x00281052, "0");
    file.text(0x00281053, "1");
    file.text(0x00281054, "US");
    file.text(0x20500020, text.inverted ? "INVERSE" : "IDENTITY");
    file.pixels(image.columns, image.rows, stored.data(), 12);
    file.write(makeFolder(root, study, series) / fileName(1));
}

JawPhantom::Grid coarseGrid(double spacing) {
    const JawPhantom::Grid jaw = JawPhantom::jawGrid();
    JawPhantom::Grid grid = jaw;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double extent = jaw.size[axis] * jaw.spacing[axis];
        grid.size[axis] = static_cast<int>(extent / spacing);
        grid.spacing[axis] = spacing;
        grid.origin[axis] = jaw.origin[axis] + 0.5 * (spacing - jaw.spacing[axis]);
    }
    return grid;
}

void writeSeveralSeries(const fs::path& root, const JawPhantom& phantom) {
    const StudyText study{"several-series", "Phantom^Several", "20240112", "CBCT WITH SCOUT"};
    const JawPhantom::Grid fine = coarseGrid(0.8);
    const std::vector<std::int16_t> greys = phantom.rasterize(fine, noise, 3);
    writeScout(root, study, {"scout", "CT", "Scout", "Localizer", 1}, fine, greys);
    writeVolume(root, study, {"volume", "CT", "CBCT 0.8 mm", "Full jaws", 2}, fine, greys);
    const JawPhantom::Grid soft = coarseGrid(1.6);
    const SeriesText smooth{"smooth", "CT", "CBCT 1.6 mm smooth", "Full jaws", 3};
    writeVolume(root, study, smooth, soft, phantom.rasterize(soft, 12, 4));
}

void writeCoarseVolume(
    const fs::path& root, const JawPhantom& phantom, const StudyText& study, double spacing,
    std::uint32_t seed) {
    const JawPhantom::Grid grid = coarseGrid(spacing);
    const SeriesText series{"volume", "CT", "CBCT " + decimals({spacing}) + " mm", "Full jaws", 1};
    writeVolume(root, study, series, grid, phantom.rasterize(grid, noise, seed));
}

fs::path defaultCacheFolder() {
    if (const char* cache = std::getenv("XDG_CACHE_HOME"); cache != nullptr && *cache == '/') {
        return fs::path(cache) / "zorbel-demo";
    }
    if (const char* home = std::getenv("HOME"); home != nullptr && *home == '/') {
        return fs::path(home) / ".cache" / "zorbel-demo";
    }
    return fs::temp_directory_path() / ("zorbel-demo-cache-" + std::to_string(getuid()));
}

} // namespace

void writePhantomStudies(const fs::path& folder, const Notice& notice) {
    const auto next = [&notice](const char* what) {
        if (notice) {
            notice(std::string("  making the phantom's ") + what);
        }
    };
    next("jaw volume");
    const JawPhantom phantom;
    const JawPhantom::Grid jaw = JawPhantom::jawGrid();
    const StudyText jawStudy{"jaw", "Phantom^Jaw", "20240517", "CBCT JAW"};
    writeVolume(
        folder, jawStudy, {"volume", "CT", "CBCT 0.4 mm", "Full jaws", 1}, jaw,
        phantom.rasterize(jaw, noise, 1));

    next("panoramic image");
    const Radiograph panoramic = panoramicImage(phantom);
    const SeriesText panoramicSeries{"image", "PX", "PANORAMIC", "Panoramic standard", 1};
    RadiographText panoramicText{"L\\F", "", 1950, 3100};
    writeRadiograph(
        folder, {"panoramic", "Phantom^Panorama", "20240503", "PANORAMIC"}, panoramicSeries, panoramic,
        panoramicText);
    panoramicText.inverted = true;
    writeRadiograph(
        folder, {"panoramic-monochrome1", "Phantom^Negative", "20230905", "PANORAMIC"}, panoramicSeries,
        panoramic, panoramicText);

    next("cephalometric image");
    writeRadiograph(
        folder, {"cephalometric", "Phantom^Profile", "20240409", "CEPHALOMETRIC LATERAL"},
        {"image", "DX", "CEPHALOMETRIC LATERAL", "Ceph lateral", 1}, cephalometricImage(phantom),
        {"A\\F", "LL", 2050, 3700, cephalometricMagnification});

    next("small series");
    const JawPhantom::Grid small = coarseGrid(1.6);
    writeVolume(
        folder, {"incomplete", "Phantom^Incomplete", "20240228", "CBCT JAW INCOMPLETE"},
        {"volume", "CT", "CBCT 1.6 mm", "Full jaws", 1}, small, phantom.rasterize(small, noise, 2),
        small.size[2] / 2);
    writeSeveralSeries(folder, phantom);
    writeCoarseVolume(
        folder, phantom, {preparedStudyName, "Phantom^Prepared", "20240305", "CBCT JAW PREPARED"}, 0.8, 5);
    writeCoarseVolume(
        folder, phantom, {nodeStudyName, "Phantom^Onsite", "20240126", "CBCT JAW ON SITE"}, 1.0, 6);
}

fs::path phantomFolder(const fs::path& cacheFolder, const Notice& notice) {
    const fs::path parent = cacheFolder.empty() ? defaultCacheFolder() : cacheFolder;
    const fs::path folder = parent / version;
    if (fs::is_directory(folder)) {
        return folder;
    }
    if (notice) {
        notice("Making the phantom studies (once) in " + folder.string());
    }
    fs::create_directories(parent);
    std::string unfinished = parent / (std::string(version) + "-unfinished-XXXXXX");
    if (mkdtemp(unfinished.data()) == nullptr) {
        throw std::runtime_error("The phantom studies cannot be written to " + parent.string());
    }
    std::error_code error;
    try {
        writePhantomStudies(unfinished, notice);
    } catch (...) {
        fs::remove_all(unfinished, error);
        throw;
    }
    fs::rename(unfinished, folder, error);
    if (error) {
        // Another process was quicker; its studies are the same.
        fs::remove_all(unfinished, error);
    }
    if (!fs::is_directory(folder)) {
        throw std::runtime_error("The phantom studies cannot be written to " + folder.string());
    }
    return folder;
}

} // namespace zorbel::demo

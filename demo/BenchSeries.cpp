#include "demo/DicomFile.h"
#include "demo/PhantomStudies.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace zorbel::demo {

void writeBenchSeries(const std::filesystem::path& folder, int slices, int size) {
    std::filesystem::create_directories(folder);
    const auto pixels = static_cast<std::size_t>(size) * static_cast<std::size_t>(size);
    // One field of noise, read from another place for every slice.
    std::vector<std::uint16_t> noise(pixels * 2);
    std::mt19937 random(20240117);
    std::generate(
        noise.begin(), noise.end(), [&random] { return static_cast<std::uint16_t>(random() & 0xFF); });
    std::vector<std::uint16_t> values(pixels);
    const std::string series = "bench " + std::to_string(slices) + " " + std::to_string(size);
    for (int slice = 0; slice < slices; ++slice) {
        const std::size_t start = static_cast<std::size_t>(slice) * 7919 % pixels;
        for (std::size_t i = 0; i < pixels; ++i) {
            values[i] = static_cast<std::uint16_t>(noise[start + i] + i % static_cast<std::size_t>(size) * 4);
        }
        DicomFile file;
        file.text(0x00080016, "1.2.840.10008.5.1.4.1.1.2");
        file.text(0x00080018, uidOf(series + " " + std::to_string(slice)));
        file.text(0x00080020, "20240117");
        file.text(0x00080060, "CT");
        file.text(0x00081030, "BENCH");
        file.text(0x0008103E, "CBCT bench volume");
        file.text(0x00100010, "Phantom^Bench");
        file.text(0x00100020, "PHANTOM-BENCH");
        file.text(0x0020000D, uidOf("study of " + series));
        file.text(0x0020000E, uidOf(series));
        file.text(0x00200052, uidOf("frame of " + series));
        file.text(0x00200011, "1");
        file.text(0x00200013, std::to_string(slice + 1));
        file.text(0x00200032, decimals({0, 0, slice * 0.3}));
        file.text(0x00200037, "1\\0\\0\\0\\1\\0");
        file.text(0x00280004, "MONOCHROME2");
        file.text(0x00280030, "0.3\\0.3");
        file.text(0x00180050, "0.3");
        file.text(0x00281052, "-1000");
        file.text(0x00281053, "1");
        file.pixels(size, size, values.data(), 16);
        std::string name = std::to_string(slice + 1);
        name.insert(0, 5 - std::min<std::size_t>(name.size(), 5), '0');
        file.write(folder / (name + ".dcm"));
    }
}

} // namespace zorbel::demo

#pragma once

#include "tests/support/Files.h"
#include "viewer/reading/state/KeyImageStore.h"
#include "viewer/reading/state/ReadingStateStore.h"
#include "viewer/reading/state/StateFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>

namespace zorbel::tests {

inline ReadingPosition samplePosition(const std::string& uid, double x = 1.5) {
    const PlanesPosition planes{
        {x, -20.25, 1e-3}, {{{{1, 0, 0}, {0, 1, 0}}, {{1, 0, 0}, {0, 0, -1}}, {{0, 1, 0}, {0, 0, -1}}}}};
    return {uid, "CT", {{"1.9", planes}}, "1.9"};
}

inline StudyHanging sampleHanging(double windowWidth = 400.0) {
    HangingProtocol volume;
    volume.layout = Layout::Single;
    volume.window = HangingProtocol::Window{windowWidth, 50.0, HangingProtocol::Window::Shape::Sigmoid};
    volume.framings[1] = {0.25, {1.0, 2.0, 3.0}};
    HangingProtocol image;
    image.tool = Tool::Pan;
    image.frame = 3;
    return {{{"1.9", volume}, {"1.10", image}}, "1.9"};
}

inline FindingList sampleFindings(const std::string& note = "Überweisung, \"quoted\"\n✓") {
    Finding tooth(FindingCategory::Caries, *FdiTooth::fromCode(48));
    tooth.note = note;
    tooth.location = imaging::Vector3{0.1, -2.0, 1e6};
    return FindingList({tooth, Finding(FindingCategory::Cyst, FindingRegion::Airway)});
}

/// Begins like a PNG file, which is all that the store looks at.
inline std::string pngBytes(const std::string& contents) {
    return "\x89PNG\r\n\x1a\n" + contents;
}

class StateFixture : public testing::Test {
protected:
    std::string contents(const std::string& name) const { return test::readFile(root / name); }
    void put(const std::string& name, const std::string& bytes) const { test::writeFile(root / name, bytes); }
    /// All files below the root by their relative names, the lock left out.
    std::set<std::string> names() const {
        std::set<std::string> found;
        if (std::filesystem::exists(root))
            for (const auto& entry : std::filesystem::recursive_directory_iterator(root))
                if (!entry.is_directory() && entry.path().extension() != ".lock")
                    found.insert(entry.path().lexically_relative(root).string());
        return found;
    }
    std::size_t damagedCount() const {
        const auto all = names();
        return static_cast<std::size_t>(std::count_if(all.begin(), all.end(), [](const std::string& name) {
            return name.find(".damaged-") != std::string::npos;
        }));
    }

    static constexpr char uid[] = "1.2.840.99.7";
    const test::TemporaryFolder temporary{test::memoryDisk()};
    const std::filesystem::path folder = temporary.path() / "user";
    const std::filesystem::path root = folder / "cache" / "scope";
};

} // namespace zorbel::tests

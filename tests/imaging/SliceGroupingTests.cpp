#include "tests/imaging/DicomFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>

namespace zorbel::imaging::test {
namespace {

using gdcm::VR;

std::vector<double> evenly(int count, double spacing, double from = 0.0) {
    std::vector<double> result;
    for (int i = 0; i < count; ++i)
        result.push_back(from + i * spacing);
    return result;
}

class SliceGrouping : public testing::Test {
protected:
    TemporaryFolder folder_;
    int count_ = 0;

    /// A slice whose voxels all hold `mark`.
    FileMaker slice(const Vector3& position, int mark = 0) {
        FileMaker maker(2, 2);
        maker.position(position).number(++count_).pixels(
            std::vector<std::int16_t>(4, static_cast<std::int16_t>(mark)));
        return maker;
    }
    std::filesystem::path nextFile() const { return folder_.path() / ("f" + std::to_string(1000 + count_)); }

    void axial(const std::vector<double>& distances) {
        for (const double z : distances)
            slice({0, 0, z}).write(nextFile());
    }
    std::vector<ImageBlock> blocks() const { return DicomSeriesReader::analyze(folder_.files()).blocks; }
    /// Two blocks, each of the frames of one acquisition, whose voxels all hold the same.
    std::vector<ImageBlock> twoAcquisitions(std::size_t frames) const {
        const auto result = blocks();
        EXPECT_EQ(result.size(), 2U);
        for (const ImageBlock& block : result) {
            EXPECT_EQ(block.frameCount(), frames);
            const auto image = DicomSeriesReader::load(block);
            EXPECT_EQ(image->metadata().minimum, image->metadata().maximum) << "frames of both are mixed";
        }
        return result;
    }
};

std::string detailsOf(const ImageBlock& block, SplitReasonType type) {
    const SplitReason* reason = block.findReason(type);
    return reason ? reason->details : "absent";
}

TEST_F(SliceGrouping, SlicesRunAlongTheNormalWhateverTheOrderOfTheFiles) {
    const Vector3 x{1, 0, 0}, y{0, 1, 0}, z{0, 0, 1};
    const double c = std::cos(0.4), s = std::sin(0.4);
    const std::vector<std::pair<Vector3, Vector3>> orientations{
        {x, y},
        {x, z * -1.0},
        {y, z * -1.0},
        {x * -1.0, y},
        {y, x},
        {{c, s, 0}, {0, 0, -1}},
        {{c, 0, s}, {-s * s, c, c * s}}};
    for (const auto& [row, column] : orientations) {
        const TemporaryFolder folder;
        const Vector3 normal = cross(row, column);
        const Vector3 origin{12.0, -7.0, 3.5};
        std::vector<int> order{3, 0, 4, 1, 2};
        for (std::size_t i = 0; i < order.size(); ++i)
            FileMaker(3, 2)
                .orientation(row, column)
                .spacing(0.4, 0.3)
                .position(origin + normal * (1.25 * order[i]))
                .number(10 - order[i])
                .pixels(std::vector<std::int16_t>(6, static_cast<std::int16_t>(order[i])))
                .write(folder.path() / std::to_string(i));
        const auto image = loadOnly(folder.files());
        const ImageGeometry& geometry = image->geometry();
        EXPECT_EQ(geometry.dimensions(), (std::array{3, 2, 5}));
        EXPECT_NEAR(geometry.spacing()[0], 0.4, 1e-9);
        EXPECT_NEAR(geometry.spacing()[1], 0.3, 1e-9);
        EXPECT_NEAR(geometry.spacing()[2], 1.25, 1e-5);
        for (int k = 0; k < 5; ++k)
            EXPECT_EQ(image->valueAt(0, 0, k), k);
        const Vector3 last = geometry.indexToWorld({2, 1, 4});
        const Vector3 expected = origin + row * 0.8 + column * 0.3 + normal * 5.0;
        EXPECT_LT(length(last - expected), 1e-4);
    }
}

TEST_F(SliceGrouping, RoundedPositionsStayOneBlock) {
    // A third of a millimetre, written with two decimals: distances of 0.33 and 0.34.
    for (int i = 0; i < 60; ++i)
        slice({0, 0, std::round(i * 100.0 / 3.0) / 100.0}).write(nextFile());
    const auto result = blocks();
    ASSERT_EQ(result.size(), 1U);
    EXPECT_TRUE(result[0].splitReasons.empty());
    EXPECT_NEAR(result[0].geometry.spacing()[2], 1.0 / 3.0, 1e-3);
}

TEST_F(SliceGrouping, SlantedSlicesWithRoundedPositionsStayOneBlockToo) {
    const auto rounded = [](double value) { return std::round(value * 100.0) / 100.0; };
    for (const double angle : {0.3, 0.5, 0.7, 1.1})
        for (const double spacing : {0.125, 0.2, 0.5, 1.0}) {
            const TemporaryFolder folder;
            const double c = std::cos(angle), s = std::sin(angle);
            const Vector3 row{c, 0, s}, column{-s * s, c, c * s};
            const Vector3 normal = cross(row, column);
            for (int i = 0; i < 40; ++i) {
                const Vector3 place = normal * (spacing * i);
                FileMaker(2, 2)
                    .orientation(row, column)
                    .position({rounded(place[0]), rounded(place[1]), rounded(place[2])})
                    .pixels(std::vector<std::int16_t>(4))
                    .write(folder.path() / std::to_string(i));
            }
            const auto result = DicomSeriesReader::analyze(folder.files()).blocks;
            ASSERT_EQ(result.size(), 1U) << angle << ' ' << spacing;
            EXPECT_TRUE(result[0].splitReasons.empty()) << angle << ' ' << spacing;
            EXPECT_NEAR(result[0].geometry.spacing()[2], spacing, 1e-3);
        }
}

TEST_F(SliceGrouping, SmallDeviationsThatAddUpAreNoRegularGrid) {
    std::vector<double> positions{0.0};
    for (int i = 0; i < 200; ++i)
        positions.push_back(positions.back() + (i < 100 ? 1.0 : 1.009));
    axial(positions);
    const auto result = blocks();
    ASSERT_GT(result.size(), 1U);
    EXPECT_TRUE(result[0].findReason(SplitReasonType::SliceDistanceInconsistency));
}

TEST_F(SliceGrouping, AGapIsNamedOnBothSides) {
    std::vector<double> positions = evenly(20, 0.5);
    positions.erase(positions.begin() + 12, positions.begin() + 14);
    axial(positions);
    const auto result = blocks();
    ASSERT_EQ(result.size(), 2U);
    EXPECT_EQ(result[0].frameCount(), 12U);
    EXPECT_EQ(result[1].frameCount(), 6U);
    EXPECT_EQ(detailsOf(result[0], SplitReasonType::MissingSlices), "2");
    EXPECT_EQ(detailsOf(result[1], SplitReasonType::MissingSlices), "2");
    EXPECT_NEAR(result[1].geometry.origin()[2], 7.0, 1e-9);
}

TEST_F(SliceGrouping, ABlockBetweenTwoGapsNamesBoth) {
    std::vector<double> positions = evenly(30, 2.0);
    positions.erase(positions.begin() + 22, positions.begin() + 25);
    positions.erase(positions.begin() + 7);
    axial(positions);
    const auto result = blocks();
    ASSERT_EQ(result.size(), 3U);
    EXPECT_EQ(result[0].frameCount(), 14U);
    EXPECT_EQ(detailsOf(result[0], SplitReasonType::MissingSlices), "4");
    EXPECT_EQ(detailsOf(result[1], SplitReasonType::MissingSlices), "1");
    EXPECT_EQ(detailsOf(result[2], SplitReasonType::MissingSlices), "3");
}

TEST_F(SliceGrouping, AnotherDistanceIsNoGap) {
    std::vector<double> positions = evenly(10, 1.0);
    for (const double z : evenly(6, 1.7, 10.7))
        positions.push_back(z);
    axial(positions);
    const auto result = blocks();
    ASSERT_EQ(result.size(), 2U);
    EXPECT_EQ(result[0].frameCount(), 10U);
    EXPECT_EQ(result[1].frameCount(), 6U);
    EXPECT_NEAR(result[1].geometry.spacing()[2], 1.7, 1e-6);
    for (const ImageBlock& block : result) {
        EXPECT_TRUE(block.findReason(SplitReasonType::SliceDistanceInconsistency));
        EXPECT_FALSE(block.findReason(SplitReasonType::MissingSlices));
    }
}

TEST_F(SliceGrouping, ARepeatedSliceLeavesTheStackWhole) {
    axial(evenly(8, 1.0));
    slice({0, 0, 3.0}).write(nextFile());
    const auto result = blocks();
    ASSERT_EQ(result.size(), 2U);
    EXPECT_EQ(result[0].frameCount(), 8U);
    EXPECT_EQ(result[1].frameCount(), 1U);
    EXPECT_TRUE(result[0].findReason(SplitReasonType::OverlappingFrames));
    EXPECT_FALSE(result[0].findReason(SplitReasonType::MissingSlices));
}

TEST_F(SliceGrouping, InterleavedAcquisitionsComeApart) {
    // By number of the acquisition, though the instance numbers run the other way in one half.
    for (int i = 0; i < 6; ++i) {
        const int first = i < 3 ? 1 : 2;
        slice({0, 0, i * 1.0}, first * 10)
            .text({0x0020, 0x0012}, VR::IS, std::to_string(first))
            .write(nextFile());
        slice({0, 0, i * 1.0}, 30 - first * 10)
            .text({0x0020, 0x0012}, VR::IS, std::to_string(3 - first))
            .write(nextFile());
    }
    twoAcquisitions(6);
}

TEST_F(SliceGrouping, AcquisitionsBetweenEachOthersSlicesComeApart) {
    for (int i = 0; i < 8; ++i)
        for (const int acquisition : {1, 2})
            slice({0, 0, i + 0.3 * acquisition}, acquisition)
                .text({0x0020, 0x0012}, VR::IS, std::to_string(acquisition))
                .write(nextFile());
    for (const ImageBlock& block : twoAcquisitions(8)) {
        EXPECT_EQ(detailsOf(block, SplitReasonType::OverlappingFrames), "2 interleaved acquisitions");
        EXPECT_NEAR(block.geometry.spacing()[2], 1.0, 1e-9);
    }
}

TEST_F(SliceGrouping, AcquisitionsWithoutAnyNumberComeApartByInstanceNumber) {
    for (int pass = 0; pass < 2; ++pass)
        for (int i = 0; i < 5; ++i)
            slice({0, 0, i * 1.0}, pass).write(nextFile());
    twoAcquisitions(5);
}

TEST_F(SliceGrouping, ATiltedGantryShearsTheGrid) {
    const double angle = 18.5 * std::numbers::pi / 180.0;
    const Vector3 column{0, std::cos(angle), -std::sin(angle)};
    for (int i = 0; i < 10; ++i)
        slice({0, 0, i * 2.5}).orientation({1, 0, 0}, column).write(nextFile());
    const auto result = blocks();
    ASSERT_EQ(result.size(), 1U);
    EXPECT_EQ(detailsOf(result[0], SplitReasonType::GantryTilt), "18.50");
    const ImageGeometry& geometry = result[0].geometry;
    EXPECT_NEAR(geometry.spacing()[2], 2.5 * std::cos(angle), 1e-6);
    EXPECT_LT(length(geometry.indexToWorld({0, 0, 9}) - Vector3{0, 0, 22.5}), 1e-6);
}

TEST_F(SliceGrouping, AGapIsFoundInATiltedStackToo) {
    const Vector3 column{0, 0.96, -0.28};
    for (const int i : {0, 1, 2, 4, 5, 6, 7})
        slice({0, 0, i * 2.5}).orientation({1, 0, 0}, column).write(nextFile());
    const auto result = blocks();
    ASSERT_EQ(result.size(), 2U);
    EXPECT_EQ(detailsOf(result[0], SplitReasonType::MissingSlices), "1");
}

TEST_F(SliceGrouping, ASidewaysJumpSplits) {
    for (int i = 0; i < 10; ++i)
        slice({i < 6 ? 0.0 : 4.0, 0, i * 1.0}).write(nextFile());
    const auto result = blocks();
    ASSERT_EQ(result.size(), 2U);
    EXPECT_EQ(result[0].frameCount(), 6U);
    EXPECT_TRUE(result[0].findReason(SplitReasonType::SliceDistanceInconsistency));
    EXPECT_FALSE(result[0].findReason(SplitReasonType::GantryTilt));
}

TEST_F(SliceGrouping, MixedValuesAreToldApart) {
    axial(evenly(4, 1.0));
    for (int i = 0; i < 3; ++i)
        slice({20.0 + i, 0, 0}).orientation({0, 1, 0}, {0, 0, -1}).write(nextFile());
    auto result = blocks();
    ASSERT_EQ(result.size(), 2U);
    EXPECT_TRUE(result[0].findReason(SplitReasonType::OrientationDifference));

    slice({0, 0, 90}).format(16, 16, 15, false).write(nextFile());
    FileMaker(3, 3).position({0, 0, 91}).write(folder_.path() / "size");
    result = blocks();
    ASSERT_EQ(result.size(), 4U);
    for (const ImageBlock& block : result)
        EXPECT_TRUE(block.findReason(SplitReasonType::ValueSplitDifference));

    slice({0, 0, 0}).series("1.9.9").write(nextFile());
    result = blocks();
    ASSERT_EQ(result.size(), 5U);
    for (const ImageBlock& block : result)
        EXPECT_EQ(detailsOf(block, SplitReasonType::MultipleSeries), "2 series");
}

TEST_F(SliceGrouping, OrientationsThatDifferInTheLastDigitsAreOne) {
    for (int i = 0; i < 5; ++i)
        slice({0, 0, i * 1.0}).orientation({1.0, 0.00004 * (i % 2), 0}, {0, 1, 0}).write(nextFile());
    EXPECT_EQ(blocks().size(), 1U);
}

TEST_F(SliceGrouping, ImagesWithoutAPlaceAreOneSetWhateverTheirSize) {
    // Four bitewings: upright and lying, of 16 and of 8 bits, one of them MONOCHROME1.
    const auto bitewing = [this](int columns, int rows, int number, int spacing) {
        FileMaker maker(columns, rows);
        maker.number(number).spacing(spacing, spacing).text({0x0028, 0x1050}, VR::DS, std::to_string(number));
        maker.text({0x0028, 0x1051}, VR::DS, "10");
        ++count_;
        return maker;
    };
    bitewing(3, 2, 4, 1).pixels(std::vector<std::int16_t>{1, 2, 3, 4, 5, 600}).write(nextFile());
    bitewing(2, 3, 3, 2).pixels(std::vector<std::int16_t>{11, 12, 13, 14, 15, 16}).write(nextFile());
    bitewing(3, 3, 2, 1).pixels(std::vector<std::int16_t>(9, 7)).write(nextFile());
    bitewing(1, 1, 1, 1)
        .format(8, 8, 7, false)
        .text({0x0028, 0x0004}, VR::CS, "MONOCHROME1")
        .pixels(std::vector<std::uint8_t>{200, 0})
        .write(nextFile());
    const auto result = blocks();
    ASSERT_EQ(result.size(), 1U);
    EXPECT_EQ(result[0].frameCount(), 4U);
    EXPECT_TRUE(result[0].findReason(SplitReasonType::ImagePositionMissing));
    const auto set = DicomSeriesReader::load(result[0]);
    ASSERT_TRUE(set->isSet());
    EXPECT_FALSE(set->isVolumetric());
    EXPECT_EQ(set->geometry().dimensions(), (std::array{3, 3, 4}));
    EXPECT_EQ(set->metadata().maximum, 600);
    EXPECT_EQ(set->valueAt(1, 2, 2), 16);
    EXPECT_EQ(set->valueAt(2, 2, 2), 0) << "beyond the image";
    const std::vector<std::array<int, 3>> sizes{{1, 1, 1}, {3, 3, 1}, {2, 3, 1}, {3, 2, 1}};
    for (int i = 0; i < 4; ++i) {
        const auto& member = *set->member(i);
        const auto& size = member.geometry().dimensions();
        EXPECT_EQ(size, sizes[static_cast<std::size_t>(i)]);
        EXPECT_EQ(member.metadata().windows.at(0).center, i + 1);
        EXPECT_EQ(member.metadata().inverted, i == 0);
        EXPECT_EQ(member.geometry().spacing()[0], i == 2 ? 2.0 : 1.0);
        for (int row = 0; row < size[1]; ++row)
            for (int column = 0; column < size[0]; ++column)
                EXPECT_EQ(member.valueAt(column, row, 0), set->valueAt(column, row, i));
    }
    EXPECT_EQ(set->member(3)->metadata().minimum, 1);
    EXPECT_EQ(set->member(3)->valueAt(2, 1, 0), 600);

    FileMaker(2, 2)
        .number(9)
        .color("RGB")
        .pixels(std::vector<std::uint8_t>(12))
        .write(folder_.path() / "colour");
    EXPECT_EQ(blocks().size(), 2U);
}

TEST_F(SliceGrouping, ASingleImageHasNoReasons) {
    FileMaker(2, 2)
        .text({0x0020, 0x0037}, VR::DS, "0\\0\\0\\0\\0\\0")
        .text({0x0018, 0x0050}, VR::DS, "1.25")
        .write(nextFile());
    const auto result = blocks();
    ASSERT_EQ(result.size(), 1U);
    EXPECT_TRUE(result[0].splitReasons.empty());
    EXPECT_EQ(result[0].geometry.spacing()[2], 1.25);
    EXPECT_EQ(result[0].geometry.row(), (Vector3{1, 0, 0}));
}

TEST_F(SliceGrouping, NonsenseOrientationIsRefusedAndASlantStraightened) {
    slice({0, 0, 0}).orientation({1, 0, 0}, {0.7, 0.7, 0}).write(folder_.path() / "slanted");
    slice({0, 0, 0}).orientation({5, 0, 0}, {0, 5, 0}).write(folder_.path() / "long");
    slice({0, 0, 0}).orientation({1.0, 0.0, 0.0}, {0.005, 0.999, 0.0}).write(folder_.path() / "usable");
    const DicomAnalysis analysis = DicomSeriesReader::analyze(folder_.files());
    ASSERT_EQ(analysis.rejected.size(), 2U);
    EXPECT_EQ(analysis.rejected[0].reason, "long: the image orientation holds no unit vectors");
    EXPECT_EQ(analysis.rejected[1].reason, "slanted: the image orientation is not orthogonal");
    ASSERT_EQ(analysis.blocks.size(), 1U);
    EXPECT_NEAR(dot(analysis.blocks[0].geometry.row(), analysis.blocks[0].geometry.column()), 0.0, 1e-12);
    EXPECT_NEAR(length(analysis.blocks[0].geometry.column()), 1.0, 1e-12);
}

} // namespace
} // namespace zorbel::imaging::test

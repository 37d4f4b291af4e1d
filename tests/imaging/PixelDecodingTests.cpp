#include "base/WorkCancelled.h"
#include "tests/imaging/DicomFixture.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstring>

namespace zorbel::imaging::test {
namespace {

using gdcm::TransferSyntax;
using gdcm::VR;

class PixelDecoding : public testing::Test {
protected:
    TemporaryFolder folder_;
    std::filesystem::path file() const { return folder_.path() / "image.dcm"; }
    std::shared_ptr<const Image>
    decode(FileMaker& maker, TransferSyntax::TSType syntax = TransferSyntax::ExplicitVRLittleEndian) {
        maker.write(file(), syntax);
        return loadOnly({file()});
    }
};

constexpr std::array nativeSyntaxes{
    TransferSyntax::ExplicitVRLittleEndian, TransferSyntax::ImplicitVRLittleEndian,
    TransferSyntax::ExplicitVRBigEndian, TransferSyntax::DeflatedExplicitVRLittleEndian};

struct Format {
    int allocated, stored, high;
    bool isSigned;
    VoxelType expected;
};

TEST_F(PixelDecoding, EveryFormatInEveryNativeSyntax) {
    constexpr std::array formats{
        Format{8, 8, 7, false, VoxelType::UInt8},     Format{8, 8, 7, true, VoxelType::Int8},
        Format{8, 5, 6, false, VoxelType::UInt8},     Format{16, 16, 15, false, VoxelType::UInt16},
        Format{16, 16, 15, true, VoxelType::Int16},   Format{16, 12, 11, false, VoxelType::Int16},
        Format{16, 12, 11, true, VoxelType::Int16},   Format{16, 12, 15, true, VoxelType::Int16},
        Format{16, 10, 12, false, VoxelType::Int16},  Format{32, 32, 31, true, VoxelType::Int32},
        Format{32, 32, 31, false, VoxelType::UInt32}, Format{32, 20, 19, true, VoxelType::Int32}};
    for (const Format& format : formats) {
        const int size = format.allocated / 8;
        // Odd on purpose: big-endian words then straddle the end.
        const int columns = 7, rows = 5;
        std::vector<std::uint8_t> bytes;
        std::vector<double> expected;
        std::uint64_t random = 12345;
        for (int i = 0; i < columns * rows; ++i) {
            // Every bit is random, those beside the stored ones as well.
            random = random * 6364136223846793005ULL + 1442695040888963407ULL;
            std::uint64_t raw = random >> 24 & ((1ULL << format.allocated) - 1);
            if (i == 0)
                raw = (1ULL << format.allocated) - 1;
            for (int byte = 0; byte < size; ++byte)
                bytes.push_back(static_cast<std::uint8_t>(raw >> (8 * byte)));
            const std::uint64_t field =
                raw >> (format.high + 1 - format.stored) & ((1ULL << format.stored) - 1);
            const bool negative = format.isSigned && (field >> (format.stored - 1) & 1) != 0;
            expected.push_back(
                static_cast<double>(field) - (negative ? std::ldexp(1.0, format.stored) : 0.0));
        }
        for (const auto syntax : nativeSyntaxes) {
            SCOPED_TRACE(
                testing::Message() << format.allocated << '/' << format.stored << '/' << format.high
                                   << (format.isSigned ? " signed" : " unsigned") << " syntax " << syntax);
            FileMaker maker(columns, rows);
            const auto image = decode(
                maker.format(format.allocated, format.stored, format.high, format.isSigned).pixels(bytes),
                syntax);
            EXPECT_EQ(image->voxelType(), format.expected);
            for (int i = 0; i < columns * rows; ++i)
                ASSERT_EQ(image->valueAt(i % columns, i / columns, 0), expected[static_cast<std::size_t>(i)])
                    << i;
            EXPECT_EQ(image->metadata().minimum, *std::min_element(expected.begin(), expected.end()));
            EXPECT_EQ(image->metadata().maximum, *std::max_element(expected.begin(), expected.end()));
        }
    }
}

TEST_F(PixelDecoding, SingleBitsOfSeveralFramesShareBytes) {
    FileMaker maker(3, 3);
    // Nine bits a frame: the second frame begins within a byte.
    maker.frames(2).format(1, 1, 0, false).pixels(std::vector<std::uint8_t>{0x55, 0xfe, 0x01, 0x00});
    maker.position({0, 0, 0}).text({0x0018, 0x0088}, VR::DS, "1");
    const auto image = decode(maker);
    for (int bit = 0; bit < 18; ++bit) {
        const int expected = bit < 8    ? (0x55 >> bit & 1)
                             : bit < 16 ? (0xfe >> (bit - 8) & 1)
                                        : (1 >> (bit - 16) & 1);
        EXPECT_EQ(image->valueAt(bit % 9 % 3, bit % 9 / 3, bit / 9), expected) << bit;
    }
}

TEST_F(PixelDecoding, IntegerRescaleTakesTheSmallestType) {
    struct Case {
        int stored;
        bool isSigned;
        double slope, intercept;
        std::vector<std::int16_t> values;
        VoxelType expected;
    };
    const std::vector<Case> cases{
        {7, false, 1, 0, {0, 127, 5, 9}, VoxelType::UInt8},
        {7, false, 1, -100, {0, 127, 5, 9}, VoxelType::Int8},
        {12, false, 1, -1024, {0, 4095, 5, 9}, VoxelType::Int16},
        {12, false, 16, 0, {0, 4095, 5, 9}, VoxelType::UInt16},
        {12, false, -1, 0, {0, 4095, 5, 9}, VoxelType::Int16},
        // The bits could exceed 16, the values do not.
        {16, true, 1, -1024, {-1000, 3000, 0, 9}, VoxelType::Int16},
        {16, true, 1, 40000, {-30000, 20000, 0, 9}, VoxelType::UInt16},
        {16, true, 1, -1024, {-32768, 3000, 0, 9}, VoxelType::Int32},
        {16, true, 1000, 0, {-32768, 32767, 0, 9}, VoxelType::Int32}};
    for (const Case& test : cases) {
        FileMaker maker(2, 2);
        maker.format(16, test.stored, test.stored - 1, test.isSigned).rescale(test.slope, test.intercept);
        const auto image = decode(maker.pixels(test.values));
        EXPECT_EQ(image->voxelType(), test.expected) << test.slope << ' ' << test.intercept;
        for (int i = 0; i < 4; ++i) {
            const double stored = test.values[static_cast<std::size_t>(i)];
            EXPECT_EQ(image->valueAt(i % 2, i / 2, 0), stored * test.slope + test.intercept);
            EXPECT_EQ(image->storedValueAt(i % 2, i / 2, 0), stored);
        }
    }
}

TEST_F(PixelDecoding, WhatNoIntegerHoldsBecomesFloat) {
    const std::vector<std::uint32_t> values{0, 1, 2, 0xffffffffU};
    const auto decodeWith = [&](double slope, double intercept) {
        return decode(FileMaker(2, 2).format(32, 32, 31, false).rescale(slope, intercept).pixels(values));
    };
    EXPECT_EQ(decodeWith(1, 0)->voxelType(), VoxelType::UInt32);
    for (const auto& [slope, intercept] : {std::pair{1.0, -1024.0}, {-1.0, 100.0}, {2.0, 3.0}}) {
        const auto image = decodeWith(slope, intercept);
        EXPECT_EQ(image->voxelType(), VoxelType::Float32);
        for (int i = 0; i < 4; ++i)
            EXPECT_FLOAT_EQ(
                static_cast<float>(image->valueAt(i % 2, i / 2, 0)),
                static_cast<float>(values[static_cast<std::size_t>(i)] * slope + intercept));
    }
}

TEST_F(PixelDecoding, FractionsBecomeFloatEachSliceWithItsOwn) {
    for (int z = 0; z < 3; ++z)
        FileMaker(2, 2)
            .position({0, 0, z * 1.0})
            .rescale(0.25 * (z + 1), 0.125)
            .pixels(std::vector<std::int16_t>{-7, 1, 2, 30000})
            .write(folder_.path() / std::to_string(z));
    const auto image = loadOnly(folder_.files());
    EXPECT_EQ(image->voxelType(), VoxelType::Float32);
    for (int z = 0; z < 3; ++z) {
        EXPECT_EQ(image->valueAt(1, 1, z), 30000 * 0.25 * (z + 1) + 0.125);
        EXPECT_EQ(image->storedValueAt(0, 0, z), -7);
    }
    EXPECT_EQ(image->metadata().maximum, 22500.125);
    EXPECT_EQ(image->metadata().minimum, -7 * 0.75 + 0.125);
}

TEST_F(PixelDecoding, ASlopeOfZeroIsNoSlope) {
    FileMaker maker(2, 2);
    const auto image = decode(maker.rescale(0.0, 10.0).pixels(std::vector<std::int16_t>{1, 2, 3, 4}));
    EXPECT_EQ(image->valueAt(1, 1, 0), 14.0);
}

TEST_F(PixelDecoding, AModalityTableReplacesTheRescale) {
    gdcm::DataSet table;
    const std::array<std::int16_t, 3> descriptor{4, -1, 16};
    FileMaker::add(table, {0x0028, 0x3002}, VR::SS, descriptor.data(), 6);
    const std::array<std::uint16_t, 4> entries{500, 40000, 7, 65000};
    FileMaker::add(table, {0x0028, 0x3006}, VR::OW, entries.data(), 8);
    FileMaker maker(2, 2);
    maker.sequence({0x0028, 0x3000}, {table}).pixels(std::vector<std::int16_t>{-50, 0, 1, 99});
    for (const auto syntax : nativeSyntaxes) {
        const auto image = decode(maker, syntax);
        EXPECT_EQ(image->voxelType(), VoxelType::UInt16);
        EXPECT_EQ(image->valueAt(0, 0, 0), 500);
        EXPECT_EQ(image->valueAt(1, 0, 0), 40000);
        EXPECT_EQ(image->valueAt(0, 1, 0), 7);
        EXPECT_EQ(image->valueAt(1, 1, 0), 65000);
    }
}

TEST_F(PixelDecoding, LosslessCodecsGiveTheStoredValues) {
    for (const bool isSigned : {false, true})
        for (const int stored : {8, 12, 16}) {
            std::vector<std::uint16_t> values;
            for (unsigned i = 0; i < 48 * 32; ++i) {
                const unsigned mask = (1U << stored) - 1;
                unsigned value = (i * 37 + i * i / 7) & mask;
                if (isSigned && (value >> (stored - 1)) != 0)
                    value |= 0xffffU & ~mask;
                values.push_back(static_cast<std::uint16_t>(value));
            }
            FileMaker maker(48, 32);
            const auto plain =
                decode(maker.format(16, stored, stored - 1, isSigned).rescale(1, -100).pixels(values));
            for (const auto syntax :
                 {TransferSyntax::RLELossless, TransferSyntax::JPEGLosslessProcess14,
                  TransferSyntax::JPEGLosslessProcess14_1, TransferSyntax::JPEGLSLossless,
                  TransferSyntax::JPEG2000Lossless}) {
                // The lossless JPEG encoder at hand refuses some signed formats.
                maker.write(file());
                try {
                    compress(file(), syntax);
                } catch (const std::runtime_error&) {
                    continue;
                }
                const auto image = loadOnly({file()});
                EXPECT_EQ(image->voxelType(), plain->voxelType());
                EXPECT_TRUE(std::ranges::equal(image->voxels(), plain->voxels()))
                    << "syntax " << syntax << " bits " << stored << (isSigned ? " signed" : "");
            }
        }
}

TEST_F(PixelDecoding, JpegOfFewerBitsThanAByte) {
    for (const int stored : {4, 7}) {
        std::vector<std::uint8_t> values(16 * 16);
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] = static_cast<std::uint8_t>(i * 5 & ((1U << stored) - 1));
        FileMaker(16, 16).format(8, stored, stored - 1, false).pixels(values).write(file());
        compress(file(), TransferSyntax::JPEGLosslessProcess14_1);
        EXPECT_TRUE(std::ranges::equal(loadOnly({file()})->voxels(), std::as_bytes(std::span(values))));
    }
}

TEST_F(PixelDecoding, ColoursBecomeInterleavedRgb) {
    // Two pixels: pure red, and a light blue.
    const std::vector<std::uint8_t> rgb{255, 0, 0, 100, 150, 250};
    const std::vector<std::uint8_t> planar{255, 100, 0, 150, 0, 250};
    const auto expect = [](const Image& image, std::vector<int> values, int tolerance) {
        ASSERT_EQ(image.components(), 3);
        ASSERT_EQ(image.voxels().size(), 6U);
        for (std::size_t i = 0; i < 6; ++i)
            EXPECT_NEAR(std::to_integer<int>(image.voxels()[i]), values[i], tolerance) << i;
    };
    const std::vector<int> plain(rgb.begin(), rgb.end());
    for (const auto syntax : nativeSyntaxes) {
        FileMaker maker(2, 1);
        expect(*decode(maker.color("RGB").pixels(rgb), syntax), plain, 0);
        expect(*decode(maker.color("RGB", true).pixels(planar), syntax), plain, 0);
        // BT.601: red is Y 76, Cb 85, Cr 255 (rounded and clamped); the blue Y 146.5, Cb 186.5, Cr 94.8.
        expect(
            *decode(
                maker.color("YBR_FULL").pixels(std::vector<std::uint8_t>{76, 85, 255, 146, 187, 95}), syntax),
            plain, 2);
        expect(
            *decode(
                maker.color("YBR_FULL_422").pixels(std::vector<std::uint8_t>{100, 200, 128, 128}), syntax),
            {100, 100, 100, 200, 200, 200}, 0);
    }
    FileMaker wide(2, 1);
    wide.color("RGB").format(16, 12, 11, false);
    expect(*decode(wide.pixels(std::vector<std::uint16_t>{4095, 0, 0, 1600, 2400, 4000})), plain, 0);
}

TEST_F(PixelDecoding, PalettesAreLookedUp) {
    FileMaker maker(2, 2);
    maker.format(8, 8, 7, false).text({0x0028, 0x0004}, VR::CS, "PALETTE COLOR");
    maker.pixels(std::vector<std::uint8_t>{0, 10, 11, 200});
    for (std::uint16_t color = 0; color < 3; ++color)
        maker.shorts({0x0028, static_cast<std::uint16_t>(0x1101 + color)}, {3, 10, 16});
    maker.words({0x0028, 0x1201}, {0x0100, 0x8000, 0xff00});
    maker.words({0x0028, 0x1202}, {0x0200, 0x9000, 0xfe00});
    maker.words({0x0028, 0x1203}, {0x0300, 0xa000, 0xfd00});
    const std::vector<int> expected{1, 2, 3, 1, 2, 3, 0x80, 0x90, 0xa0, 0xff, 0xfe, 0xfd};
    const auto check = [&](const Image& image) {
        ASSERT_EQ(image.voxels().size(), 12U);
        for (std::size_t i = 0; i < 12; ++i)
            EXPECT_EQ(std::to_integer<int>(image.voxels()[i]), expected[i]) << i;
    };
    for (const auto syntax : nativeSyntaxes)
        check(*decode(maker, syntax));

    // The same in segments: one value, a straight line of two, the first segment repeated for nothing.
    for (std::uint16_t color = 0; color < 3; ++color)
        maker.remove({0x0028, static_cast<std::uint16_t>(0x1201 + color)});
    maker.words({0x0028, 0x1221}, {0, 2, 0x0100, 0x8000, 0, 1, 0xff00});
    maker.words({0x0028, 0x1222}, {0, 1, 0x0200, 1, 2, 0xfe00});
    maker.words({0x0028, 0x1223}, {0, 2, 0x0300, 0xa000, 1, 1, 0xfd00});
    const auto image = decode(maker);
    EXPECT_EQ(std::to_integer<int>(image->voxels()[9]), 0xff);
    EXPECT_EQ(std::to_integer<int>(image->voxels()[7]), 0x80) << "half way from 0x02 to 0xfe";
    EXPECT_EQ(std::to_integer<int>(image->voxels()[8]), 0xa0);
}

TEST_F(PixelDecoding, Monochrome1StaysAsStored) {
    FileMaker maker(2, 2);
    maker.text({0x0028, 0x0004}, VR::CS, "MONOCHROME1").pixels(std::vector<std::int16_t>{1, 2, 3, 4});
    const auto image = decode(maker);
    EXPECT_EQ(image->valueAt(1, 1, 0), 4);
    EXPECT_TRUE(image->metadata().inverted);
}

TEST_F(PixelDecoding, ProgressRisesAndCancelStops) {
    for (int z = 0; z < 40; ++z)
        FileMaker(8, 8).position({0, 0, z * 1.0}).write(folder_.path() / std::to_string(z));
    std::vector<std::size_t> steps;
    const auto record = [&steps](std::size_t done, std::size_t total) {
        EXPECT_EQ(total, 40U);
        steps.push_back(done);
    };
    const DicomAnalysis analysis = DicomSeriesReader::analyze(folder_.files(), nullptr, record);
    ASSERT_EQ(steps.size(), 40U);
    EXPECT_TRUE(std::is_sorted(steps.begin(), steps.end()));
    steps.clear();
    DicomSeriesReader::load(analysis.blocks.at(0), nullptr, record);
    ASSERT_EQ(steps.size(), 40U);
    EXPECT_TRUE(std::is_sorted(steps.begin(), steps.end()));
    EXPECT_EQ(steps.back(), 40U);

    std::atomic<bool> cancel = false;
    const auto cancelSoon = [&cancel](std::size_t done, std::size_t) { cancel = done >= 3; };
    EXPECT_THROW(DicomSeriesReader::load(analysis.blocks.at(0), &cancel, cancelSoon), WorkCancelled);
    EXPECT_THROW(DicomSeriesReader::analyze(folder_.files(), &cancel), WorkCancelled);
}

} // namespace
} // namespace zorbel::imaging::test

#include "tests/imaging/DicomFixture.h"

#include "imaging/DicomIdentity.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>

#include <zlib.h>

namespace zorbel::imaging::test {
namespace {

using gdcm::TransferSyntax;
using gdcm::VR;

class DamagedFile : public testing::Test {
protected:
    TemporaryFolder folder_;

    std::filesystem::path sound(
        const std::string& name = "sound.dcm",
        TransferSyntax::TSType syntax = TransferSyntax::ExplicitVRLittleEndian) {
        FileMaker maker(32, 32);
        std::vector<std::int16_t> values;
        for (int i = 0; i < 1024; ++i)
            values.push_back(static_cast<std::int16_t>(i * 31 % 3000));
        return maker.position({0, 0, 0}).pixels(values).write(folder_.path() / name, syntax);
    }
    /// Why the only file is no image, or cannot be decoded; empty when it can.
    static std::string complaint(const std::filesystem::path& file) {
        const DicomAnalysis analysis = DicomSeriesReader::analyze({file});
        if (!analysis.rejected.empty())
            return analysis.rejected.front().reason;
        try {
            DicomSeriesReader::load(analysis.blocks.at(0));
        } catch (const DicomReadError& error) {
            return error.what();
        }
        return {};
    }
    std::string complaintOf(FileMaker& maker) { return complaint(maker.write(folder_.path() / "odd.dcm")); }
};

TEST_F(DamagedFile, WhatIsNoImageIsNamed) {
    const auto file = folder_.path() / "file";
    writeFile(file, "");
    EXPECT_EQ(complaint(file), "file: the file is empty");
    writeFile(file, "A letter, and no picture. " + std::string(500, 'x'));
    EXPECT_EQ(complaint(file), "file: not a DICOM file");
    EXPECT_EQ(complaint(folder_.path() / "absent"), "absent: cannot be opened");
    FileMaker report(2, 2);
    EXPECT_EQ(complaintOf(report.remove({0x7fe0, 0x0010})), "odd.dcm: no pixel data");
}

TEST_F(DamagedFile, TruncationIsNoticedWhereverItFalls) {
    for (const auto syntax :
         {TransferSyntax::ExplicitVRLittleEndian, TransferSyntax::ImplicitVRLittleEndian,
          TransferSyntax::ExplicitVRBigEndian, TransferSyntax::DeflatedExplicitVRLittleEndian}) {
        const std::string bytes = readFile(sound("sound.dcm", syntax));
        const auto cut = folder_.path() / "cut.dcm";
        for (std::size_t length = 0; length < bytes.size() - 1; length += length < 1200 ? 7 : 211) {
            writeFile(cut, std::string_view(bytes).substr(0, length));
            EXPECT_NE(complaint(cut), "") << length << " of " << bytes.size() << " bytes, syntax " << syntax;
        }
        EXPECT_EQ(complaint(folder_.path() / "sound.dcm"), "");
    }
}

TEST_F(DamagedFile, ATruncatedCodeStreamIsNoImage) {
    for (const auto syntax :
         {TransferSyntax::RLELossless, TransferSyntax::JPEGLosslessProcess14_1,
          TransferSyntax::JPEGLSLossless, TransferSyntax::JPEG2000Lossless}) {
        compress(sound(), syntax);
        const std::string bytes = readFile(folder_.path() / "sound.dcm");
        ASSERT_EQ(complaint(folder_.path() / "sound.dcm"), "");
        // The stream loses its second half; the fragment's length says so.
        const std::string mark("OB\0\0\xff\xff\xff\xff", 8);
        const auto offsetTable = bytes.find(mark) + mark.size();
        const auto tableLength = static_cast<unsigned char>(bytes[offsetTable + 4]);
        const auto fragment = offsetTable + 8 + tableLength;
        std::uint32_t length = 0;
        std::memcpy(&length, bytes.data() + fragment + 4, 4);
        const std::uint32_t half = length / 4 * 2;
        std::string cut = bytes.substr(0, fragment + 8 + half) + std::string("\xfe\xff\xdd\xe0\0\0\0\0", 8);
        std::memcpy(cut.data() + fragment + 4, &half, 4);
        writeFile(folder_.path() / "cut.dcm", cut);
        EXPECT_NE(complaint(folder_.path() / "cut.dcm"), "") << "syntax " << syntax;
        if (syntax == TransferSyntax::RLELossless)
            continue;
        // Even if it ends as a stream should.
        cut.replace(fragment + 8 + half - 2, 2, "\xff\xd9");
        writeFile(folder_.path() / "cut.dcm", cut);
        EXPECT_NE(complaint(folder_.path() / "cut.dcm"), "") << "syntax " << syntax;
    }
}

TEST_F(DamagedFile, AJpegStreamOfNoKnownPrecisionIsRefused) {
    const auto file = sound();
    compress(file, TransferSyntax::JPEGLosslessProcess14_1);
    std::string bytes = readFile(file);
    const auto precision = bytes.find("\xff\xc3") + 4;
    for (const int bits : {0, 1, 17, 156, 255}) {
        bytes.at(precision) = static_cast<char>(bits);
        writeFile(file, bytes);
        EXPECT_EQ(complaint(file), "sound.dcm: the compressed pixel data is damaged") << bits;
    }
}

TEST_F(DamagedFile, AJpegStreamTooShortForItsSizeIsRefused) {
    FileMaker maker(32, 32);
    maker.pixels(std::vector<std::int16_t>(32 * 32)).write(folder_.path() / "small");
    compress(folder_.path() / "small", TransferSyntax::JPEGLosslessProcess14_1);
    std::string bytes = readFile(folder_.path() / "small");
    for (const auto& mark : {std::string("\x28\0\x10\0US", 6), std::string("\x28\0\x11\0US", 6)})
        bytes.replace(bytes.find(mark) + 8, 2, "\0\x10", 2);
    bytes.replace(bytes.find("\xff\xc3") + 5, 4, "\x10\0\x10\0", 4);
    writeFile(folder_.path() / "claims", bytes);
    EXPECT_EQ(complaint(folder_.path() / "claims"), "claims: the compressed pixel data is damaged");
}

/// The file with its one fragment's bytes changed.
std::string withStream(const std::string& bytes, const std::function<std::string(std::string)>& change) {
    const std::string mark("OB\0\0\xff\xff\xff\xff", 8);
    const auto table = bytes.find(mark) + mark.size();
    const auto item = table + 8 + static_cast<unsigned char>(bytes[table + 4]);
    std::uint32_t length = 0;
    std::memcpy(&length, bytes.data() + item + 4, 4);
    std::string stream = change(bytes.substr(item + 8, length));
    stream.resize(stream.size() + stream.size() % 2);
    length = static_cast<std::uint32_t>(stream.size());
    return bytes.substr(0, item + 4) + std::string(reinterpret_cast<const char*>(&length), 4) + stream +
           std::string("\xfe\xff\xdd\xe0\0\0\0\0", 8);
}

std::string box(const std::string& type, const std::string& content) {
    const auto length = static_cast<std::uint32_t>(content.size() + 8);
    std::string result;
    for (const int shift : {24, 16, 8, 0})
        result += static_cast<char>(length >> shift & 0xffU);
    return result + type + content;
}

TEST_F(DamagedFile, Jpeg2000IsWalkedThroughBeforeItsCodecSeesIt) {
    const auto file = sound();
    compress(file, TransferSyntax::JPEG2000Lossless);
    const std::string bytes = readFile(file);
    const auto complaintWith = [&](const std::function<std::string(std::string)>& change) {
        writeFile(file, withStream(bytes, change));
        return complaint(file);
    };
    const std::string signature = box("jP  ", "\r\n\x87\n");
    EXPECT_EQ(
        complaintWith([&](const std::string& stream) {
            return signature + box("jp2h", box("ihdr", std::string(14, '\0'))) + box("jp2c", stream);
        }),
        "");
    EXPECT_EQ(
        complaintWith([&](const std::string& stream) {
            return signature + box("jp2h", box("pclr", std::string(20, '\1'))) + box("jp2c", stream);
        }),
        "sound.dcm: the compressed pixel data holds a palette of its own");
    const std::string damaged = "sound.dcm: the compressed pixel data is damaged";
    EXPECT_EQ(
        complaintWith([&](const std::string& stream) { return signature + "\0\0\0\4" + stream; }), damaged);
    // Offsets in SIZ, its length first, and behind it: capabilities, the grid, components, their depth.
    for (const std::size_t at : {4U, 11U, 15U, 41U, 42U, 43U, 45U, 46U})
        EXPECT_NE(
            complaintWith([at](std::string stream) {
                stream[at] = static_cast<char>(stream[at] ^ 0x40);
                return stream;
            }),
            "")
            << at;
    for (std::size_t at = 4; at < 100; ++at) // none of them ends the program
        complaintWith([at](std::string stream) {
            stream[at] = '\xff';
            return stream;
        });
}

TEST_F(DamagedFile, LosslessJpegWhoseCodeWordsDoNotEndWithTheLastSampleIsRefused) {
    const auto file = sound();
    compress(file, TransferSyntax::JPEGLosslessProcess14_1);
    const std::string bytes = readFile(file);
    writeFile(file, withStream(bytes, [](const std::string& stream) { return stream + "left behind"; }));
    EXPECT_EQ(complaint(file), "") << "what follows the end mark is no part of it";
    for (const std::string& inserted : {std::string(4, '\x55'), std::string(16, '\0')}) {
        writeFile(file, withStream(bytes, [&](const std::string& stream) {
                      const auto end = stream.rfind("\xff\xd9");
                      return stream.substr(0, end) + inserted + stream.substr(end);
                  }));
        EXPECT_EQ(complaint(file), "sound.dcm: the compressed pixel data is damaged");
    }
}

TEST_F(DamagedFile, WhatClaimsMoreThanItsBytesHoldIsRefusedAheadOfAnyMemory) {
    const std::string small = readFile(sound("small", TransferSyntax::DeflatedExplicitVRLittleEndian));
    std::uint32_t metaLength = 0;
    std::memcpy(&metaLength, small.data() + 140, 4);
    const std::string air(std::size_t{64} << 20, '\0');
    std::string packed(air.size() / 100, '\0');
    z_stream stream{};
    ASSERT_EQ(deflateInit2(&stream, 9, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY), Z_OK);
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(air.data()));
    stream.avail_in = static_cast<uInt>(air.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    ASSERT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    writeFile(folder_.path() / "air", small.substr(0, 144 + metaLength) + packed);
    EXPECT_EQ(complaint(folder_.path() / "air"), "air: the deflated data set is too large");

    const auto file = sound();
    compress(file, TransferSyntax::JPEG2000Lossless);
    std::string bytes = readFile(file);
    for (const auto& mark : {std::string("\x28\0\x10\0US", 6), std::string("\x28\0\x11\0US", 6)})
        bytes.replace(bytes.find(mark) + 8, 2, "\x20\x4e", 2);
    writeFile(file, bytes);
    EXPECT_EQ(complaint(file), "sound.dcm: the compressed pixel data is too short for the image size");
}

TEST_F(DamagedFile, ElementsThatMatterToNobodyMayBeOdd) {
    const auto file = sound();
    const std::string bytes = readFile(file);
    const auto pixelData = bytes.rfind(std::string("\xe0\x7f\x10\0", 4));
    for (const std::string& odd :
         {std::string("\x01\x70\x10\x10SQ\0\0\x0e\0\0\0no items within", 26),
          std::string("\x01\x70\x10\x10UN\0\0\x0c\0\0\0\xfe\xff\0\xe0\x04\0\0\0none", 24),
          std::string("\x01\x70\x10\x10??\x04\0abcd", 12), std::string("\x01\x70\x10\x10\0\0\x04\0abcd", 12),
          std::string("\x01\x70\x10\x10\x04\0\0\0abcd", 12)}) {
        writeFile(file, bytes.substr(0, pixelData) + odd + bytes.substr(pixelData));
        EXPECT_EQ(complaint(file), "") << testing::PrintToString(odd);
    }
}

TEST_F(DamagedFile, PixelDataShorterThanItsDescription) {
    FileMaker maker(32, 32);
    EXPECT_EQ(
        complaintOf(maker.shorts({0x0028, 0x0010}, {33})),
        "odd.dcm: the pixel data is shorter than the image size");
    EXPECT_EQ(
        complaintOf(maker.shorts({0x0028, 0x0010}, {32}).frames(2)),
        "odd.dcm: the pixel data is shorter than the image size");
}

TEST_F(DamagedFile, AbsurdDescriptionsAreRefused) {
    FileMaker empty(32, 32);
    EXPECT_EQ(complaintOf(empty.shorts({0x0028, 0x0011}, {0})), "odd.dcm: the image has no size");
    FileMaker huge(2, 2);
    huge.shorts({0x0028, 0x0010}, {65535}).shorts({0x0028, 0x0011}, {65535}).frames(100000);
    EXPECT_NE(complaintOf(huge), "");
    EXPECT_EQ(complaintOf(huge.frames(2000000000)), "odd.dcm: absurd number of frames");
    FileMaker bits(2, 2);
    EXPECT_EQ(complaintOf(bits.format(64, 64, 63, false)), "odd.dcm: unsupported number of bits allocated");
    FileMaker samples(2, 2);
    EXPECT_NE(complaintOf(samples.shorts({0x0028, 0x0002}, {200})), "");
    FileMaker palette(2, 2);
    EXPECT_EQ(
        complaintOf(palette.text({0x0028, 0x0004}, VR::CS, "PALETTE COLOR")),
        "odd.dcm: palette image without palette");
}

TEST_F(DamagedFile, OneBadSliceFailsTheVolumeByName) {
    for (int z = 0; z < 20; ++z)
        FileMaker(8, 8)
            .position({0, 0, z * 1.0})
            .number(z)
            .write(folder_.path() / ("s" + std::to_string(100 + z)));
    const auto bad = folder_.path() / "s113";
    const std::string bytes = readFile(bad);
    writeFile(bad, std::string_view(bytes).substr(0, bytes.size() - 20));
    const DicomAnalysis analysis = DicomSeriesReader::analyze(folder_.files());
    ASSERT_EQ(analysis.blocks.size(), 1U);
    try {
        DicomSeriesReader::load(analysis.blocks[0]);
        FAIL() << "decoded in spite of the damage";
    } catch (const DicomReadError& error) {
        EXPECT_STREQ(error.what(), "s113: the file is truncated");
    }
    std::filesystem::remove(bad);
    EXPECT_THROW(DicomSeriesReader::load(analysis.blocks[0]), DicomReadError);
}

TEST_F(DamagedFile, RandomDamageNeverCrashes) {
    std::vector<std::string> originals;
    for (const auto syntax :
         {TransferSyntax::ExplicitVRLittleEndian, TransferSyntax::ImplicitVRLittleEndian,
          TransferSyntax::ExplicitVRBigEndian, TransferSyntax::DeflatedExplicitVRLittleEndian})
        originals.push_back(readFile(sound("original", syntax)));
    for (const auto syntax :
         {TransferSyntax::RLELossless, TransferSyntax::JPEGLosslessProcess14_1,
          TransferSyntax::JPEGLSLossless, TransferSyntax::JPEG2000Lossless}) {
        compress(sound("original"), syntax);
        originals.push_back(readFile(folder_.path() / "original"));
    }
    std::mt19937 random(20240501);
    const auto file = folder_.path() / "damaged";
    for (int round = 0; round < 800; ++round) {
        std::string bytes = originals[static_cast<std::size_t>(round) % originals.size()];
        const int changes = 1 + static_cast<int>(random() % 12);
        for (int i = 0; i < changes; ++i)
            bytes[128 + random() % (bytes.size() - 128)] = static_cast<char>(random());
        if (round % 5 == 0)
            bytes.erase(random() % bytes.size(), random() % 300);
        writeFile(file, bytes);
        complaint(file);
        try {
            readDicomIdentity(std::as_bytes(std::span(bytes)));
        } catch (const DicomReadError&) {
            continue;
        }
    }
}

} // namespace
} // namespace zorbel::imaging::test

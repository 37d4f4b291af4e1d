#include "tests/imaging/DicomFixture.h"

#include <gtest/gtest.h>

#include <cstring>

namespace zorbel::imaging::test {
namespace {

using gdcm::DataSet;
using gdcm::VR;

DataSet group(gdcm::Tag tag, const DataSet& content) {
    DataSet result;
    FileMaker::addSequence(result, tag, {content});
    return result;
}

void merge(DataSet& to, const DataSet& from) {
    for (auto element = from.Begin(); element != from.End(); ++element)
        to.Replace(*element);
}

/// Frames of 2 × 2 voxels that hold 100, 101, … in the file's order.
FileMaker numberedFrames(int count) {
    FileMaker maker(2, 2);
    std::vector<std::int16_t> values;
    for (int frame = 0; frame < count; ++frame)
        values.insert(values.end(), 4, static_cast<std::int16_t>(100 + frame));
    maker.frames(count).pixels(values);
    return maker;
}

class MultiFrame : public testing::Test {
protected:
    TemporaryFolder folder_;
    std::filesystem::path file() const { return folder_.path() / "multi.dcm"; }
    ImageBlock onlyBlock() const {
        const DicomAnalysis analysis = DicomSeriesReader::analyze({file()});
        EXPECT_EQ(analysis.blocks.size(), 1U);
        return analysis.blocks.at(0);
    }
};

FileMaker enhanced(const std::vector<double>& places) {
    DataSet shared;
    merge(shared, group({0x0020, 0x9116}, FileMaker::item({0x0020, 0x0037}, VR::DS, "0\\1\\0\\0\\0\\-1")));
    DataSet measures = FileMaker::item({0x0028, 0x0030}, VR::DS, "0.3\\0.2");
    FileMaker::addText(measures, {0x0018, 0x0050}, VR::DS, "9");
    merge(shared, group({0x0028, 0x9110}, measures));

    std::vector<DataSet> perFrame;
    for (std::size_t i = 0; i < places.size(); ++i) {
        DataSet frame =
            group({0x0020, 0x9113}, FileMaker::item({0x0020, 0x0032}, VR::DS, decimals({places[i], 1, 2})));
        DataSet transformation = FileMaker::item({0x0028, 0x1053}, VR::DS, "2");
        FileMaker::addText(transformation, {0x0028, 0x1052}, VR::DS, std::to_string(-static_cast<int>(i)));
        FileMaker::addText(transformation, {0x0028, 0x1054}, VR::LO, "HU");
        merge(frame, group({0x0028, 0x9145}, transformation));
        DataSet window = FileMaker::item({0x0028, 0x1050}, VR::DS, "40");
        FileMaker::addText(window, {0x0028, 0x1051}, VR::DS, "400");
        merge(frame, group({0x0028, 0x9132}, window));
        perFrame.push_back(frame);
    }
    FileMaker maker = numberedFrames(static_cast<int>(places.size()));
    maker.remove({0x0020, 0x0037}).remove({0x0028, 0x0030});
    maker.sequence({0x5200, 0x9229}, {shared}).sequence({0x5200, 0x9230}, perFrame);
    return maker;
}

TEST_F(MultiFrame, FunctionalGroupsPlaceEachFrame) {
    // The normal of these sagittal frames is -x, so the highest x comes first.
    for (const auto syntax :
         {gdcm::TransferSyntax::ExplicitVRLittleEndian, gdcm::TransferSyntax::ImplicitVRLittleEndian,
          gdcm::TransferSyntax::ExplicitVRBigEndian, gdcm::TransferSyntax::DeflatedExplicitVRLittleEndian}) {
        enhanced({3.0, 4.5, 1.5, 6.0}).write(file(), syntax);
        const ImageBlock block = onlyBlock();
        EXPECT_TRUE(block.splitReasons.empty());
        const auto image = DicomSeriesReader::load(block);
        EXPECT_EQ(image->geometry().origin(), (Vector3{6.0, 1.0, 2.0}));
        EXPECT_NEAR(image->geometry().spacing()[0], 0.2, 1e-9);
        EXPECT_NEAR(image->geometry().spacing()[1], 0.3, 1e-9);
        EXPECT_NEAR(image->geometry().spacing()[2], 1.5, 1e-9);
        EXPECT_EQ(image->valueAt(1, 1, 0), 2 * 103 - 3);
        EXPECT_EQ(image->valueAt(0, 0, 1), 2 * 101 - 1);
        EXPECT_EQ(image->valueAt(0, 0, 2), 2 * 100);
        EXPECT_EQ(image->valueAt(1, 0, 3), 2 * 102 - 2);
        EXPECT_EQ(image->storedValueAt(1, 0, 3), 102);
        EXPECT_TRUE(image->metadata().hounsfieldUnits);
        ASSERT_EQ(image->metadata().windows.size(), 1U);
        EXPECT_EQ(image->metadata().windows[0].center, 40.0);
    }
}

TEST_F(MultiFrame, AGapBetweenFramesOfOneFileIsFound) {
    enhanced({0.0, 1.0, 2.0, 4.0, 5.0}).write(file());
    const DicomAnalysis analysis = DicomSeriesReader::analyze({file()});
    ASSERT_EQ(analysis.blocks.size(), 2U);
    ASSERT_TRUE(analysis.blocks[0].findReason(SplitReasonType::MissingSlices));
    EXPECT_EQ(analysis.blocks[0].findReason(SplitReasonType::MissingSlices)->details, "1");
    EXPECT_EQ(DicomSeriesReader::load(analysis.blocks[1])->geometry().dimensions()[2], 2);
}

TEST_F(MultiFrame, OffsetsPlaceFramesAlongTheNormal) {
    numberedFrames(3).position({1, 2, 3}).text({0x3004, 0x000c}, VR::DS, "0\\-2.5\\-5").write(file());
    const ImageBlock block = onlyBlock();
    EXPECT_TRUE(block.splitReasons.empty());
    EXPECT_EQ(block.geometry.origin(), (Vector3{1, 2, -2}));
    EXPECT_NEAR(block.geometry.spacing()[2], 2.5, 1e-9);
    EXPECT_EQ(DicomSeriesReader::load(block)->valueAt(0, 0, 0), 102);
}

TEST_F(MultiFrame, ADetectorMayHoldThePosition) {
    auto detector = FileMaker::item({0x0020, 0x0032}, VR::DS, "1\\2\\3");
    FileMaker::addText(detector, {0x0020, 0x0037}, VR::DS, "1\\0\\0\\0\\1\\0");
    numberedFrames(4)
        .text({0x0018, 0x0088}, VR::DS, "-2")
        .remove({0x0020, 0x0032})
        .remove({0x0020, 0x0037})
        .sequence({0x0054, 0x0022}, {detector})
        .write(file());
    const ImageBlock block = onlyBlock();
    EXPECT_TRUE(block.splitReasons.empty());
    EXPECT_EQ(block.geometry.origin(), (Vector3{1, 2, -3}));
}

TEST_F(MultiFrame, OnePositionAndADistanceMakeAStack) {
    numberedFrames(4).position({0, 0, 10}).text({0x0018, 0x0088}, VR::DS, "0.25").write(file());
    ImageBlock block = onlyBlock();
    EXPECT_TRUE(block.splitReasons.empty());
    EXPECT_NEAR(block.geometry.spacing()[2], 0.25, 1e-12);
    EXPECT_EQ(block.frameCount(), 4U);

    // Without a position or a distance the stack is a guess, and says so.
    numberedFrames(4).text({0x0018, 0x0050}, VR::DS, "0.5").write(file());
    block = onlyBlock();
    EXPECT_TRUE(block.findReason(SplitReasonType::ImagePositionMissing));
    EXPECT_NEAR(block.geometry.spacing()[2], 0.5, 1e-12);
    EXPECT_EQ(DicomSeriesReader::load(block)->valueAt(0, 0, 3), 103);
}

TEST_F(MultiFrame, FilesWithoutPositionsAreNotMixed) {
    for (const char* const name : {"a", "b"})
        numberedFrames(3).write(folder_.path() / name);
    const DicomAnalysis analysis = DicomSeriesReader::analyze(folder_.files());
    ASSERT_EQ(analysis.blocks.size(), 2U);
    for (const ImageBlock& block : analysis.blocks)
        EXPECT_EQ(block.frames.front().file, block.frames.back().file);
}

/// Replaces the pixel data of an encapsulated file, which is its last element.
void encapsulate(const std::filesystem::path& file, const std::vector<std::string>& items) {
    std::string bytes = readFile(file);
    const std::string head("\xe0\x7f\x10\x00OB\0\0\xff\xff\xff\xff", 12);
    const auto at = bytes.find(head);
    ASSERT_NE(at, std::string::npos);
    bytes.resize(at + head.size());
    const auto append = [&bytes](std::string_view tag, std::uint32_t length) {
        bytes += tag;
        bytes.append(reinterpret_cast<const char*>(&length), 4);
    };
    for (const std::string& item : items) {
        append(std::string_view("\xfe\xff\x00\xe0", 4), static_cast<std::uint32_t>(item.size()));
        bytes += item;
    }
    append(std::string_view("\xfe\xff\xdd\xe0", 4), 0);
    writeFile(file, bytes);
}

/// The code streams of a compressed file whose frames are one fragment each.
std::vector<std::string> fragmentsOf(const std::filesystem::path& file) {
    const std::string bytes = readFile(file);
    auto at = bytes.find(std::string("\xe0\x7f\x10\x00OB\0\0\xff\xff\xff\xff", 12)) + 12;
    std::vector<std::string> items;
    while (bytes.compare(at, 4, std::string("\xfe\xff\x00\xe0", 4)) == 0) {
        std::uint32_t length = 0;
        std::memcpy(&length, bytes.data() + at + 4, 4);
        items.push_back(bytes.substr(at + 8, length));
        at += 8 + length;
    }
    items.erase(items.begin()); // the offset table
    return items;
}

TEST_F(MultiFrame, FramesAreFoundHoweverTheyAreEncapsulated) {
    FileMaker maker(16, 16);
    std::vector<std::uint16_t> values;
    for (unsigned i = 0; i < 3 * 256; ++i)
        values.push_back(static_cast<std::uint16_t>(i * i % 4001));
    maker.frames(3)
        .format(16, 16, 15, false)
        .pixels(values)
        .text({0x0018, 0x0088}, VR::DS, "1")
        .position({0, 0, 0});
    maker.write(file());
    const auto plain = loadOnly({file()});
    compress(file(), gdcm::TransferSyntax::JPEGLosslessProcess14_1);
    const std::vector<std::string> streams = fragmentsOf(file());
    ASSERT_EQ(streams.size(), 3U);

    std::string table(12, '\0');
    const std::uint32_t offsets[3] = {
        0, static_cast<std::uint32_t>(16 + streams[0].size()),
        static_cast<std::uint32_t>(24 + streams[0].size() + streams[1].size())};
    std::memcpy(table.data(), offsets, 12);
    const auto half = [&](std::size_t i) { return streams[i].size() / 4 * 2; };
    const std::vector<std::string> pieces{
        streams[0].substr(0, half(0)), streams[0].substr(half(0)), streams[1], streams[2].substr(0, half(2)),
        streams[2].substr(half(2))};
    std::vector<std::vector<std::string>> layouts{{"", streams[0], streams[1], streams[2]}};
    layouts.push_back({""});
    layouts.push_back({table});
    for (const std::size_t layout : {1U, 2U})
        layouts[layout].insert(layouts[layout].end(), pieces.begin(), pieces.end());
    layouts.push_back({"", streams[0] + streams[1] + streams[2]});
    for (std::size_t i = 0; i < layouts.size(); ++i) {
        encapsulate(file(), layouts[i]);
        const auto image = loadOnly({file()});
        EXPECT_TRUE(std::ranges::equal(image->voxels(), plain->voxels())) << "layout " << i;
    }
    encapsulate(file(), {"", streams[0], streams[1] + streams[2].substr(0, 40)});
    EXPECT_THROW(loadOnly({file()}), DicomReadError);
}

} // namespace
} // namespace zorbel::imaging::test

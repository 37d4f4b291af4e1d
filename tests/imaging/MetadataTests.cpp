#include "tests/imaging/DicomFixture.h"

#include <gtest/gtest.h>

namespace zorbel::imaging::test {
namespace {

using gdcm::DataSet;
using gdcm::VR;

class Metadata : public testing::Test {
protected:
    TemporaryFolder folder_;
    ImageBlock analyze(FileMaker& maker, gdcm::TransferSyntax::TSType syntax) {
        const DicomAnalysis analysis =
            DicomSeriesReader::analyze({maker.write(folder_.path() / "image.dcm", syntax)});
        for (const RejectedFile& rejected : analysis.rejected)
            ADD_FAILURE() << rejected.reason;
        return analysis.blocks.at(0);
    }
    ImageMetadata read(
        FileMaker& maker,
        gdcm::TransferSyntax::TSType syntax = gdcm::TransferSyntax::ExplicitVRLittleEndian) {
        return analyze(maker, syntax).metadata;
    }
};

TEST_F(Metadata, WindowsInTheFilesOrder) {
    FileMaker maker(2, 2);
    maker.text({0x0028, 0x1050}, VR::DS, "40\\ +300 \\-5e1").text({0x0028, 0x1051}, VR::DS, "400\\0\\1500.5");
    maker.text({0x0028, 0x1055}, VR::LO, "BRAIN\\NONE\\BONE").text({0x0028, 0x1056}, VR::CS, "SIGMOID");
    const ImageMetadata metadata = read(maker);
    ASSERT_EQ(metadata.windows.size(), 2U) << "a window of no width is none";
    EXPECT_EQ(metadata.windows[0], (LevelWindow{40.0, 400.0, VoiFunction::Sigmoid, "BRAIN"}));
    EXPECT_EQ(metadata.windows[1], (LevelWindow{-50.0, 1500.5, VoiFunction::Sigmoid, "BONE"}));
}

TEST_F(Metadata, VoiTables) {
    const std::array<std::uint16_t, 3> descriptor{3, 0xfffe, 12};
    const std::array<std::uint16_t, 3> entries{0, 100, 4095};
    DataSet wide;
    FileMaker::add(wide, {0x0028, 0x3002}, VR::SS, descriptor.data(), 6);
    FileMaker::addText(wide, {0x0028, 0x3003}, VR::LO, "soft");
    FileMaker::add(wide, {0x0028, 0x3006}, VR::OW, entries.data(), 6);
    const std::array<std::uint16_t, 3> narrowDescriptor{4, 10, 8};
    const std::array<std::uint8_t, 4> bytes{0, 1, 2, 255};
    DataSet narrow;
    FileMaker::add(narrow, {0x0028, 0x3002}, VR::US, narrowDescriptor.data(), 6);
    FileMaker::add(narrow, {0x0028, 0x3006}, VR::OW, bytes.data(), 4);
    // 0 stands for 65536, which the descriptor cannot hold.
    const std::array<std::uint16_t, 3> fullDescriptor{0, 0, 16};
    std::vector<std::uint16_t> all(65536);
    for (std::size_t i = 0; i < all.size(); ++i)
        all[i] = static_cast<std::uint16_t>(65535 - i);
    DataSet full;
    FileMaker::add(full, {0x0028, 0x3002}, VR::US, fullDescriptor.data(), 6);
    FileMaker::add(full, {0x0028, 0x3006}, VR::OW, all.data(), all.size() * 2);

    FileMaker maker(2, 2);
    maker.sequence({0x0028, 0x3010}, {wide, narrow, full});
    for (const auto syntax :
         {gdcm::TransferSyntax::ExplicitVRLittleEndian, gdcm::TransferSyntax::ImplicitVRLittleEndian}) {
        const ImageMetadata metadata = read(maker, syntax);
        ASSERT_EQ(metadata.voiTables.size(), 3U);
        EXPECT_EQ(metadata.voiTables[0].firstMapped, -2.0);
        EXPECT_EQ(metadata.voiTables[0].bits, 12U);
        EXPECT_EQ(metadata.voiTables[0].explanation, "soft");
        EXPECT_EQ(metadata.voiTables[0].entries, (std::vector<std::uint16_t>{0, 100, 4095}));
        EXPECT_EQ(metadata.voiTables[1].entries, (std::vector<std::uint16_t>{0, 1, 2, 255}));
        EXPECT_EQ(metadata.voiTables[2].entries, all);
    }
}

TEST_F(Metadata, HounsfieldUnitsAreClaimedOnlyWhereTheyHold) {
    const auto claims = [this](const char* type, const char* image, const char* model, const char* modality) {
        FileMaker maker(2, 2);
        maker.text({0x0008, 0x0008}, VR::CS, image).text({0x0008, 0x1090}, VR::LO, model);
        maker.text({0x0008, 0x0060}, VR::CS, modality).rescale(1, -1000);
        if (*type)
            maker.text({0x0028, 0x1054}, VR::LO, type);
        return read(maker).hounsfieldUnits;
    };
    const char* const axial = "ORIGINAL\\PRIMARY\\AXIAL";
    EXPECT_TRUE(claims("HU", axial, "", "CT"));
    EXPECT_TRUE(claims("", axial, "Scanner", "CT"));
    EXPECT_FALSE(claims("US", axial, "Scanner", "CT"));
    EXPECT_FALSE(claims("", axial, "Dental cone-beam", "CT"));
    EXPECT_FALSE(claims("", axial, "X CBCT 3", "CT"));
    EXPECT_TRUE(claims("HU", axial, "X CBCT 3", "CT"));
    EXPECT_FALSE(claims("", "ORIGINAL\\PRIMARY\\LOCALIZER", "Scanner", "CT"));
    EXPECT_FALSE(claims("", "DERIVED\\SECONDARY\\AXIAL", "Scanner", "CT"));
    EXPECT_FALSE(claims("", axial, "Scanner", "MR"));
}

TEST_F(Metadata, SpacingAndWhereItComesFrom) {
    FileMaker both(2, 2);
    both.spacing(0.2, 0.4).text({0x0018, 0x1164}, VR::DS, "0.5\\0.5").text({0x0018, 0x1114}, VR::DS, "1.25");
    ImageBlock block = analyze(both, gdcm::TransferSyntax::ExplicitVRLittleEndian);
    EXPECT_EQ(block.metadata.spacingSource, SpacingSource::PixelSpacing);
    EXPECT_EQ(block.metadata.magnification, 1.25);
    EXPECT_NEAR(block.metadata.pixelAspectRatio, 2.0, 1e-12);
    EXPECT_NEAR(block.geometry.spacing()[0], 0.2, 1e-12);

    both.remove({0x0028, 0x0030});
    block = analyze(both, gdcm::TransferSyntax::ExplicitVRLittleEndian);
    EXPECT_EQ(block.metadata.spacingSource, SpacingSource::ImagerPixelSpacing);
    EXPECT_NEAR(block.geometry.spacing()[1], 0.5, 1e-12);

    both.text({0x0018, 0x1164}, VR::DS, "0,25\\0,75");
    block = analyze(both, gdcm::TransferSyntax::ExplicitVRLittleEndian);
    EXPECT_EQ(block.geometry.spacing()[0], 0.75);
    EXPECT_EQ(block.geometry.spacing()[1], 0.25);

    for (const char* const nonsense : {"0\\0", "-1\\1", "0.5", "x\\y", "nan\\nan"}) {
        FileMaker maker(2, 2);
        maker.text({0x0028, 0x0030}, VR::DS, nonsense).text({0x0028, 0x0034}, VR::IS, "3\\2");
        block = analyze(maker, gdcm::TransferSyntax::ExplicitVRLittleEndian);
        EXPECT_EQ(block.metadata.spacingSource, SpacingSource::None) << nonsense;
        EXPECT_EQ(block.geometry.spacing()[0], 1.0);
        EXPECT_EQ(block.geometry.spacing()[1], 1.5);
        EXPECT_EQ(block.metadata.pixelAspectRatio, 1.5);
    }
}

TEST_F(Metadata, PaddingIsGivenAfterTheRescale) {
    FileMaker maker(2, 2);
    maker.shorts({0x0028, 0x0120}, {-2000}, VR::SS).shorts({0x0028, 0x0121}, {-1500}, VR::SS).rescale(2, -10);
    auto padding = read(maker).padding;
    ASSERT_TRUE(padding);
    EXPECT_EQ(*padding, (std::pair{-4010.0, -3010.0}));
    maker.format(16, 16, 15, false).rescale(1, 0).remove({0x0028, 0x0121});
    padding = read(maker, gdcm::TransferSyntax::ImplicitVRLittleEndian).padding;
    ASSERT_TRUE(padding);
    EXPECT_EQ(*padding, (std::pair{63536.0, 63536.0}));
}

TEST_F(Metadata, TextsAndFlags) {
    FileMaker maker(2, 2);
    maker.text({0x0008, 0x0005}, VR::CS, "ISO_IR 100")
        .text({0x0010, 0x0010}, VR::PN, "M\xfcller^J\xe9r\xf4me")
        .text({0x0008, 0x103e}, VR::LO, "Z\xe4hne")
        .text({0x0008, 0x0020}, VR::DA, "20240229")
        .text({0x0020, 0x0020}, VR::CS, "P\\F")
        .text({0x2050, 0x0020}, VR::CS, "INVERSE")
        .text({0x0028, 0x2110}, VR::CS, "01");
    const ImageMetadata metadata = read(maker);
    EXPECT_EQ(metadata.patientName, "Müller Jérôme");
    EXPECT_EQ(metadata.seriesDescription, "Zähne");
    EXPECT_EQ(metadata.studyDate, "20240229");
    EXPECT_EQ(metadata.modality, "CT");
    EXPECT_EQ(metadata.seriesInstanceUID, "1.2.3.4.5");
    EXPECT_EQ(metadata.studyInstanceUID, "1.2.3.4");
    EXPECT_EQ(metadata.patientOrientation, (std::pair<std::string, std::string>{"P", "F"}));
    EXPECT_TRUE(metadata.inverted);
    EXPECT_TRUE(metadata.lossy);
}

} // namespace
} // namespace zorbel::imaging::test

#include "viewer/reading/study/ReportContents.h"
#include "viewer/reading/study/StudyReading.h"
#include "viewer/studies/StudyTexts.h"
#include "viewer/views/OverlayTexts.h"

#include <gtest/gtest.h>

namespace zorbel {
namespace {

TEST(StudyTexts, fallBackToWordsForWhatIsMissing) {
    const StudyIdentity empty{{}, " ", {}, {}, {}};
    EXPECT_EQ(StudyTexts::patientName(empty), QStringLiteral("Unnamed patient"));
    EXPECT_EQ(
        StudyTexts::subtitle(empty, {}),
        QStringLiteral("Unknown modality  ·  Date unavailable  ·  Study UID unavailable"));
    const StudyIdentity study{{}, " 1.2 ", " Doe ", "CT", "20240131"};
    EXPECT_EQ(StudyTexts::patientName(study), QStringLiteral("Doe"));
    EXPECT_EQ(StudyTexts::subtitle(study, {}), QStringLiteral("CT  ·  31 Jan 2024  ·  Study 1.2"));
    EXPECT_EQ(StudyTexts::subtitle(study, "PX"), QStringLiteral("PX  ·  31 Jan 2024  ·  Study 1.2"));
}

TEST(ReportContents, saysHowMuchThereIs) {
    StudyReading reading({});
    EXPECT_EQ(ReportContents::of(reading).text(), "Nothing to add yet");
    reading.setFindings(FindingList({Finding(FindingCategory::Cyst, FindingRegion::Airway)}));
    reading.setKeyImages(
        KeyImageList({{"key-1.png", "", 1, 1}, {"key-2.png", "", 1, 1}, {"key-3.png", "", 1, 1}}));
    EXPECT_EQ(ReportContents::of(reading).text(), "1 finding, 3 key images");
    auto images = reading.keyImages();
    images.setInReport("key-2.png", false);
    reading.setKeyImages(images);
    EXPECT_EQ(ReportContents::of(reading).text(), "1 finding, 2 key images");
}

TEST(OverlayTexts, warnsOfTiltAndLossyCompression) {
    imaging::ImageMetadata metadata;
    EXPECT_TRUE(OverlayTexts::notes(metadata, 0.01).isEmpty());
    metadata.lossy = true;
    EXPECT_EQ(
        OverlayTexts::notes(metadata, -18.53),
        (QStringList{QStringLiteral("Gantry tilt 18.5°"), QStringLiteral("Lossy compression")}));
}

} // namespace
} // namespace zorbel

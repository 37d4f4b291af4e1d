#include "viewer/studies/StudyIdentity.h"
#include "viewer/views/OverlayTexts.h"

#include <gtest/gtest.h>

namespace zorbel {
namespace {

TEST(StudyIdentity, fallsBackToWordsForWhatIsMissing) {
    const StudyIdentity empty(QStringLiteral(" "), QString(), QString(), QString());
    EXPECT_EQ(empty.shownPatientName(), QStringLiteral("Unnamed patient"));
    EXPECT_EQ(
        empty.subtitle(), QStringLiteral("Unknown modality  ·  Date unavailable  ·  Study UID unavailable"));
    const StudyIdentity study(
        QStringLiteral(" 1.2 "), QStringLiteral(" Doe "), QStringLiteral("CT"), QStringLiteral("20240131"));
    EXPECT_EQ(study.shownPatientName(), QStringLiteral("Doe"));
    EXPECT_EQ(study.subtitle(), QStringLiteral("CT  ·  31 Jan 2024  ·  Study 1.2"));
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

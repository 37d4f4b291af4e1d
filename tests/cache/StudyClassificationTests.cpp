#include "cache/StudyClassification.h"

#include <gtest/gtest.h>

namespace zorbel {
namespace {

std::string classified(const char* modality, const char* description, const char* bodyPart = "") {
    const StudyClassification result = StudyClassification::classify(
        QString::fromLatin1(modality), QString::fromLatin1(description), QString::fromLatin1(bodyPart));
    EXPECT_TRUE(StudyClassification::labels().contains(result.label()));
    EXPECT_EQ(result.isPanoramic(), result.label() == QStringLiteral("Panoramic"));
    return result.label().toStdString() + (result.isVolumetric() ? " volume" : " image");
}

TEST(StudyClassification, TextComesBeforeModality) {
    EXPECT_EQ(classified("DX", "PANORAMIC"), "Panoramic image");
    EXPECT_EQ(classified("CT", "CBCT PANO RECON"), "CBCT volume");
    EXPECT_EQ(classified("OT", "Cone beam, lower jaw"), "CBCT volume");
    EXPECT_EQ(classified("CT", "panorama from volume"), "Panoramic image");
    EXPECT_EQ(classified("DX", "lateral Ceph"), "Cephalometric image");
    EXPECT_EQ(classified("DX", "Bitewing left"), "Intraoral image");
}

TEST(StudyClassification, DiseasesAndAnatomyMakeNoProjectionOfAVolume) {
    for (const char* description :
         {"HYDROCEPHALUS", "Encephalon", "MICROCEPHALY", "brachiocephalic", "Cephalocele", "cephalad",
          "TYMPANOMASTOID", "Panophthalmitis", "Hydrocéphalie"}) {
        EXPECT_EQ(classified("CT", description), "CT volume") << description;
        EXPECT_EQ(classified("MR", description), "MRI volume") << description;
    }
    for (const char* description :
         {"CEPH", "CEPHALOGRAM", "LAT CEPH", "lat_ceph", "ceph2", "CEPHALOMETRIC", "Cephalometry", "CEPHAL"})
        for (const char* modality : {"CT", "DX"})
            EXPECT_EQ(classified(modality, description), "Cephalometric image") << description;
    for (const char* description : {"PANO", "PANO RECON", "PANORAMIC", "panorex", "OPG/PANORAMA"})
        EXPECT_EQ(classified("CT", description), "Panoramic image") << description;
    EXPECT_EQ(classified("DX", "LATCEPH"), "Cephalometric image");
}

TEST(StudyClassification, ModalityDecidesOtherwise) {
    EXPECT_EQ(classified("ct", "Head"), "CT volume");
    EXPECT_EQ(classified("MR", "TMJ"), "MRI volume");
    EXPECT_EQ(classified("NM", ""), "PET / Nuclear Medicine volume");
    EXPECT_EQ(classified("PX", ""), "Panoramic image");
    EXPECT_EQ(classified("IO", ""), "Intraoral image");
    EXPECT_EQ(classified("CR", "Hand"), "X-ray image");
    EXPECT_EQ(classified("US", ""), "Ultrasound image");
    EXPECT_EQ(classified("MG", ""), "Mammography image");
    EXPECT_EQ(classified("SC", ""), "Other image");
    // Nothing is known: it may hold slices, which the decoded image tells.
    EXPECT_EQ(classified("", ""), "Other volume");
}

} // namespace
} // namespace zorbel

#include "cache/StudyClassification.h"

#include <gtest/gtest.h>

#include <initializer_list>

namespace zorbel {
namespace {

std::string classified(const char* modality, const char* description) {
    const StudyClassification result =
        StudyClassification::classify(QString::fromLatin1(modality), QString::fromLatin1(description), {});
    EXPECT_TRUE(StudyClassification::labels().contains(result.label()));
    EXPECT_EQ(result.isPanoramic(), result.label() == QStringLiteral("Panoramic"));
    return result.label().toStdString() + (result.isVolumetric() ? " volume" : " image");
}

TEST(StudyClassification, TextComesBeforeModality) {
    struct Case {
        const char *modality, *description, *expected;
    };
    for (const auto& [modality, description, expected] : std::initializer_list<Case>{
             {"CT", "CBCT PANO RECON", "CBCT volume"},
             {"OT", "Cone beam, lower jaw", "CBCT volume"},
             {"CT", "panorama from volume", "Panoramic image"},
             {"DX", "Bitewing left", "Intraoral image"},
             {"ct", "Head", "CT volume"},
             {"MR", "TMJ", "MRI volume"},
             {"NM", "", "PET / Nuclear Medicine volume"},
             {"PX", "", "Panoramic image"},
             {"IO", "", "Intraoral image"},
             {"CR", "Hand", "X-ray image"},
             {"US", "", "Ultrasound image"},
             {"MG", "", "Mammography image"},
             {"SC", "", "Other image"},
             // Nothing is known: it may hold slices, which the decoded image tells.
             {"", "", "Other volume"}})
        EXPECT_EQ(classified(modality, description), expected);
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

} // namespace
} // namespace zorbel

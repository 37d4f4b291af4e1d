#include "imaging/display/ImageOrientation2D.h"

#include <gtest/gtest.h>

using namespace zorbel::imaging;

namespace {

ImageMetadata oriented(const char* row, const char* column) {
    ImageMetadata metadata;
    metadata.patientOrientation = {row, column};
    return metadata;
}

TEST(ImageOrientation2D, Composes) {
    ImageOrientation2D turned;
    turned.mirror();
    turned.flipVertical();
    ImageOrientation2D half;
    half.rotate180();
    EXPECT_EQ(turned, half);
    turned.rotateClockwise();
    turned.rotateClockwise();
    EXPECT_TRUE(turned.isOriginal());
    // What is seen is mirrored, also after a turn.
    ImageOrientation2D first;
    first.rotateClockwise();
    first.mirror();
    ImageOrientation2D second;
    second.mirror();
    second.rotateCounterClockwise();
    EXPECT_EQ(first, second);
    EXPECT_TRUE(first.isMirrored());
    EXPECT_TRUE(first.swapsAxes());
    first.mirror();
    first.rotateCounterClockwise();
    EXPECT_TRUE(first.isOriginal());
}

TEST(ImageOrientation2D, LettersFollowTheImage) {
    const ImageMetadata frontal = oriented("L", "F");
    ImageOrientation2D orientation;
    EXPECT_EQ(orientation.labels(frontal), (OrientationLabels{"R", "L", "H", "F"}));
    orientation.mirror();
    EXPECT_EQ(orientation.labels(frontal), (OrientationLabels{"L", "R", "H", "F"}));
    orientation.rotateClockwise();
    EXPECT_EQ(orientation.labels(frontal), (OrientationLabels{"F", "H", "L", "R"}));
    EXPECT_EQ(orientation.labels(oriented("", "")), OrientationLabels{});
}

TEST(ImageOrientation2D, StandsUprightWhereTheFileSaysHow) {
    // Feet at the bottom from every turn, and never mirrored.
    for (const auto& [row, column] :
         {std::pair{"L", "F"},
          {"R", "F"},
          {"A", "F"},
          {"R", "H"},
          {"F", "R"},
          {"H", "L"},
          {"FP", "A"},
          {"H", "A"}}) {
        const auto upright = ImageOrientation2D::upright(oriented(row, column), 100, 300, true);
        EXPECT_EQ(upright.labels(oriented(row, column)).bottom.substr(0, 1), "F") << row << column;
        EXPECT_FALSE(upright.isMirrored());
    }
    // Without letters only a panoramic image's shape tells.
    EXPECT_TRUE(ImageOrientation2D::upright({}, 4096, 5120, false).isOriginal());
    EXPECT_TRUE(ImageOrientation2D::upright({}, 3000, 1500, true).isOriginal());
    EXPECT_TRUE(ImageOrientation2D::upright({}, 1500, 3000, true).swapsAxes());
    EXPECT_TRUE(ImageOrientation2D::upright(oriented("L", "A"), 1500, 3000, true).isOriginal());
}

} // namespace

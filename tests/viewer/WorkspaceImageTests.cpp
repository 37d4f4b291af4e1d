#include "tests/viewer/ReadingWindowTest.h"

#include "imaging/rendering/ImageView2D.h"
#include "viewer/views/ViewportOverlay.h"

namespace zorbel {
namespace {

class WorkspaceImages : public test::ReadingWindowTest {
protected:
    /// Feet at the lower edge, the patient's right at the left one; brighter to the right and further down.
    static std::shared_ptr<const imaging::Image> picture(int columns, int rows, int components = 1) {
        imaging::ImageMetadata metadata;
        metadata.patientOrientation = {"L", "F"};
        metadata.photometricInterpretation = components == 1 ? "MONOCHROME2" : "RGB";
        const imaging::ImageGeometry geometry(
            {columns, rows, 1}, {0.0, 0.0, 0.0}, {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {1.0, 1.0, 1.0});
        return imaging::test::makeImage<std::uint8_t>(
            geometry, imaging::VoxelType::UInt8,
            [=](int x, int y, int) {
                return 40 + (x / components * 2 >= columns ? 60 : 0) + (y * 2 >= rows ? 120 : 0);
            },
            metadata, components);
    }
    imaging::ImageView2D& view2D() { return *child<imaging::ImageView2D>(QStringLiteral("imageView")); }
    /// The greys of the four quarters as seen: upper left, upper right, lower left, lower right.
    std::array<int, 4> quarters() {
        view2D().setWindow(128.0, 256.0);
        const QImage seen = view2D().grab().toImage();
        const QPoint middle = seen.rect().center();
        std::array<int, 4> greys{};
        for (int quarter = 0; quarter < 4; ++quarter)
            greys.at(static_cast<std::size_t>(quarter)) =
                qRed(seen.pixel(middle + QPoint(quarter & 1 ? 60 : -60, quarter & 2 ? 60 : -60)));
        return greys;
    }
    std::string letters() {
        const auto& shown = view2D().findChild<ViewportOverlay*>()->letters();
        return shown.left + shown.right + shown.top + shown.bottom;
    }
    std::array<std::string, 3> chips() {
        return {text("modeChip"), text("orientationChip"), text("toneChip")};
    }
    void expectQuarters(std::array<int, 4> expected) {
        const auto seen = quarters();
        for (std::size_t quarter = 0; quarter < 4; ++quarter)
            EXPECT_NEAR(seen[quarter], expected[quarter], 1) << quarter;
    }
};

TEST_F(WorkspaceImages, areTurnedAndTonedWithLettersThatFollow) {
    showPicture(picture(300, 300), "DX");
    using Chips = std::array<std::string, 3>;
    EXPECT_EQ(chips(), (Chips{"2D review", "Original orientation", "Normal tones"}));
    EXPECT_EQ(letters(), "RLHF");
    expectQuarters({40, 100, 160, 220});
    const struct {
        const char* button;
        const char* said;
        const char* letters;
        std::array<int, 4> seen;
    } turns[]{
        {"rail-flip-horizontal", "2D orientation: Mirrored left / right", "LRHF", {100, 40, 220, 160}},
        {"rail-flip-vertical", "2D orientation: Rotated 180°", "LRFH", {220, 160, 100, 40}},
        {"rail-flip-horizontal", "2D orientation: Flipped top / bottom", "RLFH", {160, 220, 40, 100}},
        {"rail-rotate-180", "2D orientation: Mirrored left / right", "LRHF", {100, 40, 220, 160}},
        {"rail-invert", "2D view: inverted grayscale", "LRHF", {155, 215, 35, 95}},
        {"rail-flip-horizontal", "2D orientation: Original orientation", "RLHF", {215, 155, 95, 35}}};
    for (const auto& turn : turns) {
        SCOPED_TRACE(turn.said);
        click(turn.button);
        EXPECT_EQ(status(), turn.said);
        EXPECT_EQ(letters(), turn.letters);
        expectQuarters(turn.seen);
    }
    EXPECT_EQ(chips(), (Chips{"2D review", "Original orientation", "Inverted tones"}));
    click("rail-invert");
    press(Qt::Key_I);
    EXPECT_TRUE(child<QToolButton>(QStringLiteral("rail-invert"))->isChecked());
    click("rail-flip-vertical");
    view2D().zoomBy(3.0, {10, 10});
    press(Qt::Key_R, Qt::ShiftModifier);
    EXPECT_EQ(chips(), (Chips{"2D review", "Original orientation", "Normal tones"}));
    EXPECT_FALSE(child<QToolButton>(QStringLiteral("rail-invert"))->isChecked());
    expectQuarters({40, 100, 160, 220});
}

TEST_F(WorkspaceImages, haveOnlyTheToolsThatSuitThem) {
    // What measures and reports is another matter.
    const QStringList known =
        QStringLiteral("window-level scroll pan zoom crosshair rotate slab axial coronal sagittal "
                       "prev next flip-horizontal flip-vertical rotate-180 fit invert reset "
                       "layout-quad layout-single layout-side-by-side layout-primary-plus-three")
            .split(u' ');
    const auto enabled = [&] {
        std::string names;
        for (const QString& name : known)
            if (child<QToolButton>(QStringLiteral("rail-") + name)->isEnabled())
                names += name.toStdString() + " ";
        return names;
    };
    EXPECT_EQ(enabled(), "");
    showVolume();
    EXPECT_EQ(
        enabled(),
        "window-level scroll pan zoom crosshair rotate slab axial coronal sagittal prev next fit reset "
        "layout-quad layout-single layout-side-by-side layout-primary-plus-three ");
    showPicture(picture(80, 60), "DX");
    EXPECT_EQ(enabled(), "window-level pan zoom flip-horizontal flip-vertical rotate-180 fit invert reset ");

    // Colours have no window and no tones to invert.
    showPicture(picture(80, 60, 3), "XC");
    const std::string said = status();
    const QImage before = view2D().grab().toImage();
    press(Qt::Key_1);
    press(Qt::Key_I);
    EXPECT_EQ(view2D().grab().toImage(), before);
    EXPECT_EQ(status(), said);
    EXPECT_EQ(text("toneChip"), "Normal tones");
    EXPECT_FALSE(child<QToolButton>(QStringLiteral("rail-invert"))->isEnabled());
}

TEST_F(WorkspaceImages, hangEachSeriesOfAStudyAsItWas) {
    const StudyIdentity study{{}, "1.4", "Doe", "CT", {}};
    imaging::ImageMetadata metadata;
    metadata.seriesInstanceUID = "1.4.1";
    const auto volume = test::smallVolume(metadata);
    metadata.seriesInstanceUID = "1.4.2";
    metadata.voiTables = {{0.0, 8, {255, 0}, "film"}};
    const auto film = imaging::test::makeImage<std::uint8_t>(
        imaging::ImageGeometry({80, 60, 1}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1}),
        imaging::VoxelType::UInt8, [](int x, int, int) { return x; }, metadata);
    const auto showsTheFilesTable = [this] { return view2D().voi().index() == 1; };

    show(study, volume, "CT", {}, true);
    press(Qt::Key_3);
    press(Qt::Key_M);
    press(Qt::Key_4, Qt::ControlModifier);
    test::settle();
    view(1).zoomBy(2.0, {10.0, 10.0});
    const HangingProtocol hung = reading_->hanging();

    show(study, film, "DX", {}, false);
    EXPECT_TRUE(showsTheFilesTable());
    press(Qt::Key_P); // a tool is no window
    EXPECT_TRUE(showsTheFilesTable());

    show(study, volume, "CT", {}, true);
    test::settle();
    EXPECT_EQ(reading_->hanging(), hung);
    EXPECT_EQ(workspace_->tool(), Tool::Crosshair);
    EXPECT_EQ(view(2).window().width, 400.0);
    EXPECT_EQ(view(2).slabCount(), 5);
    EXPECT_EQ(view(1).millimetresPerPixel(), hung.framings.at(1).scale);
    EXPECT_EQ(layout().layout(), Layout::PrimaryPlusThree);

    show(study, film, "DX", {}, false);
    EXPECT_TRUE(showsTheFilesTable());
    EXPECT_EQ(workspace_->tool(), Tool::Pan);
}

} // namespace
} // namespace zorbel

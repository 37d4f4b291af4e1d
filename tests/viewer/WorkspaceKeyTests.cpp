#include "tests/viewer/ReadingWindowTest.h"

#include "viewer/reading/workspace/ShortcutTable.h"
#include "viewer/views/ViewportOverlay.h"
#include "viewer/window/ShortcutSheet.h"

#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QShortcut>
#include <QSpinBox>

#include <set>

namespace zorbel {
namespace {

class WorkspaceKeys : public test::ReadingWindowTest {
protected:
    QToolButton& button(const char* name) { return *child<QToolButton>(QString::fromLatin1(name)); }
    QString corner(int plane, ViewportOverlay::Corner which) {
        return view(plane).findChild<ViewportOverlay*>()->corner(which).join(u'\n');
    }
};

TEST_F(WorkspaceKeys, areEachBoundOnceAndTakenByTheToolkit) {
    std::set<std::string> bound;
    for (const auto* shortcut : window_->findChildren<QShortcut*>()) {
        const auto key = shortcut->key().toString(QKeySequence::PortableText).toStdString();
        EXPECT_TRUE(bound.insert(key).second) << key;
    }
    for (const auto& binding : ShortcutTable::bindings())
        EXPECT_TRUE(bound.count(std::string(binding.key))) << binding.key;
    press(Qt::Key_F1);
    auto* sheet = window_->findChild<ShortcutSheet*>();
    ASSERT_NE(sheet, nullptr);
    EXPECT_TRUE(window_->rect().contains(sheet->rect()));
}

TEST_F(WorkspaceKeys, setWindowPresetsOfPlanesAndImages) {
    imaging::ImageMetadata metadata;
    metadata.hounsfieldUnits = true;
    showVolume(test::smallVolume(metadata));
    press(Qt::Key_5);
    EXPECT_EQ(status(), "Lung — W: 1500  L: -600");
    for (int plane = 0; plane < 3; ++plane) {
        EXPECT_EQ(view(plane).window().width, 1500.0);
        EXPECT_EQ(view(plane).window().center, -600.0);
        EXPECT_EQ(corner(plane, ViewportOverlay::BottomLeft), QStringLiteral("W: 1500  L: -600  HU"));
    }
    showPicture(test::smallVolume({}, 1), "DX");
    press(Qt::Key_9);
    EXPECT_EQ(
        child<QWidget>(QStringLiteral("imageView"))
            ->findChild<ViewportOverlay*>()
            ->corner(ViewportOverlay::BottomLeft),
        QStringList(QStringLiteral("W: 4000  L: 1000")));
}

TEST_F(WorkspaceKeys, chooseToolsPlanesAndWhatIsShown) {
    showVolume();
    const struct {
        Qt::Key key;
        Tool tool;
        const char* button;
        const char* said;
    } tools[]{
        {Qt::Key_W, Tool::WindowLevel, "rail-window-level", nullptr},
        {Qt::Key_R, Tool::Rotate, "rail-rotate", "MPR rotation mode enabled"},
        {Qt::Key_P, Tool::Pan, "rail-pan", nullptr},
        {Qt::Key_Z, Tool::Zoom, "rail-zoom", nullptr},
        {Qt::Key_C, Tool::Crosshair, nullptr, "MPR crosshair mode enabled"}};
    for (const auto& example : tools) {
        SCOPED_TRACE(example.key);
        press(example.key);
        EXPECT_EQ(workspace_->tool(), example.tool);
        for (const auto& other : tools) {
            if (other.button) {
                EXPECT_EQ(button(other.button).isChecked(), other.button == example.button);
            }
        }
        if (example.said) {
            EXPECT_EQ(status(), example.said);
        }
    }
    const struct {
        Qt::Key key;
        const char* button;
        const char* said;
    } planes[]{
        {Qt::Key_D, "rail-coronal", "Active plane: Coronal"},
        {Qt::Key_S, "rail-sagittal", "Active plane: Sagittal"},
        {Qt::Key_A, "rail-axial", "Active plane: Axial"}};
    for (const auto& example : planes) {
        press(example.key);
        EXPECT_EQ(status(), example.said);
        EXPECT_TRUE(button(example.button).isChecked());
        QTest::mouseClick(&button(example.button), Qt::LeftButton);
        EXPECT_EQ(status(), example.said);
        EXPECT_TRUE(button(example.button).isChecked());
    }
    for (const bool shown : {false, true}) {
        press(Qt::Key_X);
        EXPECT_EQ(status(), shown ? "MPR crosshair enabled" : "MPR crosshair disabled");
        EXPECT_EQ(button("rail-crosshair").isChecked(), shown);
        press(Qt::Key_H);
        for (int plane = 0; plane < 3; ++plane) {
            EXPECT_EQ(guideOf(plane).view().linesVisible, shown);
            EXPECT_EQ(view(plane).findChild<ViewportOverlay*>()->isVisible(), shown);
        }
    }
}

TEST_F(WorkspaceKeys, thickenTheSlabWithinItsLimits) {
    showVolume();
    press(Qt::Key_M);
    EXPECT_EQ(status(), "MPR thick slab enabled (5 slices on Axial)");
    EXPECT_EQ(text("slabText"), "Thick slab: 5 slices");
    EXPECT_TRUE(button("rail-slab").isChecked());
    press(Qt::Key_D);
    press(Qt::Key_Plus);
    EXPECT_EQ(status(), "MPR thick slab enabled (7 slices on Coronal)");
    press(Qt::Key_S);
    press(Qt::Key_Equal);
    EXPECT_EQ(status(), "MPR thick slab enabled (9 slices on Sagittal)");
    const std::array lines{"Thk: 10.80 mm (9)", "Thk: 8.10 mm (9)", "Thk: 7.20 mm (9)"};
    for (int plane = 0; plane < 3; ++plane) {
        EXPECT_EQ(view(plane).slabCount(), 9);
        EXPECT_TRUE(corner(plane, ViewportOverlay::BottomRight)
                        .endsWith(QString::fromLatin1(lines.at(static_cast<std::size_t>(plane)))));
    }
    press(Qt::Key_Minus);
    EXPECT_EQ(mpr().slab().sliceCount(), 7);
    for (int times = 0; times < 30; ++times)
        press(Qt::Key_Minus);
    EXPECT_EQ(status(), "MPR thick slab enabled (3 slices on Sagittal)");
    for (int times = 0; times < 30; ++times)
        press(Qt::Key_Equal);
    EXPECT_EQ(status(), "MPR thick slab enabled (51 slices on Sagittal)");
    EXPECT_EQ(child<QSpinBox>(QStringLiteral("slabCount"))->value(), 51);

    auto& modes = *child<QComboBox>(QStringLiteral("slabMode"));
    modes.setFocus();
    QStringList names;
    for (int mode = 0; mode < modes.count(); ++mode) {
        names += modes.itemText(mode);
        modes.setCurrentIndex(mode);
        Q_EMIT modes.activated(mode); // as a choice in the list does
        EXPECT_EQ(view(2).slabMode(), static_cast<imaging::SlabMode>(mode));
    }
    EXPECT_EQ(names.join(u' '), QStringLiteral("MIP Average MinIP Sum"));
    press(Qt::Key_M);
    EXPECT_EQ(status(), "MPR thick slab disabled");
    EXPECT_EQ(text("slabText"), "Single slice");
    EXPECT_FALSE(corner(0, ViewportOverlay::BottomRight).contains(QStringLiteral("Thk")));
}

TEST_F(WorkspaceKeys, areTheFieldsOwnWhileOneTypes) {
    showVolume();
    press(Qt::Key_P);
    auto& search = *child<QLineEdit>(QStringLiteral("studySearch"));
    search.setFocus();
    const auto window = view(0).window();
    const double position = view(0).navigation().slicePosition();
    QTest::keyClicks(&search, QStringLiteral("Wcr x15+-=? MHIFL"));
    EXPECT_EQ(search.text(), QStringLiteral("Wcr x15+-=? MHIFL"));
    for (const Qt::Key key : {Qt::Key_Left, Qt::Key_Left, Qt::Key_Right, Qt::Key_Backspace})
        press(key);
    EXPECT_EQ(search.text(), QStringLiteral("Wcr x15+-=? MHIL"));
    press(Qt::Key_Home);
    press(Qt::Key_Delete);
    EXPECT_EQ(search.text(), QStringLiteral("cr x15+-=? MHIL"));
    EXPECT_EQ(workspace_->tool(), Tool::Pan);
    EXPECT_EQ(view(0).window().width, window.width);
    EXPECT_FALSE(mpr().slab().isEnabled());
    EXPECT_EQ(view(0).navigation().slicePosition(), position);
    EXPECT_EQ(window_->findChild<ShortcutSheet*>(), nullptr);

    // The slab's count takes digits; letters are still the tools'.
    auto& count = *child<QSpinBox>(QStringLiteral("slabCount"));
    press(Qt::Key_1, Qt::ControlModifier);
    press(Qt::Key_Escape);
    workspace_->setFocus();
    press(Qt::Key_M);
    QTest::mouseClick(&count, Qt::LeftButton);
    count.selectAll();
    press(Qt::Key_4);
    EXPECT_EQ(mpr().slab().sliceCount(), 5); // not before it is all there
    press(Qt::Key_1);
    press(Qt::Key_Return);
    EXPECT_EQ(mpr().slab().sliceCount(), 41);
    EXPECT_EQ(view(0).window().width, window.width);
    EXPECT_FALSE(count.hasFocus());
    count.setFocus();
    count.selectAll();
    press(Qt::Key_8);
    press(Qt::Key_W);
    EXPECT_EQ(workspace_->tool(), Tool::WindowLevel);
    press(Qt::Key_Escape);
    EXPECT_EQ(count.value(), 41);
    EXPECT_FALSE(count.hasFocus());
}

TEST_F(WorkspaceKeys, workWhereverElseTheFocusIs) {
    showVolume();
    for (const char* name : {"studyList", "rail-pan", "slabMode", "volumePreset", "axialView"}) {
        SCOPED_TRACE(name);
        auto& widget = *child<QWidget>(QString::fromLatin1(name));
        widget.setFocus();
        EXPECT_TRUE(widget.hasFocus());
        press(Qt::Key_C);
        press(Qt::Key_W);
        EXPECT_EQ(workspace_->tool(), Tool::WindowLevel);
        press(Qt::Key_5);
        EXPECT_EQ(status(), "Lung — W: 1500  L: -600");
        press(Qt::Key_Space);
        EXPECT_EQ(status(), "Axial maximised");
        press(Qt::Key_Space);
        const double position = view(0).navigation().slicePosition();
        press(Qt::Key_Right);
        EXPECT_EQ(view(0).navigation().slicePosition(), position + 1.0);
    }
    // What one holds down steps on, but does not flicker.
    for (const auto* shortcut : window_->findChildren<QShortcut*>()) {
        const QString key = shortcut->key().toString(QKeySequence::PortableText);
        EXPECT_EQ(
            shortcut->autoRepeat(),
            QStringLiteral("Left Right Up Down PgUp PgDown + = -").split(u' ').contains(key))
            << key.toStdString();
    }
}

TEST_F(WorkspaceKeys, giveThePointerTheShapeOfTheTool) {
    const auto shapes = [this] {
        std::vector<QWidget*> all;
        for (int plane = 0; plane < 3; ++plane)
            all.push_back(&tools(plane));
        all.push_back(child<QWidget>(QStringLiteral("volumeView")));
        return all;
    };
    for (auto* widget : shapes())
        EXPECT_FALSE(widget->testAttribute(Qt::WA_SetCursor));
    showVolume();
    std::vector<QImage> icons;
    for (const int tool : {0, 1, 3, 4, 5}) {
        workspace_->perform(ReadingAction::SelectTool, tool);
        const QImage icon = tools(1).cursor().pixmap().toImage();
        EXPECT_FALSE(icon.isNull());
        for (const QImage& other : icons)
            EXPECT_NE(icon, other);
        icons.push_back(icon);
        for (auto* widget : shapes())
            EXPECT_EQ(widget->cursor().shape(), Qt::BitmapCursor);
    }
    press(Qt::Key_P);
    for (auto* widget : shapes())
        EXPECT_EQ(widget->cursor().shape(), Qt::OpenHandCursor);
    for (auto* widget : {static_cast<QWidget*>(&tools(0)), child<QWidget>(QStringLiteral("volumeView"))}) {
        mouse(*widget, QEvent::MouseButtonPress, {40, 90});
        EXPECT_EQ(widget->cursor().shape(), Qt::ClosedHandCursor);
        mouse(*widget, QEvent::MouseButtonRelease, {40, 90});
        EXPECT_EQ(widget->cursor().shape(), Qt::OpenHandCursor);
        widget->setCursor(Qt::ForbiddenCursor);
        QEnterEvent enter({5, 5}, {5, 5}, {5, 5});
        QApplication::sendEvent(widget, &enter);
        EXPECT_EQ(widget->cursor().shape(), Qt::OpenHandCursor);
    }
    workspace_->reset();
    for (auto* widget : shapes())
        EXPECT_FALSE(widget->testAttribute(Qt::WA_SetCursor));
}

} // namespace
} // namespace zorbel

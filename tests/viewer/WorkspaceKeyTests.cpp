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
#include <tuple>

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

TEST_F(WorkspaceKeys, choosePlanesAndWhatIsShown) {
    showVolume();
    const std::tuple<Qt::Key, const char*, const char*> planes[]{
        {Qt::Key_D, "rail-coronal", "Active plane: Coronal"},
        {Qt::Key_S, "rail-sagittal", "Active plane: Sagittal"},
        {Qt::Key_A, "rail-axial", "Active plane: Axial"}};
    for (const auto& [key, name, said] : planes) {
        press(key);
        EXPECT_EQ(status(), said);
        EXPECT_TRUE(button(name).isChecked());
    }
    for (const bool shown : {false, true}) {
        press(Qt::Key_X);
        EXPECT_EQ(button("rail-crosshair").isChecked(), shown);
        press(Qt::Key_H);
        for (int plane = 0; plane < 3; ++plane) {
            EXPECT_EQ(guideOf(plane).view().linesVisible, shown);
            EXPECT_EQ(view(plane).findChild<ViewportOverlay*>()->isVisible(), shown);
        }
    }
}

TEST_F(WorkspaceKeys, thickenTheSlabOfEveryPlane) {
    showVolume();
    press(Qt::Key_M);
    press(Qt::Key_D);
    press(Qt::Key_Plus);
    press(Qt::Key_Equal);
    EXPECT_EQ(status(), "MPR thick slab enabled (9 slices on Coronal)");
    const std::array lines{"Thk: 10.80 mm (9)", "Thk: 8.10 mm (9)", "Thk: 7.20 mm (9)"};
    for (int plane = 0; plane < 3; ++plane) {
        EXPECT_EQ(view(plane).slabCount(), 9);
        EXPECT_TRUE(corner(plane, ViewportOverlay::BottomRight)
                        .endsWith(QString::fromLatin1(lines.at(static_cast<std::size_t>(plane)))));
    }
    press(Qt::Key_Minus);
    EXPECT_EQ(child<QSpinBox>(QStringLiteral("slabCount"))->value(), 7);
    auto& modes = *child<QComboBox>(QStringLiteral("slabMode"));
    QStringList names;
    for (int mode = 0; mode < modes.count(); ++mode) {
        names += modes.itemText(mode);
        Q_EMIT modes.activated(mode); // as a choice in the list does
        EXPECT_EQ(view(2).slabMode(), static_cast<imaging::SlabMode>(mode));
    }
    EXPECT_EQ(names.join(u' '), QStringLiteral("MIP Average MinIP Sum"));
    press(Qt::Key_M);
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
    showVolume();
    auto& volume = *child<QWidget>(QStringLiteral("volumeView"));
    press(Qt::Key_W);
    for (QWidget* widget : std::initializer_list<QWidget*>{&tools(0), &volume}) {
        EXPECT_EQ(widget->cursor().shape(), Qt::BitmapCursor);
        press(Qt::Key_P);
        mouse(*widget, QEvent::MouseButtonPress, {40, 90});
        EXPECT_EQ(widget->cursor().shape(), Qt::ClosedHandCursor);
        mouse(*widget, QEvent::MouseButtonRelease, {40, 90});
        EXPECT_EQ(widget->cursor().shape(), Qt::OpenHandCursor);
        press(Qt::Key_W);
    }
    workspace_->reset();
    EXPECT_FALSE(tools(0).testAttribute(Qt::WA_SetCursor) || volume.testAttribute(Qt::WA_SetCursor));
}

} // namespace
} // namespace zorbel

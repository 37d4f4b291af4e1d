#include "tests/viewer/ReadingWindowTest.h"

#include "viewer/widgets/ElidedLabel.h"
#include "viewer/window/MainToolBar.h"
#include "viewer/workspace/ViewportFrame.h"

#include <QGridLayout>
#include <QMainWindow>

#include <map>

namespace zorbel {
namespace {

using imaging::Vector3;
using test::expectNear;

class WorkspaceLayouts : public test::ReadingWindowTest {
protected:
    std::array<ViewportFrame*, 4> frames() {
        std::array<ViewportFrame*, 4> found{};
        const char* names[]{"axialViewport", "coronalViewport", "sagittalViewport", "volumeViewport"};
        for (std::size_t index = 0; index < 4; ++index)
            found[index] = child<ViewportFrame>(QString::fromLatin1(names[index]));
        return found;
    }
    QWidget& grid() { return *child<QWidget>(QStringLiteral("axialViewport"))->parentWidget(); }
    /// "A0011 C0111": row, column, row span, column span of what is visible, then the stretches.
    std::string cells() {
        auto* layout = qobject_cast<QGridLayout*>(grid().layout());
        std::string shown;
        const auto all = frames();
        for (std::size_t index = 0; index < 4; ++index) {
            const int at = layout->indexOf(all[index]);
            EXPECT_EQ(at >= 0, all[index]->isVisibleTo(&grid()));
            if (at < 0)
                continue;
            std::array<int, 4> cell{};
            layout->getItemPosition(at, &cell[0], &cell[1], &cell[2], &cell[3]);
            shown += "ACSV"[index];
            for (const int number : cell)
                shown += std::to_string(number);
            shown += ' ';
        }
        shown += "r";
        for (int row = 0; row < layout->rowCount(); ++row)
            if (layout->rowStretch(row) > 0)
                shown += std::to_string(layout->rowStretch(row));
        shown += " c";
        for (int column = 0; column < layout->columnCount(); ++column)
            if (layout->columnStretch(column) > 0)
                shown += std::to_string(layout->columnStretch(column));
        return shown;
    }
    void activate(int viewport) {
        if (viewport == VolumeViewport)
            mouse(*child<QWidget>(QStringLiteral("volumeView")), QEvent::MouseButtonPress, {20, 60});
        else
            press(std::array{Qt::Key_A, Qt::Key_D, Qt::Key_S}.at(static_cast<std::size_t>(viewport)));
    }
    void expectAllInSight(const std::string& where) {
        SCOPED_TRACE(where);
        test::settle();
        const auto all = frames();
        for (std::size_t index = 0; index < 4; ++index) {
            if (!all[index]->isVisible())
                continue;
            EXPECT_TRUE(grid().rect().contains(all[index]->geometry())) << index;
            EXPECT_EQ(all[index]->visibleRegion().boundingRect(), all[index]->rect()) << index;
            const QWidget& picture = *all[index]->findChild<QWidget*>(QStringLiteral("%1View").arg(
                index < 3 ? planeName(static_cast<int>(index)) : QStringLiteral("volume")));
            EXPECT_GE(picture.width(), 260) << index;
            EXPECT_GE(picture.height(), layout().layout() == Layout::PrimaryPlusThree ? 130 : 220) << index;
            EXPECT_TRUE(all[index]->rect().contains(picture.geometry())) << index;
            for (std::size_t other = 0; other < index; ++other)
                EXPECT_FALSE(
                    all[other]->isVisible() && all[other]->geometry().intersects(all[index]->geometry()));
        }
        for (const char* name : {"viewerHeader", "viewerToolRailContent", "studySearch", "mainToolBar"}) {
            const auto& part = *child<QWidget>(QString::fromLatin1(name));
            EXPECT_EQ(part.visibleRegion().boundingRect(), part.rect()) << name;
        }
    }
};

TEST_F(WorkspaceLayouts, putEachViewportIntoItsCell) {
    showVolume();
    EXPECT_EQ(text("layoutChip"), "Layout 2x2");
    const std::string quad = "A0011 C0111 S1011 V1111 r11 c11";
    const std::array<std::array<std::string, 4>, 4> expected{{
        {quad, quad, quad, quad},
        {"A0011 r1 c1", "C0011 r1 c1", "S0011 r1 c1", "A0011 r1 c1"},
        {"A0011 C0111 r1 c11", "C0011 S0111 r1 c11", "A0111 S0011 r1 c11", "A0011 C0111 r1 c11"},
        {"A0031 C0111 S1111 V2111 r111 c31", "A0111 C0031 S1111 V2111 r111 c31",
         "A0111 C1111 S0031 V2111 r111 c31", "A0031 C0111 S1111 V2111 r111 c31"},
    }};
    const std::array labels{"Layout 2x2", "Layout 1x1", "Layout 1x2", "Layout 1+3"};
    const std::array buttons{
        "rail-layout-quad", "rail-layout-single", "rail-layout-side-by-side",
        "rail-layout-primary-plus-three"};
    for (std::size_t active = 0; active < 4; ++active) {
        for (std::size_t layout = 0; layout < 4; ++layout) {
            for (const bool byKey : {true, false}) {
                SCOPED_TRACE(testing::Message() << active << " in " << labels[layout]);
                press(Qt::Key_1, Qt::ControlModifier);
                activate(static_cast<int>(active));
                if (byKey)
                    press(static_cast<Qt::Key>(Qt::Key_1 + static_cast<int>(layout)), Qt::ControlModifier);
                else
                    click(buttons[layout]);
                EXPECT_EQ(cells(), expected[layout][active]);
                EXPECT_EQ(text("layoutChip"), labels[layout]);
                for (std::size_t button = 0; button < 4; ++button)
                    EXPECT_EQ(
                        child<QToolButton>(QString::fromLatin1(buttons[button]))->isChecked(),
                        button == layout);
            }
        }
    }
}

TEST_F(WorkspaceLayouts, maximiseAndRestoreByKeyAndDoubleClick) {
    showVolume();
    press(Qt::Key_3, Qt::ControlModifier);
    activate(CoronalViewport);
    press(Qt::Key_Space);
    EXPECT_EQ(cells(), "C0011 r1 c1");
    press(Qt::Key_Space);
    EXPECT_EQ(cells(), "C0011 S0111 r1 c11"); // the restored layout is built around the coronal view

    // Also over the crosshair's centre and with the tools that take every press.
    for (const Qt::Key tool : {Qt::Key_C, Qt::Key_P, Qt::Key_Z, Qt::Key_R, Qt::Key_W}) {
        SCOPED_TRACE(tool);
        press(tool);
        for (int plane = 0; plane < 3; ++plane) {
            press(Qt::Key_1, Qt::ControlModifier);
            press(Qt::Key_Home);
            doubleClick(tools(plane), crosshairIn(plane));
            EXPECT_EQ(cells(), std::string(1, "ACS"[plane]) + "0011 r1 c1");
            EXPECT_EQ(layout().activeViewport(), plane);
            QTest::qWait(1);
            doubleClick(tools(plane), crosshairIn(plane));
            EXPECT_EQ(cells(), "A0011 C0111 S1011 V1111 r11 c11");
        }
    }
    click("volumeMaximise");
    EXPECT_EQ(cells(), "V0011 r1 c1");
}

TEST_F(WorkspaceLayouts, leaveTheCrosshairWhereItIs) {
    showVolume();
    drag(tools(0), {crosshairIn(0), crosshairIn(0) + QPointF(40, -25)});
    turnWheel(tools(0), 5);
    const Vector3 point = crosshair();
    const auto check = [&](const char* where) {
        SCOPED_TRACE(where);
        test::settle();
        EXPECT_EQ(crosshair(), point);
        for (int plane = 0; plane < 3; ++plane) {
            EXPECT_NEAR(view(plane).navigation().plane().signedDistance(point), 0.0, 1e-9);
            if (!view(plane).isVisible())
                continue;
            const auto& drawn = guideOf(plane).view();
            expectNear(QPointF(drawn.center.x, drawn.center.y), crosshairIn(plane), 1e-9);
            EXPECT_EQ(tools(plane).size(), view(plane).size());
            EXPECT_EQ(QSizeF(drawn.width, drawn.height), QSizeF(view(plane).size()));
            // Fitted: the volume's middle is the view's.
            const auto& geometry = view(plane).image()->geometry();
            expectNear(
                view(plane).worldToWidget(geometry.center()),
                QPointF(view(plane).width(), view(plane).height()) / 2.0);
        }
    };
    for (const Qt::Key key : {Qt::Key_1, Qt::Key_2, Qt::Key_3, Qt::Key_4}) {
        press(key, Qt::ControlModifier);
        check("layout");
    }
    press(Qt::Key_S);
    press(Qt::Key_Space);
    check("maximised");
    window_->resize(1250, 780);
    check("smaller");
    press(Qt::Key_Space);
    check("restored");
    click("toolbar-studies");
    check("without the list");
    click("volumeMaximise");
    click("volumeMaximise");
    check("after 3D");
}

TEST_F(WorkspaceLayouts, fitEveryWindowSize) {
    showVolume();
    for (const QSize& size : {QSize(1100, 700), QSize(1920, 1080), QSize(1100, 700)}) {
        window_->resize(size);
        for (int active = 0; active < 3; ++active) {
            activate(active);
            for (const Qt::Key key : {Qt::Key_1, Qt::Key_2, Qt::Key_3, Qt::Key_4}) {
                press(key, Qt::ControlModifier);
                expectAllInSight(
                    std::to_string(size.width()) + " wide, active " + std::to_string(active) + ", " +
                    text("layoutChip"));
            }
        }
        click("volumeMaximise");
        expectAllInSight("3D alone");
        EXPECT_GE(child<QWidget>(QStringLiteral("volumeView"))->height(), 320);
        click("volumeMaximise");
        EXPECT_EQ(window_->size(), size);
    }
}

TEST_F(WorkspaceLayouts, areNoMatterOf2DImagesAndEmptyWindows) {
    const auto unchanged = [this](const char* mode) {
        SCOPED_TRACE(mode);
        const std::string before = cells();
        const std::string said = status();
        for (const Qt::Key key : {Qt::Key_1, Qt::Key_2, Qt::Key_3, Qt::Key_4})
            press(key, Qt::ControlModifier);
        for (const Qt::Key key :
             {Qt::Key_Space, Qt::Key_M, Qt::Key_Plus, Qt::Key_Minus, Qt::Key_Home, Qt::Key_A})
            press(key);
        EXPECT_EQ(cells(), before);
        EXPECT_EQ(status(), said);
        EXPECT_EQ(text("layoutChip"), "");
    };
    unchanged("empty");
    showVolume();
    press(Qt::Key_4, Qt::ControlModifier);
    press(Qt::Key_M);
    EXPECT_EQ(text("slabText"), "Thick slab: 5 slices");
    showPicture(test::smallVolume({}, 1), "DX");
    EXPECT_EQ(text("slabText"), "Single slice");
    unchanged("2D");
}

TEST_F(WorkspaceLayouts, keepNothingOfTheStudiesBefore) {
    const auto count = [this] {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return window_->findChildren<QObject*>().size();
    };
    std::map<int, qsizetype> objects;
    for (int study = 0; study < 20; ++study) {
        auto image = test::smallVolume({}, study % 2 == 0 ? 12 : 1);
        const std::weak_ptr<const imaging::Image> alive = image;
        if (study % 2 == 0)
            showVolume(image);
        else
            showPicture(image, "DX");
        press(Qt::Key_4, Qt::ControlModifier);
        press(Qt::Key_2);
        image.reset();
        workspace_->reset();
        reading_->showNothing();
        EXPECT_TRUE(test::waitFor([&] { return alive.expired(); })) << study;
        if (study < 4)
            objects[study % 2] = count();
        else
            EXPECT_EQ(count(), objects[study % 2]) << study;
    }
}

TEST_F(WorkspaceLayouts, cutLongNamesSoThatTheSignOutStaysInSight) {
    UserProfile profile;
    profile.name = QStringLiteral("Prof. Dr. Dr. ") + QString(200, QLatin1Char('W'));
    QMainWindow window;
    window.addToolBar(new MainToolBar(profile, QStringLiteral("http://127.0.0.1:9")));
    window.resize(1100, 700);
    window.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&window, test::patienceMs));
    test::settle();
    const auto* button = window.findChild<QToolButton*>(QStringLiteral("toolbar-signout"));
    EXPECT_EQ(button->visibleRegion().boundingRect(), button->rect());
    const auto* who = window.findChild<ElidedLabel*>(QStringLiteral("identityText"));
    EXPECT_TRUE(who->shownText().startsWith(QStringLiteral("Prof. Dr.")));
    EXPECT_TRUE(who->shownText().endsWith(QChar(0x2026)));
}

} // namespace
} // namespace zorbel

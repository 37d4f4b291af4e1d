#include "tests/viewer/ReadingWindowTest.h"

#include "viewer/image/ImageMode.h"
#include "viewer/workspace/ViewportFrame.h"

#include <QPainter>
#include <QPointer>
#include <QTimer>

#include <set>
#include <tuple>

namespace zorbel {
namespace {

/// Marks where the button went down.
class MarkTool : public ViewTool {
public:
    MarkTool() : ViewTool(Tool::Probe) {}
    bool press(ToolTarget&, const Pointer& pointer) override {
        presses.push_back(pointer.position);
        return false;
    }
    void paint(const ToolTarget&, QPainter& painter) const override {
        for (const QPointF& at : presses)
            painter.fillRect(QRectF(at - QPointF(3, 3), QSizeF(6, 6)), Qt::red);
    }
    std::vector<QPointF> presses;
};

/// As small as a mode can be: photographs, each a plain grey, in viewports of one tool.
class PhotoMode : public ReadingMode, public ToolTarget {
public:
    explicit PhotoMode(ViewportSet set) : ReadingMode(std::move(set)) {
        for (int viewport = 0; viewport < static_cast<int>(layout().viewports().size()); ++viewport) {
            views.push_back(new QLabel);
            layers.push_back(new ToolLayer(views.back(), *this));
            frames_.push_back(new ViewportFrame(QStringLiteral("PHOTO"), Qt::gray, views.back()));
            connect(layers.back(), &ToolLayer::pressed, this, [this, viewport] {
                Q_EMIT viewportPressed(viewport);
                reading->editHanging([viewport](auto& hanging) { hanging.framings[viewport] = {2.0, {}}; });
            });
        }
    }
    ViewMode viewMode() const override { return ViewMode::TwoD; }
    std::vector<ViewportFrame*> frames() const override { return frames_; }
    bool canShow(const StudySeries& series) const override { return series.modality == "XC"; }
    void show(const std::shared_ptr<StudyReading>& shown) override {
        reading = shown;
        const int grey = static_cast<int>(reading->shown().image->valueAt(0, 0, 0));
        for (QWidget* view : views)
            view->setStyleSheet(QStringLiteral("background: rgb(%1, %1, %1)").arg(grey));
        QTimer::singleShot(0, this, &ReadingMode::imageDrawn);
    }
    void clear() override {
        reading.reset();
        for (ToolLayer* layer : layers)
            layer->setTools(nullptr, {});
    }
    ModeControls controls() const override {
        ModeControls controls;
        controls.tools = {Tool::Probe};
        controls.actions = {ReadingAction::Mirror};
        return controls;
    }
    void setTool(Tool tool) override {
        for (ToolLayer* layer : layers)
            layer->setTools(tool == Tool::Probe ? &marks : nullptr, {&marks});
    }
    void perform(ReadingAction action, int) override { performed.push_back(action); }
    void setOverlaysShown(bool) override {}
    void setFramings(const std::map<int, HangingProtocol::Framing>& asked) override { framings = asked; }
    std::optional<ModeCapture> capture() override {
        const auto active = static_cast<std::size_t>(layout().activeViewport());
        return ModeCapture{views[active]->grab(), {layout().viewports()[active].name, {}, {}}};
    }
    bool shows(const Measurement&) const override { return false; }
    std::optional<int> showMeasurement(const Measurement&) override { return std::nullopt; }

    bool showsImage() const override { return reading != nullptr; }
    void panBy(const QPointF&) override {}
    void zoomBy(double, const QPointF&) override {}
    void step(double) override {}
    double pixelsPerSlice() const override { return 1.0; }
    std::optional<WindowDrag> beginWindowDrag() const override { return std::nullopt; }
    void dragWindow(const imaging::LevelWindow&) override {}
    MeasurementView measurementView() const override { return {}; }

    std::shared_ptr<StudyReading> reading;
    MarkTool marks;
    std::vector<QWidget*> views;
    std::vector<ToolLayer*> layers;
    std::vector<ReadingAction> performed;
    std::map<int, HangingProtocol::Framing> framings;

private:
    std::vector<ViewportFrame*> frames_;
};

/// All series are of one study.
class WorkspaceModes : public test::ReadingWindowTest {
protected:
    PhotoMode& join(ViewportSet viewports) {
        auto mode = std::make_unique<PhotoMode>(std::move(viewports));
        PhotoMode& joined = *mode;
        workspace_->addMode(std::move(mode));
        return joined;
    }
    void showSeries(const char* modality, bool volumetric = false) {
        imaging::ImageMetadata metadata;
        metadata.seriesInstanceUID = std::string("1.2.") + modality;
        const imaging::ImageGeometry flat({60, 40, 1}, {}, {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {1.0, 1.0, 1.0});
        show(
            {{}, "1.2", "Doe", "CT", {}},
            volumetric
                ? test::smallVolume(metadata)
                : imaging::test::makeImage<std::uint8_t>(
                      flat, imaging::VoxelType::UInt8, [](int x, int, int) { return 90 + x; }, metadata),
            modality, {}, volumetric);
        test::settle();
    }
    std::set<std::string> enabledOnRail() {
        std::set<std::string> enabled;
        for (const auto* button : workspace_->findChildren<QToolButton*>())
            if (button->objectName().startsWith(QStringLiteral("rail-")) && button->isEnabled())
                enabled.insert(button->objectName().mid(5).toStdString());
        return enabled;
    }
    QColor captured(const QPointF& at) {
        const auto capture = workspace_->captureActiveViewport();
        return capture ? capture->picture.toImage().pixelColor(at.toPoint()) : QColor();
    }
    /// All that the reader sees of the mode that shows the series.
    auto lookAt(const char* modality, bool volumetric) {
        showSeries(modality, volumetric);
        const ModeControls controls = workspace_->mode()->controls();
        return std::tuple(
            workspace_->mode(), controls.tools, controls.actions, controls.markedPlane, enabledOnRail(),
            text("studyChip") + text("modeChip") + text("layoutChip"), workspace_->tool(),
            workspace_->captureActiveViewport()->picture.toImage());
    }
};

TEST_F(WorkspaceModes, joinAndLeaveTheOthersAsTheyAre) {
    const auto volume = lookAt("CT", true);
    const auto picture = lookAt("DX", false);
    PhotoMode& photos = join({{"Photo"}});
    showSeries("XC");
    ASSERT_EQ(workspace_->mode(), &photos);
    EXPECT_EQ(
        enabledOnRail(),
        (std::set<std::string>{"probe", "flip-horizontal", "report", "findings", "key-images"}));
    EXPECT_EQ(captured({30, 30}), QColor(90, 90, 90));
    press(Qt::Key_B);
    press(Qt::Key_3, Qt::ControlModifier); // there is nothing to lay out
    mouse(*photos.layers[0], QEvent::MouseButtonPress, {30, 30});
    EXPECT_EQ(photos.marks.presses, std::vector<QPointF>{QPointF(30, 30)});
    EXPECT_EQ(captured({30, 30}), QColor(Qt::red));
    click("rail-flip-horizontal");
    EXPECT_EQ(photos.performed, std::vector{ReadingAction::Mirror});

    EXPECT_EQ(lookAt("CT", true), volume);
    EXPECT_EQ(photos.reading, nullptr) << "what is not shown holds no image";
    EXPECT_EQ(lookAt("DX", false), picture);
}

TEST_F(WorkspaceModes, getLayoutsCaptureAndHanging) {
    PhotoMode& photos = join({{"Before", true, 1}, {"After", true, 0}});
    showSeries("XC");
    // Which of them is seen, and whether the second one first.
    const auto cells = [seen = photos.frames()] {
        test::settle();
        return std::array{
            seen[0]->isVisible(), seen[1]->isVisible(), seen[0]->isVisible() && seen[1]->x() < seen[0]->x()};
    };
    using Cells = std::array<bool, 3>;
    press(Qt::Key_B);
    mouse(*photos.layers[1], QEvent::MouseButtonPress, {40, 40});
    EXPECT_EQ(workspace_->captureActiveViewport()->view.name, "After");
    EXPECT_EQ(captured({40, 40}), QColor(Qt::red));
    const std::array<Cells, 4> expected{
        {{true, true, false}, {false, true, false}, {true, true, true}, {true, true, true}}};
    for (std::size_t layout = 0; layout < 4; ++layout) {
        press(static_cast<Qt::Key>(Qt::Key_1 + static_cast<int>(layout)), Qt::ControlModifier);
        EXPECT_EQ(cells(), expected[layout]) << layout;
    }
    press(Qt::Key_3, Qt::ControlModifier);
    for (const bool maximised : {true, false}) {
        press(Qt::Key_Space);
        EXPECT_EQ(cells(), expected[maximised ? 1 : 2]);
    }

    showSeries("CT", true);
    press(Qt::Key_1, Qt::ControlModifier);
    press(Qt::Key_C);
    photos.framings.clear();
    showSeries("XC");
    EXPECT_EQ(workspace_->tool(), Tool::Probe);
    EXPECT_EQ(layout().layout(), Layout::SideBySide);
    EXPECT_EQ(cells(), expected[2]);
    EXPECT_EQ(photos.framings.count(1), 1u);
}

TEST_F(WorkspaceModes, leaveNothingBehind) {
    PhotoMode& photos = join({{"Before", true, 1}, {"After", true, 0}});
    showSeries("XC");
    const QPointer<ViewportFrame> frame = photos.frames()[0];
    mouse(*photos.layers[0], QEvent::MouseButtonPress, {40, 40});
    press(Qt::Key_2, Qt::ControlModifier); // the views are to be fitted when the event loop comes round
    const auto left = workspace_->removeMode(&photos);
    ASSERT_EQ(left.get(), &photos);
    EXPECT_EQ(workspace_->removeMode(&photos), nullptr);
    EXPECT_EQ(workspace_->mode(), nullptr);
    EXPECT_EQ(photos.reading, nullptr);
    EXPECT_TRUE(frame.isNull());
    photos.performed.clear();
    window_->resize(1300, 850);
    test::settle();
    EXPECT_EQ(photos.performed, std::vector<ReadingAction>{}) << "its viewports are gone";
    Q_EMIT photos.viewportPressed(1); // nobody listens any more
    showSeries("XC");
    EXPECT_EQ(workspace_->mode(), workspace_->findChild<ImageMode*>());
    workspace_->reset();

    ViewerWorkspace other;
    other.addMode(std::make_unique<PhotoMode>(ViewportSet{{"Photo"}}));
    EXPECT_TRUE(other.show(reading_));
    other.removeMode(other.mode());
    EXPECT_FALSE(other.show(reading_));
}

} // namespace
} // namespace zorbel

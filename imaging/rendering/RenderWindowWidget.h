#pragma once

#include "imaging/rendering/WheelAccumulator.h"

#include <QImage>
#include <QSurfaceFormat>
#include <QWidget>

#include <functional>
#include <memory>

class vtkRenderWindow;
class vtkRenderer;

namespace zorbel::imaging {

/// A widget that VTK draws into: one render window and one renderer, inside an OpenGL surface that fills the
/// widget. Base of the plane and volume views. Transparent child widgets may lie on top of it; keep them
/// above with raise().
///
/// It may be hidden, moved to another layout or window, shrunk to nothing and drawn without any image. When
/// Qt takes the OpenGL context away, everything VTK keeps in it is released, and made anew in the next one.
/// On a computer without OpenGL 3.2 it shows a text. User-interface thread.
class RenderWindowWidget : public QWidget {
    Q_OBJECT

public:
    explicit RenderWindowWidget(QWidget* parent = nullptr);
    ~RenderWindowWidget() override;

    /// OpenGL 3.2 core without multisampling, as VTK needs it.
    static QSurfaceFormat surfaceFormat();
    /// Makes surfaceFormat() the default; call before the QApplication is built.
    static void setDefaultSurfaceFormat();

    bool hasOpenGl() const { return surface_ != nullptr; }
    vtkRenderer* renderer() const;

    /// Asks for one new frame. Several requests before it is drawn make one frame; a hidden widget draws
    /// none.
    void requestUpdate();

    /// What OpenGL drew, in device pixels, without child widgets (QWidget::grab() has those too); draws a
    /// frame first. Null without OpenGL.
    QImage grabFrame();

    /// Time the last frame took until the graphics card had finished it; 0 before the first.
    double lastFrameMilliseconds() const { return lastFrameMs_; }

Q_SIGNALS:
    /// After a frame was drawn; delivered from the event loop.
    void frameRendered();
    void doubleClicked(const QPointF& position);
    /// Whole notches of the wheel, positive away from the user.
    void wheelScrolled(int notches, Qt::KeyboardModifiers modifiers);

protected:
    /// Called before each frame, with the context current; size in device pixels.
    virtual void prepareFrame(const QSize& pixels) { Q_UNUSED(pixels) }
    /// Called after each frame, with the context current; lastFrameMilliseconds() is set.
    virtual void finishFrame() {}

    /// Runs an operation on the scene with the context current, if there is one, so that what VTK keeps in
    /// the context for a removed prop is freed.
    void withContext(const std::function<void()>& operation);

    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    class Surface;
    struct Scene;
    void showFailure();

    std::unique_ptr<Scene> scene_;
    Surface* surface_ = nullptr;
    WheelAccumulator wheel_;
    double lastFrameMs_ = 0.0;
};

} // namespace zorbel::imaging

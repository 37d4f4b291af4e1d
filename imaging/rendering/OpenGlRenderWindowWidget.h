#pragma once

#include "imaging/rendering/RenderWindowWidget.h"

#include <QRect>
#include <QSurfaceFormat>

#include <functional>
#include <memory>
#include <optional>

class vtkRenderWindow;
class vtkRenderer;

namespace zorbel::imaging {

/// A widget that VTK draws into: one render window and one renderer, inside an OpenGL surface that fills the
/// widget. Transparent child widgets may lie on top of it; keep them above with raise().
///
/// It may be hidden, moved to another layout or window, shrunk to nothing and drawn without any image. When
/// Qt takes the OpenGL context away, everything VTK keeps in it is released, and made anew in the next one.
/// On a computer without OpenGL 3.2 it shows a text. User-interface thread.
class OpenGlRenderWindowWidget : public RenderWindowWidget {
    Q_OBJECT

public:
    explicit OpenGlRenderWindowWidget(QWidget* parent = nullptr);
    ~OpenGlRenderWindowWidget() override;

    /// OpenGL 3.2 core without multisampling, as VTK needs it.
    static QSurfaceFormat surfaceFormat();
    /// Makes surfaceFormat() the default; call before the QApplication is built.
    static void setDefaultSurfaceFormat();

    bool hasOpenGl() const { return surface_ != nullptr; }
    vtkRenderer* renderer() const;

    void requestUpdate() override;
    /// What OpenGL drew. Null without OpenGL.
    QImage grabFrame() override;

protected:
    /// True: the picture drawn last, with what renderPart() added, is shown again and nothing is drawn.
    virtual bool isPictureCurrent() const { return false; }
    /// Called before each frame that is drawn, with the context current; size in device pixels.
    virtual void prepareFrame(const QSize& pixels) { Q_UNUSED(pixels) }
    /// Called after each frame that was drawn, with the context current; lastFrameMilliseconds() is set.
    virtual void finishFrame() {}

    /// Runs an operation on the scene with the context current, if there is one, so that what VTK keeps in
    /// the context for a removed prop is freed.
    void withContext(const std::function<void()>& operation);

    QSize devicePixels() const;
    /// Draws a part of the picture over the one there; rows of device pixels count from the bottom. It is
    /// shown with the next frame. Milliseconds until the graphics card had finished, nothing without a
    /// context.
    std::optional<double> renderPart(const QRect& part);

    void resizeEvent(QResizeEvent* event) override;

private:
    class Surface;
    struct Scene;
    void showFailure();

    std::unique_ptr<Scene> scene_;
    Surface* surface_ = nullptr;
};

} // namespace zorbel::imaging

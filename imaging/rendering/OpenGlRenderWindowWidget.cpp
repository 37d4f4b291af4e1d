#include "imaging/rendering/OpenGlRenderWindowWidget.h"

#include "imaging/rendering/OpenGlCapabilities.h"

#include <QElapsedTimer>
#include <QLabel>
#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>
#include <QOpenGLWidget>
#include <QResizeEvent>
#include <QVBoxLayout>

#include <vtkCallbackCommand.h>
#include <vtkCamera.h>
#include <vtkGenericOpenGLRenderWindow.h>
#include <vtkNew.h>
#include <vtkOpenGLFramebufferObject.h>
#include <vtkOpenGLState.h>
#include <vtkRect.h>
#include <vtkRenderer.h>
#include <vtkSmartPointer.h>

namespace zorbel::imaging {

struct OpenGlRenderWindowWidget::Scene {
    vtkNew<vtkRenderer> renderer;
    /// One for each OpenGL context that the surface is given; null without a context.
    vtkSmartPointer<vtkGenericOpenGLRenderWindow> window;
};

/// The OpenGL widget inside; mouse and wheel pass through it to the widget around.
class OpenGlRenderWindowWidget::Surface : public QOpenGLWidget {
public:
    explicit Surface(OpenGlRenderWindowWidget* owner) : QOpenGLWidget(owner), owner_(owner) {
        setFormat(surfaceFormat());
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setFocusPolicy(Qt::NoFocus);
    }
    ~Surface() override { release(); }

    void release() {
        QObject::disconnect(contextWatch_);
        Scene& scene = *owner_->scene_;
        if (!scene.window)
            return;
        makeCurrent();
        scene.window->SetReadyForRendering(false);
        scene.renderer->ReleaseGraphicsResources(scene.window);
        scene.window->Finalize();
        scene.window->RemoveRenderer(scene.renderer);
        scene.window->RemoveAllObservers();
        scene.window = nullptr;
        doneCurrent();
    }

protected:
    void initializeGL() override {
        release();
        Scene& scene = *owner_->scene_;
        scene.window = vtkSmartPointer<vtkGenericOpenGLRenderWindow>::New();
        observe(scene.window);
        scene.window->SetReadyForRendering(true);
        scene.window->SetIsCurrent(true);
        scene.window->SetIsDirect(1);
        scene.window->SetSupportsOpenGL(1);
        scene.window->SetOwnContext(0);
        scene.window->SetMultiSamples(0);
        scene.window->SetFrameBlitModeToNoBlit();
        scene.window->SetForceMaximumHardwareLineWidth(1.0F);
        scene.window->OpenGLInitContext();
        scene.window->AddRenderer(scene.renderer);
        hasPicture_ = false;
        contextWatch_ = QObject::connect(
            context(), &QOpenGLContext::aboutToBeDestroyed, this, [this] { release(); },
            Qt::DirectConnection);
    }

    void paintGL() override {
        Scene& scene = *owner_->scene_;
        const QSize pixels = owner_->devicePixels();
        if (!scene.window || pixels.isEmpty())
            return;
        const int* drawn = scene.window->GetSize();
        const bool draws = !hasPicture_ || pixels != QSize(drawn[0], drawn[1]) || !owner_->isPictureCurrent();
        QElapsedTimer clock;
        clock.start();
        vtkOpenGLState* state = beginDrawing(pixels);
        if (draws) {
            owner_->prepareFrame(pixels);
            scene.window->Render();
            hasPicture_ = true;
        }
        blit(pixels);
        state->Pop();
        context()->functions()->glFinish();
        if (draws) {
            owner_->setLastFrameMilliseconds(static_cast<double>(clock.nsecsElapsed()) / 1e6);
            owner_->finishFrame();
        }
        owner_->announceFrame();
    }

public:
    /// The context must be current.
    double renderPart(const QRect& part) {
        Scene& scene = *owner_->scene_;
        QElapsedTimer clock;
        clock.start();
        vtkOpenGLState* state = beginDrawing(owner_->devicePixels());
        vtkCamera* camera = scene.renderer->GetActiveCamera();
        // Holds for the next frame alone, for clearing as well as for drawing.
        camera->SetScissorRect({part.x(), part.y(), part.width(), part.height()});
        camera->SetUseScissor(true);
        scene.window->Render();
        state->Pop();
        context()->functions()->glFinish();
        return static_cast<double>(clock.nsecsElapsed()) / 1e6;
    }

private:
    vtkOpenGLState* beginDrawing(const QSize& pixels) {
        vtkGenericOpenGLRenderWindow* window = owner_->scene_->window;
        vtkOpenGLState* state = window->GetState();
        state->Reset();
        state->Push();
        state->vtkglDepthFunc(GL_LEQUAL); // Qt leaves GL_LESS.
        window->SetSize(pixels.width(), pixels.height());
        return state;
    }

    void blit(const QSize& pixels) {
        Scene& scene = *owner_->scene_;
        vtkOpenGLState* state = scene.window->GetState();
        QOpenGLExtraFunctions* functions = context()->extraFunctions();
        // Not multisampled, so nothing has to be resolved into VTK's display framebuffer first.
        vtkOpenGLFramebufferObject* rendered = scene.window->GetRenderFramebuffer();
        rendered->Bind(GL_READ_FRAMEBUFFER);
        rendered->ActivateReadBuffer(0);
        functions->glBindFramebuffer(GL_DRAW_FRAMEBUFFER, defaultFramebufferObject());
        state->vtkglDisable(GL_SCISSOR_TEST);
        state->vtkglColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
        functions->glBlitFramebuffer(
            0, 0, pixels.width(), pixels.height(), 0, 0, pixels.width(), pixels.height(), GL_COLOR_BUFFER_BIT,
            GL_NEAREST);
        // Whatever VTK blended, the widget is opaque.
        functions->glBindFramebuffer(GL_FRAMEBUFFER, defaultFramebufferObject());
        functions->glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_TRUE);
        functions->glClearColor(0.0F, 0.0F, 0.0F, 1.0F);
        functions->glClear(GL_COLOR_BUFFER_BIT);
        functions->glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    }

    void observe(vtkGenericOpenGLRenderWindow* window) {
        vtkNew<vtkCallbackCommand> command;
        command->SetClientData(this);
        command->SetCallback([](vtkObject*, unsigned long event, void* clientData, void* callData) {
            auto* surface = static_cast<Surface*>(clientData);
            const bool current = QOpenGLContext::currentContext() == surface->context();
            // Not while it is current: QOpenGLWidget binds its own framebuffer with it, behind VTK's back.
            if (event == vtkCommand::WindowMakeCurrentEvent && !current)
                surface->makeCurrent();
            else if (event == vtkCommand::WindowIsCurrentEvent)
                *static_cast<bool*>(callData) = current;
        });
        window->AddObserver(vtkCommand::WindowMakeCurrentEvent, command);
        window->AddObserver(vtkCommand::WindowIsCurrentEvent, command);
    }

    OpenGlRenderWindowWidget* owner_;
    QMetaObject::Connection contextWatch_;
    bool hasPicture_ = false; ///< something was drawn in this context
};

OpenGlRenderWindowWidget::OpenGlRenderWindowWidget(QWidget* parent)
    : RenderWindowWidget(parent), scene_(std::make_unique<Scene>()) {
    scene_->renderer->SetBackground(0.0, 0.0, 0.0);
    scene_->renderer->SetBackgroundAlpha(1.0);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    if (OpenGlCapabilities::instance().available) {
        surface_ = new Surface(this);
        layout->addWidget(surface_);
    } else {
        showFailure();
    }
}

OpenGlRenderWindowWidget::~OpenGlRenderWindowWidget() {
    delete surface_;
}

QSurfaceFormat OpenGlRenderWindowWidget::surfaceFormat() {
    QSurfaceFormat format;
    format.setRenderableType(QSurfaceFormat::OpenGL);
    format.setVersion(3, 2);
    format.setProfile(QSurfaceFormat::CoreProfile);
    format.setSwapBehavior(QSurfaceFormat::DoubleBuffer);
    format.setRedBufferSize(8);
    format.setGreenBufferSize(8);
    format.setBlueBufferSize(8);
    format.setDepthBufferSize(24);
    format.setSamples(0);
    return format;
}

void OpenGlRenderWindowWidget::setDefaultSurfaceFormat() {
    QSurfaceFormat::setDefaultFormat(surfaceFormat());
}

vtkRenderer* OpenGlRenderWindowWidget::renderer() const {
    return scene_->renderer;
}

void OpenGlRenderWindowWidget::requestUpdate() {
    if (surface_)
        surface_->update();
}

QImage OpenGlRenderWindowWidget::grabFrame() {
    return surface_ ? surface_->grabFramebuffer().convertToFormat(QImage::Format_RGB32) : QImage();
}

void OpenGlRenderWindowWidget::withContext(const std::function<void()>& operation) {
    const bool current = surface_ && scene_->window;
    QOpenGLContext* before = QOpenGLContext::currentContext();
    if (current && before != surface_->context())
        surface_->makeCurrent();
    operation();
    if (current && before != surface_->context())
        surface_->doneCurrent();
}

QSize OpenGlRenderWindowWidget::devicePixels() const {
    return surface_ ? surface_->size() * surface_->devicePixelRatio() : QSize();
}

std::optional<double> OpenGlRenderWindowWidget::renderPart(const QRect& part) {
    if (!surface_ || !scene_->window || devicePixels().isEmpty())
        return std::nullopt;
    double milliseconds = 0.0;
    withContext([&] { milliseconds = surface_->renderPart(part); });
    return milliseconds;
}

void OpenGlRenderWindowWidget::resizeEvent(QResizeEvent* event) {
    RenderWindowWidget::resizeEvent(event);
    requestUpdate();
}

void OpenGlRenderWindowWidget::showFailure() {
    auto* label = new QLabel(
        QStringLiteral("This view cannot be drawn: OpenGL 3.2 is not available on this computer."), this);
    label->setObjectName(QStringLiteral("openGlFailure"));
    label->setAlignment(Qt::AlignCenter);
    label->setWordWrap(true);
    label->setStyleSheet(QStringLiteral("background: #000000; color: #E2E8F0; padding: 12px;"));
    label->setAttribute(Qt::WA_TransparentForMouseEvents);
    layout()->addWidget(label);
}

} // namespace zorbel::imaging

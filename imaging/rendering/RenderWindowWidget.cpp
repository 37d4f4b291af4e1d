#include "imaging/rendering/RenderWindowWidget.h"

#include "app/log/Logger.h"
#include "imaging/rendering/OpenGlCapabilities.h"
#include "imaging/rendering/RenderingManager.h"

#include <QElapsedTimer>
#include <QLabel>
#include <QMouseEvent>
#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>
#include <QOpenGLWidget>
#include <QResizeEvent>
#include <QVBoxLayout>
#include <QWheelEvent>

#include <vtkCallbackCommand.h>
#include <vtkGenericOpenGLRenderWindow.h>
#include <vtkNew.h>
#include <vtkOpenGLFramebufferObject.h>
#include <vtkOpenGLState.h>
#include <vtkRenderer.h>
#include <vtkSmartPointer.h>

namespace zorbel::imaging {

struct RenderWindowWidget::Scene {
    vtkNew<vtkRenderer> renderer;
    /// One for each OpenGL context that the surface is given; null without a context.
    vtkSmartPointer<vtkGenericOpenGLRenderWindow> window;
};

/// The OpenGL widget inside; mouse and wheel pass through it to the widget around.
class RenderWindowWidget::Surface : public QOpenGLWidget {
public:
    explicit Surface(RenderWindowWidget* owner) : QOpenGLWidget(owner), owner_(owner) {
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
        contextWatch_ = QObject::connect(
            context(), &QOpenGLContext::aboutToBeDestroyed, this, [this] { release(); },
            Qt::DirectConnection);
    }

    void paintGL() override {
        Scene& scene = *owner_->scene_;
        const QSize pixels = size() * devicePixelRatio();
        if (!scene.window || pixels.isEmpty())
            return;
        QElapsedTimer clock;
        clock.start();
        vtkOpenGLState* state = scene.window->GetState();
        state->Reset();
        state->Push();
        state->vtkglDepthFunc(GL_LEQUAL); // Qt leaves GL_LESS.
        scene.window->SetSize(pixels.width(), pixels.height());
        owner_->prepareFrame(pixels);
        scene.window->Render();
        blit(pixels);
        state->Pop();
        QOpenGLFunctions* functions = context()->functions();
        functions->glFinish();
        owner_->lastFrameMs_ = static_cast<double>(clock.nsecsElapsed()) / 1e6;
        owner_->finishFrame();
        QMetaObject::invokeMethod(owner_, &RenderWindowWidget::frameRendered, Qt::QueuedConnection);
    }

private:
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

    RenderWindowWidget* owner_;
    QMetaObject::Connection contextWatch_;
};

RenderWindowWidget::RenderWindowWidget(QWidget* parent) : QWidget(parent), scene_(std::make_unique<Scene>()) {
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
    RenderingManager::instance().add(this);
}

RenderWindowWidget::~RenderWindowWidget() {
    RenderingManager::instance().remove(this);
    delete surface_;
}

QSurfaceFormat RenderWindowWidget::surfaceFormat() {
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

void RenderWindowWidget::setDefaultSurfaceFormat() {
    QSurfaceFormat::setDefaultFormat(surfaceFormat());
}

vtkRenderer* RenderWindowWidget::renderer() const {
    return scene_->renderer;
}

void RenderWindowWidget::requestUpdate() {
    if (surface_)
        surface_->update();
}

QImage RenderWindowWidget::grabFrame() {
    return surface_ ? surface_->grabFramebuffer().convertToFormat(QImage::Format_RGB32) : QImage();
}

void RenderWindowWidget::withContext(const std::function<void()>& operation) {
    const bool current = surface_ && scene_->window;
    QOpenGLContext* before = QOpenGLContext::currentContext();
    if (current && before != surface_->context())
        surface_->makeCurrent();
    operation();
    if (current && before != surface_->context())
        surface_->doneCurrent();
}

void RenderWindowWidget::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    requestUpdate();
}

void RenderWindowWidget::wheelEvent(QWheelEvent* event) {
    if (const int notches = wheel_.add(*event); notches != 0)
        Q_EMIT wheelScrolled(notches, event->modifiers());
    event->accept();
}

void RenderWindowWidget::mouseDoubleClickEvent(QMouseEvent* event) {
    Q_EMIT doubleClicked(event->position());
    event->accept();
}

void RenderWindowWidget::showFailure() {
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

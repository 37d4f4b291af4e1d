#include "imaging/rendering/OpenGlCapabilities.h"

#include "app/log/Logger.h"
#include "imaging/rendering/OpenGlRenderWindowWidget.h"

#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QString>

namespace zorbel::imaging {

namespace {

OpenGlCapabilities measure() {
    OpenGlCapabilities result;
    QOpenGLContext context;
    context.setFormat(OpenGlRenderWindowWidget::surfaceFormat());
    QOffscreenSurface surface;
    surface.setFormat(context.format());
    surface.create();
    if (!context.create() || !surface.isValid() || !context.makeCurrent(&surface)) {
        Logger::instance().error("Rendering", "OpenGL context creation failed");
        return result;
    }
    const auto version = context.format().version();
    result.available = version.first > 3 || (version.first == 3 && version.second >= 2);
    QOpenGLFunctions* functions = context.functions();
    if (const auto* name = reinterpret_cast<const char*>(functions->glGetString(GL_RENDERER)))
        result.renderer = name;
    constexpr unsigned maxTextureSize3D = 0x8073; // GL_MAX_3D_TEXTURE_SIZE
    functions->glGetIntegerv(maxTextureSize3D, &result.max3DTextureSize);
    const QString lower = QString::fromStdString(result.renderer).toLower();
    for (const char* name :
         {"llvmpipe", "softpipe", "swrast", "software", "swiftshader", "gdi generic",
          "microsoft basic render"})
        result.software = result.software || lower.contains(QLatin1String(name));
    context.doneCurrent();
    Logger::instance().info(
        "Rendering", "OpenGL ready",
        {{"renderer", result.renderer},
         {"version", std::to_string(version.first) + "." + std::to_string(version.second)},
         {"max3DTextureSize", std::to_string(result.max3DTextureSize)}});
    return result;
}

} // namespace

const OpenGlCapabilities& OpenGlCapabilities::instance() {
    static const OpenGlCapabilities capabilities = measure();
    return capabilities;
}

} // namespace zorbel::imaging

#include "imaging/rendering/OpenGlCapabilities.h"

#include "app/log/Logger.h"
#include "imaging/rendering/OpenGlRenderWindowWidget.h"

#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>
#include <QString>

#include <utility>

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
    const auto text = [functions](unsigned name) {
        const auto* value = reinterpret_cast<const char*>(functions->glGetString(name));
        return std::string(value ? value : "");
    };
    result.renderer = text(GL_RENDERER);
    result.vendor = text(GL_VENDOR);
    result.version = text(GL_VERSION);
    functions->glGetIntegerv(GL_MAX_TEXTURE_SIZE, &result.maxTextureSize);
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

/// Format of the texture that VTK makes for these voxels, and of its elements.
std::pair<int, unsigned> textureFormat(VoxelType type) {
    switch (type) {
    case VoxelType::UInt8:
    case VoxelType::Int8:
        return {GL_R8, GL_UNSIGNED_BYTE};
    case VoxelType::Int16:
    case VoxelType::UInt16:
        return {GL_R16F, GL_UNSIGNED_SHORT};
    default:
        return {GL_R32F, GL_FLOAT};
    }
}

} // namespace

bool OpenGlCapabilities::fitsTexture(const std::array<int, 3>& dimensions, VoxelType type) {
    QOpenGLContext* context = QOpenGLContext::currentContext();
    if (!context)
        return true;
    QOpenGLExtraFunctions* functions = context->extraFunctions();
    const auto [format, element] = textureFormat(type);
    constexpr int errorsAtMost = 32; // A lost context reports one for ever.
    for (int error = 0; error < errorsAtMost && functions->glGetError() != GL_NO_ERROR; ++error) {
    }
    unsigned texture = 0;
    functions->glGenTextures(1, &texture);
    functions->glBindTexture(GL_TEXTURE_3D, texture);
    functions->glTexImage3D(
        GL_TEXTURE_3D, 0, format, dimensions[0], dimensions[1], dimensions[2], 0, GL_RED, element, nullptr);
    const bool fits = functions->glGetError() == GL_NO_ERROR;
    functions->glBindTexture(GL_TEXTURE_3D, 0);
    functions->glDeleteTextures(1, &texture);
    return fits;
}

const OpenGlCapabilities& OpenGlCapabilities::instance() {
    static const OpenGlCapabilities capabilities = measure();
    return capabilities;
}

} // namespace zorbel::imaging

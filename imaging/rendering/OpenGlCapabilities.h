#pragma once

#include "imaging/VoxelType.h"

#include <array>
#include <string>

namespace zorbel::imaging {

/// What this computer's OpenGL can do for the views.
struct OpenGlCapabilities {
    bool available = false; ///< a 3.2 core context could be made current
    bool software = false;  ///< drawn by the processor (llvmpipe, softpipe, SwiftShader, GDI)
    int max3DTextureSize = 0;
    int maxTextureSize = 0;
    std::string renderer; ///< GL_RENDERER
    std::string vendor;   ///< GL_VENDOR
    std::string version;  ///< GL_VERSION

    /// Measured once, at the first call; user-interface thread, with a running QGuiApplication.
    static const OpenGlCapabilities& instance();

    /// Whether a 3D texture for such voxels can be had now, next to what the graphics card already holds. An
    /// OpenGL context must be current.
    static bool fitsTexture(const std::array<int, 3>& dimensions, VoxelType type);
};

} // namespace zorbel::imaging

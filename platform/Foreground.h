#pragma once

namespace zorbel {

/// Lets another program of the user bring its window to the front in this one's stead, which Windows allows a
/// program only when the user has just used it. Does nothing where the window manager decides by itself.
void yieldForeground() noexcept;

} // namespace zorbel

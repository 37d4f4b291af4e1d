#pragma once

#include <vector>

namespace zorbel::imaging {

class RenderWindowWidget;

/// Knows every living render window. User-interface thread.
class RenderingManager {
public:
    static RenderingManager& instance();

    /// Asks each visible view for one new frame; several requests before it is drawn make one frame.
    void requestUpdateAll();

private:
    friend class RenderWindowWidget;
    void add(RenderWindowWidget* widget);
    void remove(RenderWindowWidget* widget);

    std::vector<RenderWindowWidget*> widgets_;
};

} // namespace zorbel::imaging

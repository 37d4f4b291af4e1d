#include "imaging/rendering/RenderingManager.h"

#include "imaging/rendering/RenderWindowWidget.h"

#include <algorithm>

namespace zorbel::imaging {

RenderingManager& RenderingManager::instance() {
    static RenderingManager manager;
    return manager;
}

void RenderingManager::requestUpdateAll() {
    for (RenderWindowWidget* widget : widgets_)
        widget->requestUpdate();
}

void RenderingManager::add(RenderWindowWidget* widget) {
    widgets_.push_back(widget);
}

void RenderingManager::remove(RenderWindowWidget* widget) {
    widgets_.erase(std::remove(widgets_.begin(), widgets_.end(), widget), widgets_.end());
}

} // namespace zorbel::imaging

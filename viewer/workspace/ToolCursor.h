#pragma once

#include "viewer/reading/base/Tool.h"

#include <QCursor>
#include <QObject>
#include <QPointer>
#include <QWidget>

#include <optional>
#include <vector>

namespace zorbel {

/// The pointer's shape over the image views: that of the active tool, and of what the hand tool is doing.
/// User-interface thread.
class ToolCursor : public QObject {
    Q_OBJECT

public:
    explicit ToolCursor(QObject* parent = nullptr) : QObject(parent) {}

    /// A view, or what lies over it and takes the mouse.
    void watch(QWidget* view);
    /// Nothing while no study is shown.
    void setTool(std::optional<Tool> tool);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void apply(QWidget* view, bool pressed) const;

    std::vector<QPointer<QWidget>> views_;
    std::optional<Tool> tool_;
};

} // namespace zorbel

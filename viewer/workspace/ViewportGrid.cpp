#include "viewer/workspace/ViewportGrid.h"

#include "viewer/workspace/ViewportFrame.h"

#include <QGridLayout>

#include <utility>

namespace zorbel {

namespace {

constexpr QSize smallestView(260, 220);
/// Three views on top of each other must fit the smallest window.
constexpr QSize smallestStackedView(260, 130);

} // namespace

ViewportGrid::ViewportGrid(std::vector<ViewportFrame*> viewports, QWidget* parent)
    : QWidget(parent), viewports_(std::move(viewports)) {
    setObjectName(QStringLiteral("viewportGrid"));
    layout_ = new QGridLayout(this);
    layout_->setContentsMargins(0, 0, 0, 0);
    layout_->setSpacing(6);
    for (auto* viewport : viewports_)
        viewport->setParent(this);
}

void ViewportGrid::apply(const CellPlan& plan) {
    for (auto* viewport : viewports_)
        layout_->removeWidget(viewport);
    for (int row = 0; row < layout_->rowCount(); ++row)
        layout_->setRowStretch(row, 0);
    for (int column = 0; column < layout_->columnCount(); ++column)
        layout_->setColumnStretch(column, 0);
    // Hidden ones first, so that no step in between asks for more room than the window has.
    for (std::size_t index = 0; index < viewports_.size(); ++index)
        if (!plan.cells[index].visible)
            viewports_[index]->hide();
    for (std::size_t index = 0; index < viewports_.size(); ++index) {
        const auto& cell = plan.cells[index];
        if (!cell.visible)
            continue;
        if (viewports_.size() > 1) // a view that is alone knows its own
            viewports_[index]->setSmallestView(
                plan.rows() > 2 && cell.rowSpan == 1 ? smallestStackedView : smallestView);
        layout_->addWidget(viewports_[index], cell.row, cell.column, cell.rowSpan, cell.columnSpan);
        viewports_[index]->show();
    }
    for (int row = 0; row < plan.rows(); ++row)
        layout_->setRowStretch(row, plan.rowStretch[static_cast<std::size_t>(row)]);
    for (int column = 0; column < plan.columns(); ++column)
        layout_->setColumnStretch(column, plan.columnStretch[static_cast<std::size_t>(column)]);
}

void ViewportGrid::setActive(int viewport) {
    for (std::size_t index = 0; index < viewports_.size(); ++index)
        viewports_[index]->setActive(viewports_.size() > 1 && static_cast<int>(index) == viewport);
}

} // namespace zorbel

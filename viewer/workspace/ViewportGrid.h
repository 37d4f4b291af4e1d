#pragma once

#include "viewer/reading/base/ViewportLayout.h"

#include <QWidget>

#include <array>

class QGridLayout;

namespace zorbel {

class ViewportFrame;

/// Lays the four viewports out after a cell plan.
class ViewportGrid : public QWidget {
    Q_OBJECT

public:
    /// Takes ownership of the viewports; shows none until the first plan.
    explicit ViewportGrid(const std::array<ViewportFrame*, 4>& viewports, QWidget* parent = nullptr);

    void apply(const CellPlan& plan);

private:
    QGridLayout* layout_ = nullptr;
    std::array<ViewportFrame*, 4> viewports_;
};

} // namespace zorbel

#pragma once

#include "viewer/reading/workspace/ViewportSet.h"

#include <QWidget>

#include <vector>

class QGridLayout;

namespace zorbel {

class ViewportFrame;

/// Lays a mode's viewports out after a cell plan.
class ViewportGrid : public QWidget {
    Q_OBJECT

public:
    /// Takes ownership of the viewports; shows none until the first plan.
    explicit ViewportGrid(std::vector<ViewportFrame*> viewports, QWidget* parent = nullptr);

    /// One cell for each viewport.
    void apply(const CellPlan& plan);
    void setActive(int viewport);

private:
    QGridLayout* layout_ = nullptr;
    std::vector<ViewportFrame*> viewports_;
};

} // namespace zorbel

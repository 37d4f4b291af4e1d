#include "viewer/measuring/MeasurementPanel.h"

#include "base/qt/QtText.h"
#include "viewer/measuring/MeasurementController.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QScopedValueRollback>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace zorbel {

namespace {

constexpr int idRole = Qt::UserRole;

} // namespace

MeasurementPanel::MeasurementPanel(MeasurementController& measurements, QWidget* parent)
    : QFrame(parent), measurements_(measurements) {
    setObjectName(QStringLiteral("measurementPanel"));
    auto* title = new QLabel(QStringLiteral("Measurements"));
    title->setObjectName(QStringLiteral("panelTitle"));
    jump_ = new QToolButton;
    jump_->setObjectName(QStringLiteral("measurementJump"));
    jump_->setText(QStringLiteral("Go to"));
    jump_->setToolTip(QStringLiteral("Show the measurement where it was drawn"));
    remove_ = new QToolButton;
    remove_->setObjectName(QStringLiteral("measurementDelete"));
    remove_->setText(QStringLiteral("Delete"));
    remove_->setToolTip(QStringLiteral("Delete the selected measurement (Del)"));
    auto* head = new QHBoxLayout;
    head->addWidget(title, 1);
    head->addWidget(jump_);
    head->addWidget(remove_);

    list_ = new QTreeWidget;
    list_->setObjectName(QStringLiteral("measurementList"));
    list_->setRootIsDecorated(false);
    list_->setHeaderLabels({QStringLiteral("Tool"), QStringLiteral("Value"), QStringLiteral("Plane")});
    list_->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    list_->header()->setSectionResizeMode(1, QHeaderView::Stretch);
    list_->header()->setSectionResizeMode(2, QHeaderView::ResizeToContents);
    list_->header()->setStretchLastSection(false);
    list_->setMaximumHeight(190);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(12, 8, 12, 10);
    layout->setSpacing(6);
    layout->addLayout(head);
    layout->addWidget(list_);

    connect(list_, &QTreeWidget::itemSelectionChanged, this, [this] {
        if (refreshing_)
            return;
        {
            const QScopedValueRollback<bool> guard(
                refreshing_, true); // the row that was clicked must live on
            if (currentId() != 0)
                measurements_.select(currentId());
        }
        enableButtons();
    });
    const auto jump = [this] {
        if (currentId() != 0)
            Q_EMIT jumpRequested(currentId());
    };
    connect(list_, &QTreeWidget::itemDoubleClicked, this, jump);
    connect(jump_, &QToolButton::clicked, this, jump);
    connect(remove_, &QToolButton::clicked, this, [this] { measurements_.remove(currentId()); });
    connect(&measurements, &MeasurementController::listChanged, this, &MeasurementPanel::refresh);
    refresh();
}

int MeasurementPanel::currentId() const {
    const auto chosen = list_->selectedItems();
    return chosen.isEmpty() ? 0 : chosen.front()->data(0, idRole).toInt();
}

void MeasurementPanel::enableButtons() {
    jump_->setEnabled(currentId() != 0);
    remove_->setEnabled(currentId() != 0);
}

void MeasurementPanel::refresh() {
    if (refreshing_)
        return;
    const QScopedValueRollback<bool> guard(refreshing_, true);
    const auto& measurements = measurements_.list().measurements();
    list_->clear();
    for (const Measurement& measurement : measurements) {
        auto* item = new QTreeWidgetItem(
            {qtText(measurementTitle(measurement.kind)),
             QString::fromStdString(measurements_.valuesOf(measurement).lineLabel()),
             QString::fromStdString(measurementViewName(measurement))});
        item->setData(0, idRole, measurement.id);
        item->setToolTip(1, item->text(1));
        list_->addTopLevelItem(item);
        if (measurements_.list().selected() == measurement.id)
            item->setSelected(true);
    }
    enableButtons();
    setVisible(!measurements.empty());
}

} // namespace zorbel

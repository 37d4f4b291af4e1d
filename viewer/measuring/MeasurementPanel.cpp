#include "viewer/measuring/MeasurementPanel.h"

#include "base/qt/QtText.h"
#include "base/widgets/Availability.h"
#include "viewer/measuring/MeasurementController.h"
#include "viewer/widgets/ElidedLabel.h"
#include "viewer/widgets/PlainToolTip.h"

#include <QAction>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QScopedValueRollback>
#include <QShortcut>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace zorbel {

namespace {

constexpr int idRole = Qt::UserRole;
constexpr int nameColumn = 0;
constexpr int widestName = 94;

} // namespace

MeasurementPanel::MeasurementPanel(MeasurementController& measurements, QWidget* parent)
    : QFrame(parent), measurements_(measurements) {
    setObjectName(QStringLiteral("measurementPanel"));
    auto* title = new ElidedLabel(QStringLiteral("Measurements")); // gives way to the buttons
    title->setObjectName(QStringLiteral("panelTitle"));
    jump_ = addButton(
        "measurementJump", QStringLiteral("Go to"),
        QStringLiteral("Show the measurement where it was drawn"));
    name_ = addButton(
        "measurementName", QStringLiteral("Name"), QStringLiteral("Name the selected measurement (F2)"));
    remove_ = addButton(
        "measurementDelete", QStringLiteral("Delete"),
        QStringLiteral("Delete the selected measurement (Del)"));
    auto* head = new QHBoxLayout;
    head->setSpacing(3);
    head->addWidget(title, 1);
    for (auto* button : {jump_, name_, remove_})
        head->addWidget(button);
    buildList();
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(10, 8, 10, 10);
    layout->setSpacing(6);
    layout->addLayout(head);
    layout->addWidget(list_);

    const auto jump = [this] {
        if (currentId() != 0)
            Q_EMIT jumpRequested(currentId());
    };
    connect(list_, &QTreeWidget::itemDoubleClicked, this, jump);
    connect(jump_, &QToolButton::clicked, this, jump);
    connect(name_, &QToolButton::clicked, this, &MeasurementPanel::nameSelected);
    connect(remove_, &QToolButton::clicked, this, [this] { measurements_.remove(currentId()); });
    connect(&measurements, &MeasurementController::listChanged, this, &MeasurementPanel::refresh);
    refresh();
}

QToolButton* MeasurementPanel::addButton(const char* name, const QString& text, const QString& toolTip) {
    auto* button = new QToolButton;
    button->setObjectName(QString::fromLatin1(name));
    button->setText(text);
    button->setToolTip(toolTip);
    return button;
}

void MeasurementPanel::buildList() {
    list_ = new QTreeWidget;
    list_->setObjectName(QStringLiteral("measurementList"));
    list_->setRootIsDecorated(false);
    list_->setHeaderLabels({QStringLiteral("Name"), QStringLiteral("Value"), QStringLiteral("Plane")});
    list_->header()->setSectionResizeMode(nameColumn, QHeaderView::Fixed);
    list_->header()->setSectionResizeMode(1, QHeaderView::Stretch);
    list_->header()->setSectionResizeMode(2, QHeaderView::ResizeToContents);
    list_->header()->setStretchLastSection(false);
    list_->setMaximumHeight(190);
    list_->setEditTriggers(QAbstractItemView::NoEditTriggers); // a double-click jumps
    list_->setContextMenuPolicy(Qt::ActionsContextMenu);
    auto* name = new QAction(QStringLiteral("Name…"), list_);
    connect(name, &QAction::triggered, this, &MeasurementPanel::nameSelected);
    list_->addAction(name);
    auto* key = new QShortcut(QKeySequence(Qt::Key_F2), list_, nullptr, nullptr, Qt::WidgetShortcut);
    key->setAutoRepeat(false);
    connect(key, &QShortcut::activated, this, &MeasurementPanel::nameSelected);
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
    connect(list_, &QTreeWidget::itemChanged, this, [this](const QTreeWidgetItem* item, int column) {
        if (!refreshing_ && column == nameColumn)
            takeName(*item);
    });
}

void MeasurementPanel::nameSelected() {
    const auto chosen = list_->selectedItems();
    if (chosen.isEmpty())
        return;
    list_->scrollToItem(chosen.front());
    list_->editItem(chosen.front(), nameColumn);
}

void MeasurementPanel::takeName(const QTreeWidgetItem& item) {
    const int id = item.data(nameColumn, idRole).toInt();
    const Measurement* measurement = measurements_.list().find(id);
    if (!measurement)
        return;
    // What it is called anyway is no name of its own.
    const QString text = item.text(nameColumn).simplified();
    const bool isOwn = text != qtText(measurementTitle(measurement->kind));
    // The editor is done with the row only after this.
    QMetaObject::invokeMethod(
        this,
        [this, id, label = isOwn ? text : QString()] {
            measurements_.setLabel(id, label);
            refresh(); // also where nothing has changed but the text in the row
        },
        Qt::QueuedConnection);
}

int MeasurementPanel::currentId() const {
    const auto chosen = list_->selectedItems();
    return chosen.isEmpty() ? 0 : chosen.front()->data(0, idRole).toInt();
}

void MeasurementPanel::enableButtons() {
    for (auto* button : {jump_, name_, remove_})
        setAvailable(*button, currentId() != 0, QStringLiteral("Select a measurement first."));
}

void MeasurementPanel::refresh() {
    if (refreshing_)
        return;
    const QScopedValueRollback<bool> guard(refreshing_, true);
    const auto& measurements = measurements_.list().measurements();
    list_->clear();
    int nameWidth = list_->header()->sectionSizeHint(nameColumn);
    for (const Measurement& measurement : measurements) {
        const QString kind = qtText(measurementTitle(measurement.kind));
        const QString label = QString::fromStdString(measurement.label);
        auto* item = new QTreeWidgetItem(
            {label.isEmpty() ? kind : label, measurements_.lineOf(measurement),
             QString::fromStdString(measurementViewName(measurement))});
        item->setData(nameColumn, idRole, measurement.id);
        item->setFlags(item->flags() | Qt::ItemIsEditable);
        item->setToolTip(
            nameColumn, plainToolTip(label.isEmpty() ? kind : QStringLiteral("%1 (%2)").arg(label, kind)));
        item->setToolTip(1, item->text(1));
        nameWidth = std::max(nameWidth, list_->fontMetrics().horizontalAdvance(item->text(nameColumn)) + 14);
        list_->addTopLevelItem(item);
        if (measurements_.list().selected() == measurement.id)
            item->setSelected(true);
    }
    list_->setColumnWidth(nameColumn, std::min(nameWidth, widestName));
    enableButtons();
    setVisible(!measurements.empty());
}

} // namespace zorbel

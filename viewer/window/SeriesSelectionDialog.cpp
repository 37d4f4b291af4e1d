#include "viewer/window/SeriesSelectionDialog.h"

#include "base/widgets/Availability.h"
#include "viewer/widgets/PlainToolTip.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

namespace zorbel {

namespace {

QString orDash(const QString& text) {
    return text.trimmed().isEmpty() ? QStringLiteral("—") : text.trimmed();
}

QStringList cells(const OrthancSeriesSummary& series) {
    const QString description = series.seriesDescription.trimmed();
    return {
        orDash(series.seriesNumber),
        orDash(series.modality),
        description.isEmpty() ? QStringLiteral("Description unavailable") : description,
        orDash(series.protocolName),
        QString::number(series.instanceIds.size()),
        orDash(series.seriesInstanceUID)};
}

} // namespace

SeriesSelectionDialog::SeriesSelectionDialog(
    const std::vector<OrthancSeriesSummary>& series, int suggestedRow, QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("seriesSelectionDialog"));
    setWindowTitle(QStringLiteral("Select diagnostic series"));
    resize(980, 420);

    auto* text =
        new QLabel(QStringLiteral("This study contains multiple image series. Confirm the diagnostic series "
                                  "to open.\nThe suggested row is a "
                                  "convenience only; verify the description and Series Instance UID."));
    text->setWordWrap(true);

    const QStringList columns{QStringLiteral("Series"),      QStringLiteral("Modality"),
                              QStringLiteral("Description"), QStringLiteral("Protocol"),
                              QStringLiteral("Instances"),   QStringLiteral("Series Instance UID")};
    table_ = new QTableWidget(static_cast<int>(series.size()), static_cast<int>(columns.size()));
    table_->setObjectName(QStringLiteral("seriesTable"));
    table_->setAccessibleName(QStringLiteral("Series of the study"));
    table_->setHorizontalHeaderLabels(columns);
    table_->verticalHeader()->hide();
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::SingleSelection);
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->setAlternatingRowColors(true);
    for (int row = 0; row < table_->rowCount(); ++row) {
        const QStringList texts = cells(series[static_cast<std::size_t>(row)]);
        for (int column = 0; column < texts.size(); ++column) {
            auto* item = new QTableWidgetItem(texts[column]);
            item->setToolTip(plainToolTip(texts[column]));
            table_->setItem(row, column, item);
        }
    }
    table_->resizeColumnsToContents();
    table_->horizontalHeader()->setStretchLastSection(true);
    table_->selectRow(suggestedRow);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(table_, &QTableWidget::cellDoubleClicked, this, &QDialog::accept);
    connect(table_, &QTableWidget::itemSelectionChanged, this, [this, buttons] {
        setAvailable(
            *buttons->button(QDialogButtonBox::Ok), selectedRow() >= 0,
            QStringLiteral("Select a series first."));
    });

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 16);
    layout->setSpacing(12);
    layout->addWidget(text);
    layout->addWidget(table_, 1);
    layout->addWidget(buttons);
    table_->setFocus();
}

int SeriesSelectionDialog::selectedRow() const {
    const auto rows = table_->selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.front().row();
}

} // namespace zorbel

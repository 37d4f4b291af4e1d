#include "viewer/report/UnsyncedReportsDialog.h"

#include "base/widgets/Availability.h"
#include "viewer/widgets/PlainToolTip.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace zorbel {

namespace {

enum Column { Study, SavedAt, State, Folder, columnCount };

QString timeText(const QDateTime& time) {
    return time.isValid() ? QLocale::c().toString(time.toLocalTime(), QStringLiteral("d MMM yyyy HH:mm"))
                          : QStringLiteral("Unknown");
}

} // namespace

UnsyncedReportsDialog::UnsyncedReportsDialog(std::vector<UnsyncedReportRow> rows, QWidget* parent)
    : QDialog(parent), rows_(std::move(rows)) {
    setObjectName(QStringLiteral("unsyncedReportsDialog"));
    setWindowTitle(QStringLiteral("Reports with unsynced changes"));
    resize(900, 400);
    auto* text = new QLabel(QStringLiteral(
        "These Word reports were saved on this computer, but not every save has reached Zorbel. "
        "Their files stay here until they are synced."));
    text->setWordWrap(true);
    table_ = new QTableWidget(0, columnCount);
    table_->setObjectName(QStringLiteral("unsyncedReportsTable"));
    table_->setAccessibleName(QStringLiteral("Reports that are not synced"));
    table_->setHorizontalHeaderLabels(
        {QStringLiteral("Study"), QStringLiteral("Last saved here"), QStringLiteral("State"),
         QStringLiteral("Folder")});
    table_->verticalHeader()->hide();
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::SingleSelection);
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->setTextElideMode(Qt::ElideMiddle);
    table_->setWordWrap(false);
    table_->horizontalHeader()->setSectionResizeMode(Study, QHeaderView::Stretch);
    table_->horizontalHeader()->setSectionResizeMode(SavedAt, QHeaderView::ResizeToContents);
    table_->horizontalHeader()->setSectionResizeMode(State, QHeaderView::ResizeToContents);
    table_->horizontalHeader()->setSectionResizeMode(Folder, QHeaderView::Stretch);
    const auto newButton = [](const char* name, const QString& caption) {
        auto* button = new QPushButton(caption);
        button->setObjectName(QString::fromLatin1(name));
        return button;
    };
    open_ = newButton("unsyncedOpen", QStringLiteral("Open in Word"));
    sync_ = newButton("unsyncedSync", QStringLiteral("Sync"));
    later_ = newButton("unsyncedLater", QStringLiteral("Later"));
    sync_->setDefault(true);
    auto* line = new QHBoxLayout;
    line->addWidget(open_);
    line->addStretch(1);
    line->addWidget(later_);
    line->addWidget(sync_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 16);
    layout->setSpacing(12);
    layout->addWidget(text);
    layout->addWidget(table_, 1);
    layout->addLayout(line);
    connect(table_, &QTableWidget::itemSelectionChanged, this, &UnsyncedReportsDialog::enableButtons);
    connect(sync_, &QPushButton::clicked, this, [this] { Q_EMIT syncRequested(selected()->id); });
    connect(open_, &QPushButton::clicked, this, [this] { Q_EMIT openRequested(selected()->id); });
    connect(later_, &QPushButton::clicked, this, &QDialog::reject);
    for (std::size_t index = 0; index < rows_.size(); ++index)
        showRow(static_cast<int>(index));
    table_->selectRow(0);
    enableButtons();
    table_->setFocus();
}

void UnsyncedReportsDialog::setRow(const UnsyncedReportRow& row) {
    auto known = std::find_if(
        rows_.begin(), rows_.end(), [&](const UnsyncedReportRow& other) { return other.id == row.id; });
    if (known == rows_.end())
        known = rows_.insert(known, row);
    else
        *known = row;
    showRow(static_cast<int>(known - rows_.begin()));
    enableButtons();
}

void UnsyncedReportsDialog::showRow(int index) {
    const UnsyncedReportRow& row = rows_[static_cast<std::size_t>(index)];
    if (index >= table_->rowCount())
        table_->setRowCount(index + 1);
    const QStringList texts{row.study, timeText(row.savedAt), row.state, row.folder};
    for (int column = 0; column < columnCount; ++column) {
        QTableWidgetItem* item = table_->item(index, column);
        if (!item)
            table_->setItem(index, column, item = new QTableWidgetItem);
        item->setText(texts[column]);
        item->setToolTip(plainToolTip(texts[column]));
    }
}

void UnsyncedReportsDialog::enableButtons() {
    const UnsyncedReportRow* row = selected();
    const QString reason = !row          ? QStringLiteral("Select a report first.")
                           : row->isBusy ? QStringLiteral("The report is being synced.")
                                         : QStringLiteral("Nothing is left to be done for this report.");
    for (QPushButton* button : {sync_, open_})
        setAvailable(*button, row && !row->isBusy && !row->isDone, reason);
    const bool allDone =
        std::all_of(rows_.begin(), rows_.end(), [](const UnsyncedReportRow& other) { return other.isDone; });
    later_->setText(allDone ? QStringLiteral("Close") : QStringLiteral("Later"));
}

const UnsyncedReportRow* UnsyncedReportsDialog::selected() const {
    const auto rows = table_->selectionModel()->selectedRows();
    return rows.isEmpty() ? nullptr : &rows_[static_cast<std::size_t>(rows.front().row())];
}

} // namespace zorbel

#include "viewer/findings/FindingsDialog.h"

#include "base/qt/QtText.h"
#include "base/widgets/Availability.h"
#include "viewer/findings/DentalChart.h"
#include "viewer/reading/records/ToothChart.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include <set>
#include <utility>

namespace zorbel {

namespace {

constexpr int toothRole = Qt::UserRole;
constexpr int regionRole = Qt::UserRole + 1;

QTableWidgetItem* cell(const QString& text) {
    auto* item = new QTableWidgetItem(text);
    item->setFlags(Qt::ItemIsSelectable | Qt::ItemIsEnabled);
    item->setToolTip(text.toHtmlEscaped());
    return item;
}

} // namespace

FindingsDialog::FindingsDialog(
    FindingList findings, std::optional<imaging::Vector3> location, QWidget* parent)
    : QDialog(parent), findings_(std::move(findings)), location_(location) {
    setObjectName(QStringLiteral("findingsDialog"));
    setWindowTitle(QStringLiteral("Findings"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(18, 16, 18, 14);
    layout->setSpacing(10);
    layout->addWidget(buildTable(), 1);
    layout->addWidget(buildChooser());
    auto* hint = new QLabel(QStringLiteral(
        "Sites use FDI two-digit notation. The crosshair position is recorded with each finding."));
    hint->setStyleSheet(QStringLiteral("color: #64748B;"));
    layout->addWidget(hint);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    refresh();
}

QWidget* FindingsDialog::buildTable() {
    table_ = new QTableWidget(0, 3);
    table_->setObjectName(QStringLiteral("findingsTable"));
    table_->setAccessibleName(QStringLiteral("Recorded findings"));
    table_->setHorizontalHeaderLabels(
        {QStringLiteral("Site"), QStringLiteral("Finding"), QStringLiteral("Note")});
    table_->horizontalHeader()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    table_->horizontalHeader()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    table_->horizontalHeader()->setSectionResizeMode(2, QHeaderView::Stretch);
    table_->verticalHeader()->hide();
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::SingleSelection);
    table_->setMinimumHeight(150);
    count_ = new QLabel;
    count_->setObjectName(QStringLiteral("findingsCount"));
    jump_ = new QPushButton(QStringLiteral("Go to"));
    jump_->setObjectName(QStringLiteral("findingsJump"));
    jump_->setToolTip(QStringLiteral("Move the crosshair to where the finding was recorded"));
    remove_ = new QPushButton(QStringLiteral("Remove selected"));
    remove_->setObjectName(QStringLiteral("findingsRemove"));
    for (auto* button : {jump_, remove_})
        button->setAutoDefault(false);
    connect(table_, &QTableWidget::itemSelectionChanged, this, [this] { enableButtons(); });
    connect(remove_, &QPushButton::clicked, this, &FindingsDialog::removeSelected);
    connect(jump_, &QPushButton::clicked, this, [this] {
        const int row = selectedRow();
        if (row >= 0 && findings_.findings()[static_cast<std::size_t>(row)].location)
            Q_EMIT jumpRequested(*findings_.findings()[static_cast<std::size_t>(row)].location);
    });
    auto* line = new QHBoxLayout;
    line->addWidget(count_, 1);
    line->addWidget(jump_);
    line->addWidget(remove_);
    auto* box = new QWidget;
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(table_, 1);
    layout->addLayout(line);
    return box;
}

QWidget* FindingsDialog::buildChooser() {
    chart_ = new DentalChart;
    site_ = new QComboBox;
    site_->setObjectName(QStringLiteral("findingSite"));
    site_->setMaxVisibleItems(20);
    fillSites();
    category_ = new QComboBox;
    category_->setObjectName(QStringLiteral("findingCategory"));
    for (int index = 0; index < findingCategoryCount; ++index)
        category_->addItem(qtText(findingCategoryLabel(static_cast<FindingCategory>(index))));
    note_ = new QLineEdit;
    note_->setObjectName(QStringLiteral("findingNote"));
    note_->setAccessibleName(QStringLiteral("Note"));
    note_->setPlaceholderText(QStringLiteral("Note (optional)"));
    note_->setMaxLength(500);
    record_ = new QPushButton(QStringLiteral("Record finding"));
    record_->setObjectName(QStringLiteral("findingRecord"));
    record_->setDefault(true);
    connect(record_, &QPushButton::clicked, this, &FindingsDialog::record);
    connect(site_, &QComboBox::currentIndexChanged, this, &FindingsDialog::chooseSite);
    connect(chart_, &DentalChart::toothChosen, this, [this](const FdiTooth& tooth) {
        site_->setCurrentIndex(site_->findData(tooth.code(), toothRole));
    });

    auto* fields = new QVBoxLayout;
    fields->setSpacing(8);
    fields->addWidget(site_);
    fields->addWidget(category_);
    fields->addWidget(note_);
    fields->addStretch(1);
    fields->addWidget(record_);
    auto* box = new QWidget;
    auto* layout = new QHBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(14);
    layout->addWidget(chart_);
    layout->addLayout(fields, 1);
    return box;
}

void FindingsDialog::fillSites() {
    site_->addItem(QStringLiteral("Choose a tooth or a region"));
    for (int index = 0; index < findingRegionCount; ++index) {
        site_->addItem(qtText(findingRegionLabel(static_cast<FindingRegion>(index))));
        site_->setItemData(site_->count() - 1, index, regionRole);
    }
    site_->insertSeparator(site_->count());
    const auto addTeeth = [this](const auto& codes) {
        for (const int code : codes) {
            site_->addItem(QString::fromStdString(FdiTooth::fromCode(code)->siteLabel()));
            site_->setItemData(site_->count() - 1, code, toothRole);
        }
    };
    addTeeth(ToothChart::upperPermanent);
    addTeeth(ToothChart::lowerPermanent);
    addTeeth(ToothChart::upperPrimary);
    addTeeth(ToothChart::lowerPrimary);
}

void FindingsDialog::chooseSite(int index) {
    chart_->setTooth(FdiTooth::fromCode(site_->itemData(index, toothRole).toInt()));
    enableButtons();
}

void FindingsDialog::enableButtons() {
    const int row = selectedRow();
    const QString none = QStringLiteral("Select a finding first.");
    setAvailable(*record_, site_->currentIndex() > 0, QStringLiteral("Choose a tooth or a region first."));
    setAvailable(*remove_, row >= 0, none);
    setAvailable(
        *jump_, row >= 0 && findings_.findings()[static_cast<std::size_t>(row)].location.has_value(),
        row < 0 ? none : QStringLiteral("The finding was recorded without a place in the volume."));
}

void FindingsDialog::record() {
    const int index = site_->currentIndex();
    const auto category = static_cast<FindingCategory>(category_->currentIndex());
    const auto tooth = FdiTooth::fromCode(site_->itemData(index, toothRole).toInt());
    if (index <= 0)
        return;
    Finding finding =
        tooth ? Finding(category, *tooth)
              : Finding(category, static_cast<FindingRegion>(site_->itemData(index, regionRole).toInt()));
    finding.note = note_->text().trimmed().toStdString();
    finding.location = location_;
    findings_.add(std::move(finding));
    note_->clear();
    refresh();
    table_->scrollToBottom();
    Q_EMIT findingsChanged(findings_);
}

void FindingsDialog::removeSelected() {
    const int row = selectedRow();
    if (row < 0 || !findings_.remove(static_cast<std::size_t>(row)))
        return;
    refresh();
    Q_EMIT findingsChanged(findings_);
}

void FindingsDialog::refresh() {
    const auto& findings = findings_.findings();
    table_->setRowCount(static_cast<int>(findings.size()));
    std::set<int> marked;
    for (std::size_t index = 0; index < findings.size(); ++index) {
        const int row = static_cast<int>(index);
        table_->setItem(row, 0, cell(QString::fromStdString(findings[index].siteLabel())));
        table_->setItem(row, 1, cell(qtText(findings[index].categoryLabel())));
        table_->setItem(row, 2, cell(QString::fromStdString(findings[index].note)));
        if (findings[index].tooth())
            marked.insert(findings[index].tooth()->code());
    }
    table_->clearSelection();
    chart_->setMarked(marked);
    count_->setText(QString::fromStdString(findings_.countText()));
    enableButtons();
}

int FindingsDialog::selectedRow() const {
    const auto rows = table_->selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.front().row();
}

} // namespace zorbel

#include "viewer/report/WordTemplateDialog.h"

#include "base/widgets/Availability.h"
#include "viewer/reading/study/ReportContents.h"
#include "viewer/widgets/PlainToolTip.h"

#include <QDialogButtonBox>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

namespace zorbel {

namespace {

/// Each entry in the direction of its own writing, all of them from the left edge.
class EntryDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
        QStyledItemDelegate::initStyleOption(option, index);
        if (option->text.isRightToLeft())
            option->direction = Qt::RightToLeft;
        option->displayAlignment = Qt::AlignLeft | Qt::AlignAbsolute | Qt::AlignVCenter;
    }
};

} // namespace

WordTemplateDialog::WordTemplateDialog(
    const QStringList& entries, std::shared_ptr<StudyReading> reading, QWidget* parent)
    : QDialog(parent), reading_(std::move(reading)) {
    setObjectName(QStringLiteral("wordTemplateDialog"));
    setWindowTitle(QStringLiteral("Choose Word template"));
    resize(620, 460);
    list_ = new QListWidget;
    list_->setObjectName(QStringLiteral("wordTemplateList"));
    list_->setAccessibleName(QStringLiteral("Templates"));
    list_->setItemDelegate(new EntryDelegate(list_));
    list_->setTextElideMode(Qt::ElideRight);
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    for (const QString& entry : entries) {
        auto* item = new QListWidgetItem(entry, list_);
        item->setToolTip(plainToolTip(entry));
    }
    list_->setCurrentRow(0);
    auto* label = new QLabel(QStringLiteral("Template for this report:"));
    label->setBuddy(list_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    buttons->button(QDialogButtonBox::Ok)->setDefault(true);
    const auto enableOk = [this, ok = buttons->button(QDialogButtonBox::Ok)] {
        setAvailable(*ok, selectedRow() >= 0, QStringLiteral("Select a template first."));
    };
    enableOk();
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(list_, &QListWidget::itemDoubleClicked, this, &QDialog::accept);
    connect(list_, &QListWidget::itemSelectionChanged, this, enableOk);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 16);
    layout->setSpacing(10);
    layout->addWidget(label);
    layout->addWidget(list_, 1);
    layout->addWidget(buildContents());
    layout->addWidget(buttons);
    subscription_ = reading_->observe([this](StudyReading::Change) { showContents(); });
    showContents();
    list_->setFocus();
}

QWidget* WordTemplateDialog::buildContents() {
    auto* box = new QFrame;
    box->setObjectName(QStringLiteral("reportContents"));
    auto* heading = new QLabel(QStringLiteral("Added at the end of the report"));
    heading->setObjectName(QStringLiteral("dialogHint"));
    contents_ = new QLabel;
    contents_->setObjectName(QStringLiteral("reportCounts"));
    auto* images = new QPushButton(QStringLiteral("Key images…"));
    images->setObjectName(QStringLiteral("reportKeyImages"));
    images->setToolTip(QStringLiteral("Look at the key images and choose which go into the report"));
    images->setAutoDefault(false);
    connect(images, &QPushButton::clicked, this, &WordTemplateDialog::keyImagesRequested);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addWidget(heading);
    texts->addWidget(contents_);
    auto* layout = new QHBoxLayout(box);
    layout->setContentsMargins(14, 10, 12, 10);
    layout->addLayout(texts, 1);
    layout->addWidget(images);
    return box;
}

void WordTemplateDialog::showContents() {
    contents_->setText(QString::fromStdString(ReportContents::of(*reading_).text()));
}

int WordTemplateDialog::selectedRow() const {
    return list_->selectedItems().isEmpty() ? -1 : list_->currentRow();
}

} // namespace zorbel

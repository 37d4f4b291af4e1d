#include "diagnostics/widgets/SupportBundleDialog.h"

#include "app/log/Logger.h"
#include "base/WorkCancelled.h"
#include "base/qt/BackgroundTask.h"

#include <QDateTime>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QStandardPaths>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <exception>
#include <utility>

namespace zorbel {

namespace {

constexpr std::size_t longestPreview = 200'000; // bytes

QLabel* plainLabel(const QString& text) {
    auto* label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

QString suggestedFile() {
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    return QDir(folder).filePath(
        QStringLiteral("zorbel-support-%1.zip")
            .arg(QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss"))));
}

/// Empty where all went well or was cancelled.
QString written(
    const QString& path, const std::vector<SupportBundleEntry>& entries,
    const std::shared_ptr<std::atomic<bool>>& cancel) {
    try {
        writeSupportBundle(QFileInfo(path).filesystemFilePath(), entries, cancel.get());
        return {};
    } catch (const WorkCancelled&) {
        return {};
    } catch (const std::exception& error) {
        return QString::fromUtf8(error.what());
    }
}

} // namespace

SupportBundleDialog::SupportBundleDialog(SupportBundleSources sources, QWidget* parent) : QDialog(parent) {
    build();
    setBusy(true);
    say(QStringLiteral("Collecting…"));
    runInBackground(
        *QThreadPool::globalInstance(), this,
        [sources = std::move(sources)] { return supportBundleEntries(sources); },
        [this](std::vector<SupportBundleEntry> entries) { showEntries(std::move(entries)); });
}

SupportBundleDialog::~SupportBundleDialog() {
    cancel_->store(true);
}

void SupportBundleDialog::build() {
    setObjectName(QStringLiteral("supportBundleDialog"));
    setWindowTitle(QStringLiteral("Export support bundle"));
    resize(640, 540);
    auto* hint = plainLabel(QStringLiteral(
        "One file for support with what is ticked. Names of patients and users, e-mail addresses and tokens "
        "are taken out; UIDs are replaced by short names. Choose a file to see what it holds."));
    hint->setObjectName(QStringLiteral("dialogHint"));
    list_ = new QTreeWidget;
    list_->setObjectName(QStringLiteral("supportBundleList"));
    list_->setAccessibleName(QStringLiteral("Files of the bundle"));
    list_->setRootIsDecorated(false);
    list_->setHeaderLabels({QStringLiteral("File"), QStringLiteral("Size")});
    list_->header()->setStretchLastSection(false);
    list_->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    list_->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    contents_ = new QPlainTextEdit;
    contents_->setObjectName(QStringLiteral("supportBundleContents"));
    contents_->setAccessibleName(QStringLiteral("Contents of the chosen file"));
    contents_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    contents_->setTabChangesFocus(true);
    memoryWarning_ = plainLabel(QStringLiteral(
        "A crash dump of the system (.dmp) holds memory contents, which can include the name of a patient. "
        "Nothing can be taken out of it. Tick it only where support asks for it."));
    memoryWarning_->setObjectName(QStringLiteral("supportBundleWarning"));
    memoryWarning_->setStyleSheet(QStringLiteral("color:#92400E;"));
    memoryWarning_->hide();
    said_ = plainLabel({});
    said_->setObjectName(QStringLiteral("supportBundleSaid"));
    busy_ = new QProgressBar;
    busy_->setRange(0, 0);
    busy_->setTextVisible(false);
    auto* buttons = new QDialogButtonBox;
    save_ = buttons->addButton(QStringLiteral("Save…"), QDialogButtonBox::AcceptRole);
    save_->setObjectName(QStringLiteral("supportBundleSave"));
    close_ = buttons->addButton(QDialogButtonBox::Cancel);
    close_->setObjectName(QStringLiteral("supportBundleClose"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 18);
    layout->setSpacing(10);
    for (QWidget* part :
         std::initializer_list<QWidget*>{hint, list_, contents_, memoryWarning_, said_, busy_, buttons})
        layout->addWidget(part);
    connect(list_, &QTreeWidget::currentItemChanged, this, &SupportBundleDialog::showContents);
    connect(save_, &QPushButton::clicked, this, &SupportBundleDialog::chooseFile);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

void SupportBundleDialog::showEntries(std::vector<SupportBundleEntry> entries) {
    entries_ = std::move(entries);
    for (const SupportBundleEntry& entry : entries_) {
        auto* item = new QTreeWidgetItem(
            {QString::fromStdString(entry.name),
             QLocale().formattedDataSize(static_cast<qint64>(entry.bytes))});
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
        item->setCheckState(0, entry.holdsMemory() ? Qt::Unchecked : Qt::Checked);
        item->setTextAlignment(1, Qt::AlignRight | Qt::AlignVCenter);
        list_->addTopLevelItem(item);
        if (entry.holdsMemory())
            memoryWarning_->show();
    }
    list_->setCurrentItem(list_->topLevelItem(0));
    setBusy(false);
    say({});
    list_->setFocus();
}

void SupportBundleDialog::showContents() {
    const int row = list_->indexOfTopLevelItem(list_->currentItem());
    if (row < 0)
        return;
    const SupportBundleEntry& entry = entries_[static_cast<std::size_t>(row)];
    QString text = QString::fromUtf8(
        entry.contents.data(), static_cast<qsizetype>(std::min(entry.contents.size(), longestPreview)));
    if (entry.holdsMemory())
        text = QStringLiteral("Memory contents, for a debugger.");
    else if (entry.contents.size() > longestPreview)
        text += QStringLiteral("\n…");
    contents_->setPlainText(text);
}

void SupportBundleDialog::chooseFile() {
    auto* chooser = new QFileDialog(this, QStringLiteral("Export support bundle"));
    chooser->setAttribute(Qt::WA_DeleteOnClose);
    chooser->setAcceptMode(QFileDialog::AcceptSave);
    chooser->setNameFilter(QStringLiteral("Zip files (*.zip)"));
    chooser->setDefaultSuffix(QStringLiteral("zip"));
    chooser->selectFile(suggestedFile());
    connect(chooser, &QFileDialog::fileSelected, this, &SupportBundleDialog::save);
    chooser->open();
}

void SupportBundleDialog::save(const QString& path) {
    std::vector<SupportBundleEntry> chosen;
    for (std::size_t row = 0; row < entries_.size(); ++row)
        if (list_->topLevelItem(static_cast<int>(row))->checkState(0) == Qt::Checked)
            chosen.push_back(entries_[row]);
    setBusy(true);
    say(QStringLiteral("Writing…"));
    runInBackground(
        *QThreadPool::globalInstance(), this,
        [path, chosen = std::move(chosen), cancel = cancel_] { return written(path, chosen, cancel); },
        [this, path](const QString& failure) {
            setBusy(false);
            if (!failure.isEmpty()) {
                Logger::instance().warn(
                    "Diagnostics", "The support bundle could not be written",
                    {{"reason", failure.toStdString()}});
                say(QStringLiteral("The bundle could not be saved. Nothing was written.\n\n%1").arg(failure));
                return;
            }
            Logger::instance().info("Diagnostics", "Support bundle written");
            say(QStringLiteral("Saved as %1").arg(QDir::toNativeSeparators(path)));
            close_->setText(QStringLiteral("Close"));
            close_->setFocus();
        });
}

void SupportBundleDialog::setBusy(bool busy) {
    busy_->setVisible(busy);
    save_->setEnabled(!busy);
    list_->setEnabled(!busy);
}

void SupportBundleDialog::say(const QString& text) {
    said_->setText(text);
    said_->setVisible(!text.isEmpty());
}

} // namespace zorbel

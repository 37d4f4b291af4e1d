#include "diagnostics/widgets/CrashDumpsView.h"

#include "base/qt/BackgroundTask.h"
#include "diagnostics/CrashDumpText.h"

#include <QDateTime>
#include <QFileInfo>
#include <QLabel>
#include <QListWidget>
#include <QLocale>
#include <QPlainTextEdit>
#include <QVBoxLayout>

#include <utility>

namespace zorbel {

namespace {

constexpr int pathRole = Qt::UserRole;

} // namespace

CrashDumpsView::CrashDumpsView(CrashDumps dumps, QWidget* parent)
    : QWidget(parent), dumps_(std::move(dumps)) {
    list_ = new QListWidget;
    list_->setObjectName(QStringLiteral("diagnosticsCrashes"));
    list_->setAccessibleName(QStringLiteral("Files that faults left behind"));
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list_->setMaximumHeight(120);
    text_ = new QPlainTextEdit;
    text_->setObjectName(QStringLiteral("diagnosticsCrashText"));
    text_->setAccessibleName(QStringLiteral("The chosen file"));
    text_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    text_->setPlaceholderText(QStringLiteral("No fault has left a file here."));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 6, 6, 6);
    layout->setSpacing(6);
    layout->addWidget(list_);
    layout->addWidget(text_, 1);
    connect(list_, &QListWidget::currentRowChanged, this, &CrashDumpsView::showText);
}

void CrashDumpsView::refresh() {
    if (std::exchange(looking_, true))
        return;
    runInBackground(
        *QThreadPool::globalInstance(), this, [dumps = dumps_] { return dumps.list(); },
        [this](const std::vector<CrashDumps::Dump>& dumps) {
            looking_ = false;
            showDumps(dumps);
        });
}

void CrashDumpsView::select(const QString& path) {
    wanted_ = QFileInfo(path).absoluteFilePath();
    refresh();
}

void CrashDumpsView::showDumps(const std::vector<CrashDumps::Dump>& dumps) {
    QStringList paths;
    for (const CrashDumps::Dump& dump : dumps)
        paths += QFileInfo(dump.file).absoluteFilePath();
    QStringList listed;
    for (int row = 0; row < list_->count(); ++row)
        listed += list_->item(row)->data(pathRole).toString();
    if (paths != listed) {
        const QString chosen =
            list_->currentItem() ? list_->currentItem()->data(pathRole).toString() : QString();
        list_->clear();
        for (std::size_t i = 0; i < dumps.size(); ++i) {
            const auto when = QDateTime::fromSecsSinceEpoch(dumps[i].time.time_since_epoch().count());
            auto* item = new QListWidgetItem(
                QStringLiteral("%1  •  %2")
                    .arg(
                        QLocale::c().toString(when, QStringLiteral("d MMM yyyy HH:mm:ss")),
                        QLocale::c().formattedDataSize(static_cast<qint64>(dumps[i].size))));
            item->setData(pathRole, paths[static_cast<qsizetype>(i)]);
            item->setToolTip(QFileInfo(dumps[i].file).fileName());
            list_->addItem(item);
        }
        list_->setCurrentRow(std::max<int>(0, static_cast<int>(paths.indexOf(chosen))));
    }
    if (const auto row = paths.indexOf(wanted_); row >= 0) {
        list_->setCurrentRow(static_cast<int>(row));
        wanted_.clear();
    }
}

void CrashDumpsView::showText() {
    const auto* item = list_->currentItem();
    shownFile_ = item ? item->data(pathRole).toString() : QString();
    text_->clear();
    if (!item)
        return;
    runInBackground(
        *QThreadPool::globalInstance(), this,
        [file = QFileInfo(shownFile_).filesystemFilePath()] { return crashDumpText(file); },
        [this, file = shownFile_](const std::string& text) {
            if (file == shownFile_)
                text_->setPlainText(QString::fromStdString(text));
        });
}

} // namespace zorbel

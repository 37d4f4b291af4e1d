#include "app/update/widgets/UpdateController.h"

#include "app/log/Logger.h"
#include "platform/SystemInfo.h"

#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>

#include <utility>

namespace zorbel {

namespace {

const QString& title() {
    static const QString text = QStringLiteral("Zorbel Diagnostic Viewer");
    return text;
}

QString offerText(const ReleaseManifest& release) {
    if (runsInstallers())
        return QStringLiteral(
                   "Version %1 is available.\n\nThe update installs itself and reopens the viewer. Finish "
                   "your current study or report first.")
            .arg(release.version);
    return QStringLiteral("Version %1 is available.\n\nIts installer runs on Windows and lies at\n%2")
        .arg(release.version, release.url.toDisplayString());
}

} // namespace

UpdateController::UpdateController(
    const QString& currentVersion, const UpdateOrigin& origin, const std::filesystem::path& folder,
    QWidget& window, std::function<bool()> mayInterrupt)
    : QObject(&window), window_(window), service_(currentVersion, origin, folder) {
    service_.setMayInterrupt(std::move(mayInterrupt));
    connect(&service_, &DesktopUpdateService::UpdateAvailable, this, &UpdateController::offer);
    connect(&service_, &DesktopUpdateService::DownloadProgress, this, &UpdateController::showProgress);
    connect(&service_, &DesktopUpdateService::UpdateReady, this, &UpdateController::offerInstallation);
    connect(&service_, &DesktopUpdateService::UpdateFailed, this, &UpdateController::showFailure);

    progress_ = new QProgressDialog(
        QStringLiteral("Downloading the update..."), QStringLiteral("Cancel"), 0, 100, &window);
    progress_->setObjectName(QStringLiteral("updateProgress"));
    progress_->setWindowTitle(title());
    progress_->setMinimumDuration(0);
    progress_->setAutoClose(false);
    progress_->setAutoReset(false);
    progress_->setModal(false);
    progress_->cancel();
    progress_->hide();
    connect(progress_, &QProgressDialog::canceled, this, [this] {
        cancelled_ = true;
        service_.cancelDownload();
    });
}

UpdateController::~UpdateController() {
    delete progress_; // the window, whose child it is, may live on
}

/// With one button where `no` is empty; accepted by the other.
QMessageBox* UpdateController::message(const QString& text, const QString& yes, const QString& no) {
    auto* box = new QMessageBox(QMessageBox::NoIcon, title(), text, QMessageBox::NoButton, &window_);
    box->setObjectName(QStringLiteral("updateMessage"));
    box->setTextFormat(Qt::PlainText);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setDefaultButton(box->addButton(yes, QMessageBox::AcceptRole));
    if (!no.isEmpty())
        box->setEscapeButton(box->addButton(no, QMessageBox::RejectRole));
    return box;
}

void UpdateController::offer(const QString&) {
    QMessageBox* box = message(
        offerText(*service_.offeredRelease()),
        runsInstallers() ? QStringLiteral("Update") : QStringLiteral("Download"), QStringLiteral("Later"));
    connect(box, &QMessageBox::accepted, this, &UpdateController::download);
    box->open();
}

void UpdateController::download() {
    cancelled_ = false;
    progress_->reset(); // it was cancelled before
    progress_->setValue(0);
    progress_->show();
    service_.downloadUpdate();
}

void UpdateController::showProgress(qint64 received, qint64 total) {
    if (total > 0)
        progress_->setValue(static_cast<int>(received * 100 / total));
}

void UpdateController::offerInstallation() {
    progress_->hide();
    if (!runsInstallers()) {
        message(
            QStringLiteral(
                "Version %1 is downloaded and verified.\n\nIts installer runs on Windows and lies at\n%2")
                .arg(
                    service_.offeredRelease()->version,
                    QString::fromStdU16String(service_.installer().u16string())),
            QStringLiteral("OK"), {})
            ->open();
        return;
    }
    installs_ = true;
    QMessageBox* box = message(
        QStringLiteral("Version %1 is ready.\n\nIt is installed when the viewer closes.")
            .arg(service_.offeredRelease()->version),
        QStringLiteral("Close and install"), QStringLiteral("Later"));
    connect(box, &QMessageBox::accepted, &window_, &QWidget::close);
    box->open();
}

void UpdateController::showFailure(const QString& reason) {
    progress_->hide();
    if (!cancelled_)
        message(reason, QStringLiteral("OK"), {})->open();
}

void UpdateController::installAtEnd() {
    if (installs_ && !service_.install())
        Logger::instance().error("Update", "The installer could not be started");
}

} // namespace zorbel

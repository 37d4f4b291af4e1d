#pragma once

#include "app/update/DesktopUpdateService.h"

#include <QObject>
#include <QPointer>

#include <functional>

class QMessageBox;
class QProgressDialog;
class QWidget;

namespace zorbel {

/// Offers an update over the main window when that disturbs nothing, shows its download, and has it installed
/// when the window has closed. Where installers do not run, it says where the release lies and installs
/// nothing. User-interface thread.
class UpdateController : public QObject {
    Q_OBJECT

public:
    /// window: its parent. mayInterrupt: whether a question would disturb nobody now.
    UpdateController(
        const QString& currentVersion, const UpdateOrigin& origin, const std::filesystem::path& folder,
        QWidget& window, std::function<bool()> mayInterrupt);

    ~UpdateController() override;

    void check() { service_.checkForUpdates(); }
    /// Starts the installer if the user wants it; for the program's last moment.
    void installAtEnd();

private:
    void offer(const QString& version);
    void download();
    void showProgress(qint64 received, qint64 total);
    void offerInstallation();
    void showFailure(const QString& reason);
    QMessageBox* message(const QString& text, const QString& yes, const QString& no);

    QWidget& window_;
    DesktopUpdateService service_;
    QPointer<QProgressDialog> progress_;
    bool cancelled_ = false;
    bool installs_ = false;
};

} // namespace zorbel

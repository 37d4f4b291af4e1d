#pragma once

#include "app/update/ReleaseManifest.h"
#include "app/update/UpdateOrigin.h"

#include <QNetworkAccessManager>
#include <QObject>
#include <QThreadPool>
#include <QTimer>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

class QFile;

namespace zorbel {

class BoundedRequest;

/// Looks for a newer release, downloads its installer, verifies it, and starts it. One thing at a time: an
/// operation that is asked for while another runs is ignored. Every failure is told once, by a sentence for
/// the user; what was downloaded by then is gone. User-interface thread; verification runs on another.
class DesktopUpdateService : public QObject {
    Q_OBJECT

public:
    /// folder: where installers are downloaded to; it is made when it is needed.
    DesktopUpdateService(
        QString currentVersion, UpdateOrigin origin, std::filesystem::path folder, QObject* parent = nullptr);
    ~DesktopUpdateService() override;

    /// Asked before the user is told of an update or of its download, and again until it says so; without it
    /// nothing waits.
    void setMayInterrupt(std::function<bool()> mayInterrupt) { mayInterrupt_ = std::move(mayInterrupt); }

    void checkForUpdates();
    void downloadUpdate();
    /// Of the download or of what follows it; it then fails as interrupted. Nothing happens otherwise.
    void cancelDownload();
    /// Starts the verified installer, which waits for nobody: the program is to end now. False when it could
    /// not be started.
    bool install();

    /// The release that was offered, with its installer's address.
    const std::optional<ReleaseManifest>& offeredRelease() const { return offered_; }
    /// The verified installer; empty before UpdateReady.
    const std::filesystem::path& installer() const { return installer_; }

    /// Those of earlier sessions. Never throws.
    static void removeStaleDownloads(const std::filesystem::path& folder) noexcept;

Q_SIGNALS:
    void UpdateAvailable(const QString& version);
    void NoUpdateAvailable();
    void CheckFailed(const QString& reason);
    void DownloadProgress(qint64 received, qint64 total);
    void UpdateReady();
    void UpdateFailed(const QString& reason);

private:
    QNetworkRequest requestFor(const QUrl& url) const;
    void judgeManifest(const QByteArray& body);
    bool openDownload();
    void verifyDownload();
    void finishDownload(const QString& refusal);
    void failCheck(const QString& reason);
    void failDownload(const QString& reason);
    void whenQuiet(std::function<void()> tell);

    QString currentVersion_;
    UpdateOrigin origin_;
    std::filesystem::path folder_;
    std::function<bool()> mayInterrupt_;
    QNetworkAccessManager network_;
    QThreadPool pool_;
    QTimer asking_;
    std::function<void()> tell_; ///< what waits until the user may be interrupted
    std::unique_ptr<BoundedRequest> request_;
    std::unique_ptr<QFile> download_; ///< while bytes are written or verified
    bool interrupted_ = false;
    std::optional<ReleaseManifest> offered_;
    std::filesystem::path installer_;
};

} // namespace zorbel

#include "app/update/DesktopUpdateService.h"

#include "app/log/Logger.h"
#include "app/update/BoundedRequest.h"
#include "app/update/InstallerCheck.h"
#include "app/update/ReleaseVersion.h"
#include "base/qt/BackgroundTask.h"
#include "platform/PrivateFile.h"
#include "platform/RandomName.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <exception>
#include <system_error>
#include <utility>

namespace zorbel {

namespace {

constexpr char component[] = "Update";
constexpr char namePrefix[] = "Zorbel-Diagnostic-Viewer-";
constexpr char partialSuffix[] = ".partial";
constexpr char installerSuffix[] = ".exe";
constexpr qint64 largestManifest = 65'536;
constexpr int askAgainMs = 1000;

void removeFile(const std::filesystem::path& file) {
    std::error_code error;
    std::filesystem::remove(file, error);
    if (error)
        Logger::instance().warn(
            component, "A downloaded update could not be removed", {{"reason", error.message()}});
}

} // namespace

DesktopUpdateService::DesktopUpdateService(
    QString currentVersion, UpdateOrigin origin, std::filesystem::path folder, QObject* parent)
    : QObject(parent), currentVersion_(std::move(currentVersion)), origin_(std::move(origin)),
      folder_(std::move(folder)) {
    pool_.setMaxThreadCount(1);
    asking_.setInterval(askAgainMs);
    connect(&asking_, &QTimer::timeout, this, [this] { whenQuiet(std::exchange(tell_, {})); });
}

DesktopUpdateService::~DesktopUpdateService() {
    request_.reset(); // it writes into the download
    pool_.waitForDone();
    if (download_) {
        download_->close();
        removeFile(download_->filesystemFileName());
    }
}

QNetworkRequest DesktopUpdateService::requestFor(const QUrl& url) const {
    QNetworkRequest request(url);
    request.setHeader(
        QNetworkRequest::UserAgentHeader, QStringLiteral("Zorbel-Diagnostic-Viewer/%1").arg(currentVersion_));
    return request;
}

/// Tells now or as soon as the user may be interrupted.
void DesktopUpdateService::whenQuiet(std::function<void()> tell) {
    if (mayInterrupt_ && !mayInterrupt_()) {
        tell_ = std::move(tell);
        asking_.start();
        return;
    }
    asking_.stop();
    tell();
}

// ---- Check

void DesktopUpdateService::failCheck(const QString& reason) {
    Logger::instance().warn(component, "The check for updates failed", {{"reason", reason.toStdString()}});
    Q_EMIT CheckFailed(reason);
}

void DesktopUpdateService::checkForUpdates() {
    if (request_ || download_ || tell_)
        return;
    if (!origin_.trusts(origin_.manifestUrl))
        return failCheck(QStringLiteral("The update service URL is not trusted."));
    QNetworkRequest request = requestFor(origin_.manifestUrl);
    request.setRawHeader("Accept", "application/json");
    const auto body = std::make_shared<QByteArray>();
    request_ =
        std::make_unique<BoundedRequest>(network_, request, largestManifest, [body](const QByteArray& bytes) {
            body->append(bytes);
            return true;
        });
    connect(request_.get(), &BoundedRequest::finished, this, [this, body](BoundedRequest::Outcome outcome) {
        request_.release()->deleteLater();
        if (outcome == BoundedRequest::Outcome::TooLarge)
            failCheck(QStringLiteral("The update response is too large."));
        else if (outcome != BoundedRequest::Outcome::Complete)
            failCheck(QStringLiteral("The update service could not be reached."));
        else
            judgeManifest(*body);
    });
}

void DesktopUpdateService::judgeManifest(const QByteArray& body) {
    const QJsonDocument document = QJsonDocument::fromJson(body);
    if (!document.isObject())
        return failCheck(QStringLiteral("The update response is invalid."));
    auto manifest = ReleaseManifest::parse(document.object(), origin_);
    if (!manifest)
        return failCheck(QStringLiteral("The update response failed security validation."));
    const auto theirs = ReleaseVersion::parse(manifest->version);
    const auto ours = ReleaseVersion::parse(currentVersion_);
    if (!theirs || !ours)
        return failCheck(QStringLiteral("The update version is invalid."));
    if (*theirs <= *ours) {
        Logger::instance().info(component, "The program is up to date");
        Q_EMIT NoUpdateAvailable();
        return;
    }
    Logger::instance().info(
        component, "A newer version is available", {{"version", manifest->version.toStdString()}});
    offered_ = std::move(manifest);
    whenQuiet([this] { Q_EMIT UpdateAvailable(offered_->version); });
}

// ---- Download

void DesktopUpdateService::failDownload(const QString& reason) {
    Logger::instance().warn(component, "The update failed", {{"reason", reason.toStdString()}});
    if (const auto download = std::exchange(download_, nullptr)) {
        download->close();
        removeFile(download->filesystemFileName());
    }
    Q_EMIT UpdateFailed(reason);
}

bool DesktopUpdateService::openDownload() {
    try {
        createPrivateFolder(folder_);
        const auto file = folder_ / (namePrefix + randomName() + partialSuffix);
        if (!isOwnFolder(folder_))
            return false;
        createPrivateFile(file);
        auto download = std::make_unique<QFile>(file);
        if (!download->open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
            removeFile(file);
            return false;
        }
        download_ = std::move(download);
        return true;
    } catch (const std::exception& error) {
        Logger::instance().warn(component, "No place for the download", {{"reason", error.what()}});
        return false;
    }
}

void DesktopUpdateService::downloadUpdate() {
    if (request_ || download_)
        return;
    if (!offered_)
        return failDownload(QStringLiteral("No update has been offered yet."));
    if (!origin_.trusts(offered_->url))
        return failDownload(QStringLiteral("The update download location is not trusted."));
    if (!openDownload())
        return failDownload(QStringLiteral("Could not prepare a download location."));
    interrupted_ = false;
    installer_.clear();
    request_ = std::make_unique<BoundedRequest>(
        network_, requestFor(offered_->url), offered_->sizeBytes,
        [this](const QByteArray& bytes) { return download_->write(bytes) == bytes.size(); });
    connect(request_.get(), &BoundedRequest::progress, this, [this](qint64 received, qint64 total) {
        Q_EMIT DownloadProgress(received, total < 0 ? offered_->sizeBytes : total);
    });
    connect(request_.get(), &BoundedRequest::finished, this, [this](BoundedRequest::Outcome outcome) {
        request_.release()->deleteLater();
        if (outcome == BoundedRequest::Outcome::TooLarge)
            failDownload(QStringLiteral("The update is larger than expected."));
        else if (outcome != BoundedRequest::Outcome::Complete)
            failDownload(QStringLiteral("The update could not be downloaded."));
        else
            verifyDownload();
    });
}

void DesktopUpdateService::cancelDownload() {
    if (!download_ || interrupted_)
        return;
    interrupted_ = true;
    if (!request_)
        return; // its verification cannot be stopped, but comes to nothing
    request_->stop();
    request_.release()->deleteLater(); // it may be the one that calls
    failDownload(QStringLiteral("The download was interrupted."));
}

void DesktopUpdateService::verifyDownload() {
    download_->close();
    if (download_->error() != QFileDevice::NoError)
        return failDownload(QStringLiteral("The update could not be downloaded."));
    runInBackground(
        pool_, this,
        [file = download_->filesystemFileName(), manifest = *offered_, origin = origin_] {
            return refusalOfInstaller(file, manifest, origin);
        },
        [this](const QString& refusal) { finishDownload(refusal); });
}

void DesktopUpdateService::finishDownload(const QString& refusal) {
    if (interrupted_)
        return failDownload(QStringLiteral("The download was interrupted."));
    if (!refusal.isEmpty())
        return failDownload(refusal);
    std::filesystem::path final = download_->filesystemFileName();
    final.replace_extension(installerSuffix);
    std::error_code error;
    std::filesystem::rename(download_->filesystemFileName(), final, error);
    if (error)
        return failDownload(QStringLiteral("The verified update could not be prepared."));
    download_.reset();
    installer_ = std::move(final);
    Logger::instance().info(component, "The update is downloaded and verified");
    whenQuiet([this] { Q_EMIT UpdateReady(); });
}

// ---- Installation

bool DesktopUpdateService::install() {
    std::error_code error;
    if (installer_.empty() || !std::filesystem::is_regular_file(installer_, error))
        return false;
    return QProcess::startDetached(
        QString::fromStdU16String(installer_.u16string()),
        {QStringLiteral("/SILENT"), QStringLiteral("/NORESTART"), QStringLiteral("/RESTARTAPPLICATIONS")});
}

void DesktopUpdateService::removeStaleDownloads(const std::filesystem::path& folder) noexcept {
    try {
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
            const auto name = entry.path().filename().u8string();
            const auto extension = entry.path().extension();
            if (name.starts_with(std::u8string(std::begin(namePrefix), std::end(namePrefix) - 1)) &&
                (extension == installerSuffix || extension == partialSuffix) && !entry.is_directory(error))
                removeFile(entry.path());
        }
    } catch (const std::exception&) {
        // They lie there until the next start.
    }
}

} // namespace zorbel

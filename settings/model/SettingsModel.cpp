#include "settings/model/SettingsModel.h"

#include "api/ConnectionAdvice.h"
#include "base/qt/BackgroundTask.h"
#include "settings/store/SettingsStore.h"

#include <QPointer>
#include <QUrl>

#include <algorithm>
#include <exception>
#include <optional>
#include <utility>

namespace zorbel {

namespace {

constexpr std::uint64_t bytesOfMegabyte = 1'000'000;
const QString sourceTitle = QStringLiteral("Local Node settings");
const QString cacheTitle = QStringLiteral("Viewer cache");

/// What a call to the service threw; empty where it succeeded.
template <typename Call>
QString failureOf(const Call& call) {
    try {
        call();
        return {};
    } catch (const std::exception& error) {
        const QString text = messageWithAdvice(error);
        return text.isEmpty() ? QStringLiteral("Unknown failure") : text;
    }
}

/// Tells the service of the address; throws.
void saveAddressOf(ZorbelApiClient& client, const SettingsChoice& choice, const CancelFlag& cancel) {
    const QUrl url(choice.nodeAddress, QUrl::StrictMode);
    if ((url.scheme() != QLatin1String("http") && url.scheme() != QLatin1String("https")) ||
        url.host().isEmpty())
        throw ZorbelApiError("The address begins with http:// or https:// and names the node's host.");
    client.saveLocalNode(choice.source.nodeId, choice.nodeAddress, cancel);
}

} // namespace

SettingsModel::SettingsModel(
    std::shared_ptr<ZorbelApiClient> client, SettingsStore& store, StorageInUse& storage, QObject* parent)
    : QObject(parent), client_(std::move(client)), store_(store), storage_(storage) {
    servicePool_.setMaxThreadCount(4); // one that hangs keeps nothing else waiting
}

SettingsModel::~SettingsModel() {
    closing_->store(true);
    servicePool_.waitForDone();
}

SettingsStatus SettingsModel::sessionStatus() const {
    return client_->isSignedIn() && !client_->hasSessionEnded()
               ? SettingsStatus{QStringLiteral("Session active"), StatusTone::Success}
               : SettingsStatus{QStringLiteral("Session ended"), StatusTone::Failure};
}

bool SettingsModel::mayEditAddress() const {
    const QString role = client_->profile().role;
    return role == QLatin1String("SUPER_ADMIN") || role == QLatin1String("ADMIN") ||
           role == QLatin1String("CLIENT_ADMIN");
}

SettingsChoice SettingsModel::stored() const {
    SettingsChoice choice;
    choice.source = SourceSettings::read(store_, client_->profile().organizationId);
    choice.nodeAddress = addressOf(choice.source.nodeId);
    choice.cache = ViewerCacheSettings::read(store_);
    return choice;
}

QString SettingsModel::addressOf(const QString& nodeId) const {
    const auto node = std::find_if(
        nodes_.begin(), nodes_.end(), [&nodeId](const auto& one) { return one.clinicId == nodeId; });
    return node == nodes_.end() ? QString() : node->baseUrl;
}

bool SettingsModel::leavesFolder(const ViewerCacheSettings& cache) const {
    const auto storage = storage_.storage();
    return storage && storage->cacheRoot() != cache.cacheDir;
}

QString SettingsModel::folderNotice(const ViewerCacheSettings& cache, bool removeOld) const {
    if (!leavesFolder(cache))
        return {};
    const QString old = QString::fromStdU16String(storage_.storage()->cacheRoot().u16string());
    const QString kept =
        removeOld || cache.isSessionOnly()
            ? QStringLiteral("Your studies in the old folder are removed when the viewer closes.")
            : QStringLiteral("Your studies in the old folder stay there, without any limit of days or size.");
    return QStringLiteral(
               "New studies go to the new folder, and your findings, measurements and key images with them. "
               "%1 The old folder is %2")
        .arg(kept, old);
}

SettingsStatus SettingsModel::sourceStatus(const SourceSettings& source) {
    return {
        source.kind == SourceKind::CloudOnly ? QStringLiteral("Cloud connection selected")
                                             : QStringLiteral("Ready to connect"),
        StatusTone::Progress};
}

void SettingsModel::verify() {
    if (std::exchange(verifying_, true))
        return;
    Q_EMIT sessionStatusChanged({QStringLiteral("Verifying…"), StatusTone::Progress});
    runInBackground(
        servicePool_, this,
        [client = client_, cancel = closing_] { return failureOf([&] { client->validateSession(cancel); }); },
        [this](const QString& failure) {
            verifying_ = false;
            Q_EMIT sessionStatusChanged(
                failure.isEmpty()
                    ? SettingsStatus{QStringLiteral("Connected securely"), StatusTone::Success}
                    : SettingsStatus{
                          QStringLiteral("Connection verification failed"), StatusTone::Failure, failure});
            tellSessionEnd(failure);
        });
}

void SettingsModel::refreshNodes() {
    if (std::exchange(listing_, true))
        return;
    Q_EMIT nodeListStatusChanged({QStringLiteral("Loading organization nodes..."), StatusTone::Progress});
    struct Listing {
        std::vector<LocalNodeEntry> nodes;
        QString failure;
    };
    runInBackground(
        servicePool_, this,
        [client = client_, cancel = closing_] {
            Listing listing;
            listing.failure = failureOf([&] { listing.nodes = client->listLocalNodes(cancel); });
            return listing;
        },
        [this](const Listing& listing) {
            listing_ = false;
            if (!listing.failure.isEmpty()) {
                Q_EMIT nodeListStatusChanged(
                    {QStringLiteral("Could not load organization nodes"), StatusTone::Failure,
                     listing.failure});
                tellSessionEnd(listing.failure);
                return;
            }
            nodes_ = listing.nodes;
            Q_EMIT nodesChanged();
            Q_EMIT nodeListStatusChanged(
                {nodes_.empty() ? QStringLiteral("No Local Node is registered for this organization")
                                : QString(),
                 StatusTone::Progress});
        });
}

bool SettingsModel::changesAddress(const SettingsChoice& choice) const {
    const auto isChosen = [&choice](const auto& node) { return node.clinicId == choice.source.nodeId; };
    return mayEditAddress() && std::any_of(nodes_.begin(), nodes_.end(), isChosen) &&
           choice.nodeAddress != addressOf(choice.source.nodeId);
}

void SettingsModel::connectNode(const SettingsChoice& choice) {
    if (std::exchange(connecting_, true))
        return;
    Q_EMIT nodeStatusChanged({QStringLiteral("Connecting securely..."), StatusTone::Progress});
    runInBackground(
        servicePool_, this,
        [client = client_, cancel = closing_, choice, address = changesAddress(choice)] {
            return failureOf([&] {
                if (address)
                    saveAddressOf(*client, choice, cancel);
                client->checkLocalNode(choice.source.nodeId, cancel);
            });
        },
        [this](const QString& failure) {
            connecting_ = false;
            refreshNodes(); // whether the node is online, and where
            Q_EMIT nodeStatusChanged(
                failure.isEmpty()
                    ? SettingsStatus{QStringLiteral("Connected to Zorbel Local Node"), StatusTone::Success}
                    : SettingsStatus{
                          QStringLiteral("Local Node connection failed"), StatusTone::Failure, failure});
            tellSessionEnd(failure);
        });
}

void SettingsModel::measureUsage() {
    const auto storage = storage_.storage();
    if (!storage) {
        Q_EMIT usageChanged(
            QStringLiteral("Unavailable: %1").arg(QStringLiteral("studies cannot be kept here")));
        return;
    }
    // A slow disk is not waited for when this ends.
    runInBackground(
        *QThreadPool::globalInstance(), this,
        [storage = *storage] {
            StorageUsage usage;
            const QString failure = failureOf([&] { usage = storage.usage(); });
            if (!failure.isEmpty())
                return QStringLiteral("Unavailable: %1").arg(failure);
            return QStringLiteral("%1 studies • %2 MB").arg(usage.studies).arg(usage.bytes / bytesOfMegabyte);
        },
        [this](const QString& text) { Q_EMIT usageChanged(text); });
}

void SettingsModel::clearCache() {
    if (std::exchange(clearing_, true))
        return;
    Q_EMIT usageChanged(QStringLiteral("Clearing…"));
    storage_.clear([model = QPointer(this)](const QString& failure) {
        if (!model)
            return;
        model->clearing_ = false;
        Q_EMIT model->cacheCleared(
            failure.isEmpty() ? QString()
                              : QStringLiteral("The cache could not be cleared.\n\n%1").arg(failure));
        model->measureUsage();
    });
}

void SettingsModel::save(const SettingsChoice& choice) {
    if (unfinishedParts_ > 0)
        return;
    warnings_.clear();
    choice.source.write(store_, client_->profile().organizationId);
    store_.removeLegacy();
    choice.cache.write(store_);
    if (!store_.save())
        warnings_.push_back(
            {QStringLiteral("Viewer settings"),
             QStringLiteral(
                 "The settings could not be written to this computer. They hold until the viewer closes.")});
    const bool address = changesAddress(choice);
    useSource(choice, false);
    unfinishedParts_ = address ? 2 : 1;
    if (address)
        saveAddress(choice);
    // Beside the service's answer: whoever does not wait for it still has the storage changed.
    storage_.change(choice.cache, choice.removeOld, [model = QPointer(this)](const QString& failure) {
        if (model)
            model->finishPart(
                {failure.isEmpty() ? QString() : cacheTitle,
                 QStringLiteral("The cache policy was saved but could not be applied immediately.\n\n%1")
                     .arg(failure)});
    });
}

void SettingsModel::useSource(const SettingsChoice& choice, bool always) {
    const SourceSettings& source = choice.source;
    // It gives up the session on the node, which is of use while nothing changes.
    if (always || client_->sourceKind() != source.kind || client_->selectedLocalNode() != source.nodeId)
        client_->selectSource(source.kind, source.nodeId);
}

void SettingsModel::saveAddress(const SettingsChoice& choice) {
    runInBackground(
        servicePool_, this,
        [client = client_, cancel = closing_, choice] {
            return failureOf([&] { saveAddressOf(*client, choice, cancel); });
        },
        [this, choice](const QString& failure) {
            if (failure.isEmpty())
                useSource(choice, true); // its session is with the old address
            finishPart(
                {failure.isEmpty() ? QString() : sourceTitle,
                 QStringLiteral("The viewer preference was saved, but the Local Node address could not be "
                                "updated.\n\n%1")
                     .arg(failure)});
            tellSessionEnd(failure);
        });
}

void SettingsModel::tellSessionEnd(const QString& failure) {
    if (!failure.isEmpty() && client_->hasSessionEnded())
        Q_EMIT sessionEnded();
}

void SettingsModel::finishPart(const SettingsWarning& warning) {
    if (!warning.title.isEmpty())
        warnings_.push_back(warning);
    if (--unfinishedParts_ == 0)
        Q_EMIT saved(warnings_);
}

} // namespace zorbel

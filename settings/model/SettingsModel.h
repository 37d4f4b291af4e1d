#pragma once

#include "api/ZorbelApiClient.h"
#include "settings/model/SettingsStatus.h"
#include "settings/model/SourceSettings.h"
#include "settings/model/StorageInUse.h"

#include <QObject>
#include <QString>
#include <QThreadPool>

#include <memory>
#include <vector>

namespace zorbel {

class SettingsStore;

/// What the user set.
struct SettingsChoice {
    SourceSettings source;
    QString nodeAddress; ///< of the chosen node
    ViewerCacheSettings cache;
    bool removeOld = true; ///< what lies in a cache folder that is left
};

struct SettingsWarning {
    QString title;
    QString text;
};

/// What the settings dialog knows and does, without widgets. What takes time runs in the background; what
/// talks to the service or a node ends when this object does. User-interface thread.
class SettingsModel : public QObject {
    Q_OBJECT

public:
    /// client: signed in. store and storage must outlive this.
    SettingsModel(
        std::shared_ptr<ZorbelApiClient> client, SettingsStore& store, StorageInUse& storage,
        QObject* parent = nullptr);
    ~SettingsModel() override;

    UserProfile profile() const { return client_->profile(); }
    QString endpoint() const { return client_->config().baseUrl; }
    /// As the session is known so far: "Session active".
    SettingsStatus sessionStatus() const;
    /// The organization's administrators alone change a node's address.
    bool mayEditAddress() const;
    /// What is stored.
    SettingsChoice stored() const;
    /// Those that the service listed last.
    const std::vector<LocalNodeEntry>& nodes() const { return nodes_; }
    /// Empty for a node that is not listed.
    QString addressOf(const QString& nodeId) const;
    /// What the folder's change means for what lies in the old one; empty while it is none.
    QString folderNotice(const ViewerCacheSettings& cache, bool removeOld) const;
    bool leavesFolder(const ViewerCacheSettings& cache) const;
    /// How a choice of source and node stands before it is tried.
    static SettingsStatus sourceStatus(const SourceSettings& source);

    /// Asks the service whether the session holds.
    void verify();
    void refreshNodes();
    /// Tries to open a session on the chosen node. An address that was changed is told to the service first.
    void connectNode(const SettingsChoice& choice);
    void measureUsage();
    void clearCache();
    /// Stores the choice and has it hold for the running session; saved() follows.
    void save(const SettingsChoice& choice);

Q_SIGNALS:
    /// The service refused what was asked of it, because the session has ended.
    void sessionEnded();
    void sessionStatusChanged(const zorbel::SettingsStatus& status);
    /// Of the list of nodes; an empty text for a list that has some.
    void nodeListStatusChanged(const zorbel::SettingsStatus& status);
    void nodesChanged();
    void nodeStatusChanged(const zorbel::SettingsStatus& status);
    void usageChanged(const QString& text);
    /// failure: empty, or what to tell the user.
    void cacheCleared(const QString& failure);
    /// Everything has been tried.
    void saved(const std::vector<zorbel::SettingsWarning>& warnings);

private:
    bool changesAddress(const SettingsChoice& choice) const;
    void useSource(const SettingsChoice& choice, bool always);
    void saveAddress(const SettingsChoice& choice);
    void finishPart(const SettingsWarning& warning);
    void tellSessionEnd(const QString& failure);

    std::shared_ptr<ZorbelApiClient> client_;
    SettingsStore& store_;
    StorageInUse& storage_;
    QThreadPool servicePool_; ///< for what closing_ ends
    CancelFlag closing_ = std::make_shared<std::atomic<bool>>(false);
    std::vector<LocalNodeEntry> nodes_;
    std::vector<SettingsWarning> warnings_; ///< of the saving under way
    int unfinishedParts_ = 0;               ///< likewise
    bool verifying_ = false;
    bool listing_ = false;
    bool connecting_ = false;
    bool clearing_ = false;
};

} // namespace zorbel

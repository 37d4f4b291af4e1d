#pragma once

#include "cache/storage/StorageSession.h"
#include "settings/model/StorageInUse.h"

#include <QObject>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace zorbel {

struct UserProfile;

/// The signed-in user's storage on this computer, from the sign-in to the program's end, and whatever the
/// settings make of it meanwhile. What fails is logged, and the program goes on without. User-interface
/// thread.
class SessionStorage : public QObject, public StorageInUse {
    Q_OBJECT

public:
    using Done = std::function<void(const QString& failure)>;

    /// What the window does about a change; empty functions while there is no window.
    struct Window {
        /// Uses the storage of loads() and keeps the reading state in the folder, or, where that is empty,
        /// where it is.
        std::function<void(const std::filesystem::path& stateFolder, Done done)> use{};
        /// Has `clear`, which returns what went wrong, remove what is kept, and writes again what is open.
        std::function<void(std::function<QString()> clear, Done done)> clear{};
        /// The cache was cleared.
        std::function<void()> cleared{};
    };

    /// Claims the storage and applies the policy to it.
    SessionStorage(const UserProfile& profile, const ViewerCacheSettings& chosen);

    std::optional<ViewerStorage> storage() const override { return storage_; }
    const StoragePolicy& policy() const { return policy_; }
    bool isSessionOnly() const { return policy_.retentionDays == 0; }
    /// What loads of studies may use: nothing that nobody would clear at the end of a session that may leave
    /// nothing.
    std::optional<ViewerStorage> loads() const;
    /// Where the reading state is kept; empty where nothing of it may outlive the session.
    std::filesystem::path stateFolder() const;

    void setWindow(Window window) { window_ = std::move(window); }
    void change(const ViewerCacheSettings& chosen, bool removeOld, Done done) override;
    void clear(Done done) override;
    /// Nobody works with the storage any more: what may not stay is removed.
    void end();

private:
    struct Claim {
        std::filesystem::path root;
        std::unique_ptr<StorageSession> session;
        bool removedAtEnd = false; ///< the user left the folder, and wanted that
    };

    bool holds(const std::filesystem::path& root) const;
    void adopt(const ViewerStorage& storage, const StoragePolicy& policy, bool removeOld);
    void applyPolicy(const Done& done);

    std::optional<StorageScope> scope_;
    std::optional<ViewerStorage> storage_;
    StoragePolicy policy_;
    std::vector<Claim> claims_; ///< of all folders that this session used
    Window window_;
};

} // namespace zorbel

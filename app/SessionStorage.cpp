#include "app/SessionStorage.h"

#include "api/UserProfile.h"
#include "app/log/Logger.h"
#include "base/qt/BackgroundTask.h"

#include <algorithm>
#include <exception>
#include <string>
#include <utility>

namespace zorbel {

namespace {

constexpr char component[] = "Storage";

void logFailure(const char* message, const std::string& reason) {
    Logger::instance().warn(component, message, {{"reason", reason}});
}

/// Returns what went wrong; logs it either way.
QString enforce(const ViewerStorage& storage, const StoragePolicy& policy) {
    try {
        const auto result = storage.applyPolicy(policy, ViewerStorage::Time::clock::now());
        Logger::instance().info(
            component, "Viewer cache policy applied",
            {{"retentionDays", std::to_string(policy.retentionDays)},
             {"remainingBytes", std::to_string(result.remainingBytes)},
             {"removedDirectories", std::to_string(result.removedDirectories)}});
        return {};
    } catch (const std::exception& error) {
        logFailure("Viewer cache policy could not be applied", error.what());
        return QString::fromUtf8(error.what());
    }
}

} // namespace

SessionStorage::SessionStorage(const UserProfile& profile, const ViewerCacheSettings& chosen) {
    policy_ = chosen.policy();
    try {
        scope_ = StorageScope::of(profile.organizationId.toStdString(), profile.id.toStdString());
        storage_.emplace(chosen.cacheDir, *scope_);
    } catch (const std::exception& error) {
        logFailure("Viewer cache policy could not be applied", error.what());
        return;
    }
    try {
        claims_.push_back(
            {chosen.cacheDir, std::make_unique<StorageSession>(*storage_, chosen.isSessionOnly()), false});
    } catch (const std::exception& error) {
        logFailure("Viewer cache is unavailable", error.what());
    }
    enforce(*storage_, policy_);
}

bool SessionStorage::holds(const std::filesystem::path& root) const {
    return std::any_of(
        claims_.begin(), claims_.end(), [&root](const Claim& claim) { return claim.root == root; });
}

std::optional<ViewerStorage> SessionStorage::loads() const {
    return storage_ && (!isSessionOnly() || holds(storage_->cacheRoot())) ? storage_ : std::nullopt;
}

std::filesystem::path SessionStorage::stateFolder() const {
    return storage_ && !isSessionOnly() ? storage_->scopeDirectory() : std::filesystem::path();
}

void SessionStorage::change(const ViewerCacheSettings& chosen, bool removeOld, Done done) {
    const auto before = std::pair(storage_, policy_);
    const bool wasKept = !stateFolder().empty();
    try {
        if (!scope_)
            throw std::runtime_error("Viewer storage requires organization and user identity");
        const ViewerStorage next(chosen.cacheDir, *scope_);
        // What lies there goes at the end where the session may leave nothing: it may be in use until then.
        if (!holds(chosen.cacheDir))
            claims_.push_back({chosen.cacheDir, std::make_unique<StorageSession>(next, false), false});
        adopt(next, chosen.policy(), removeOld);
    } catch (const std::exception& error) {
        logFailure("Viewer cache policy could not be applied", error.what());
        done(QString::fromUtf8(error.what()));
        return;
    }
    const bool sameFolder = before.first && before.first->cacheRoot() == chosen.cacheDir && wasKept;
    if (!window_.use) {
        applyPolicy(done);
        return;
    }
    window_.use(sameFolder ? std::filesystem::path() : stateFolder(), [=, this](const QString& failure) {
        if (failure.isEmpty()) {
            applyPolicy(done);
            return;
        }
        logFailure("Viewer cache policy could not be applied", "the reading state could not be moved");
        if (before.first)
            adopt(*before.first, before.second, false);
        done(failure);
    });
}

void SessionStorage::adopt(const ViewerStorage& storage, const StoragePolicy& policy, bool removeOld) {
    const auto left = storage_ ? storage_->cacheRoot() : std::filesystem::path();
    storage_ = storage;
    policy_ = policy;
    for (Claim& claim : claims_) {
        if (claim.root == storage.cacheRoot())
            claim.removedAtEnd = false;
        else if (claim.root == left)
            claim.removedAtEnd = removeOld;
        claim.session->setSessionOnly(isSessionOnly() || claim.removedAtEnd);
    }
}

void SessionStorage::applyPolicy(const Done& done) {
    runInBackground(
        *QThreadPool::globalInstance(), this,
        [storage = *storage_, policy = policy_] { return enforce(storage, policy); }, done);
}

void SessionStorage::clear(Done done) {
    if (!storage_) {
        done(QStringLiteral("Viewer storage requires organization and user identity"));
        return;
    }
    const auto clearIt = [storage = *storage_]() -> QString {
        try {
            storage.clear();
            return {};
        } catch (const std::exception& error) {
            return QString::fromUtf8(error.what());
        }
    };
    const auto finish = [this, done](const QString& failure) {
        if (failure.isEmpty())
            Logger::instance().info(component, "Viewer cache cleared");
        if (failure.isEmpty() && window_.cleared)
            window_.cleared();
        done(failure);
    };
    if (window_.clear)
        window_.clear(clearIt, finish);
    else
        runInBackground(*QThreadPool::globalInstance(), this, clearIt, finish);
}

void SessionStorage::end() {
    window_ = {};
    claims_.clear();
}

} // namespace zorbel

#pragma once

#include "settings/model/ViewerCacheSettings.h"

#include <QString>

#include <functional>
#include <optional>

namespace zorbel {

/// What the running program keeps on this computer, as the settings change it. Operations return at once;
/// what they are given is called on the user-interface thread, with what went wrong, in words for the user,
/// or an empty text.
class StorageInUse {
public:
    virtual ~StorageInUse() = default;

    /// Nothing where studies cannot be kept.
    virtual std::optional<ViewerStorage> storage() const = 0;
    /// Holds from now on: new studies go to the chosen folder, and what the reader recorded goes with them;
    /// the policy is applied. What is open stays open. removeOld: what lies in a folder that is left is
    /// removed when the program ends, otherwise it stays.
    virtual void change(
        const ViewerCacheSettings& chosen, bool removeOld,
        std::function<void(const QString& failure)> done) = 0;
    /// Removes everything that is kept for the signed-in user, but for what is recorded of the open study.
    virtual void clear(std::function<void(const QString& failure)> done) = 0;
};

} // namespace zorbel

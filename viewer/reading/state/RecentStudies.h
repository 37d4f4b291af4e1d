#pragma once

#include "base/StudyIdentity.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zorbel {

/// A study that the user opened, in the words of the list that it was opened from.
struct RecentStudy {
    StudyIdentity study{};
    std::string lastOpenedAt{}; ///< ISO 8601, UTC

    friend bool operator==(const RecentStudy&, const RecentStudy&) = default;
};

/// The studies opened last, newest first, none twice. One thread.
class RecentStudies {
public:
    static constexpr std::size_t most = 20;

    const std::vector<RecentStudy>& studies() const { return studies_; }
    /// Puts the study first, whatever its time says: the clock may have been set back. One without a valid
    /// UID is left out.
    void opened(RecentStudy opened);

    friend bool operator==(const RecentStudies&, const RecentStudies&) = default;

private:
    std::vector<RecentStudy> studies_;
};

/// JSON: an array.
std::string recentStudiesText(const RecentStudies& studies);
/// Nothing where it is no JSON array; entries without a valid UID, and further ones of the same, are left
/// out.
std::optional<RecentStudies> recentStudiesFrom(std::string_view text);

} // namespace zorbel

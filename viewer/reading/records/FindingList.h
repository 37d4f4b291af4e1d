#pragma once

#include "viewer/reading/records/Finding.h"

#include <string>
#include <vector>

namespace zorbel {

/// The findings of the open study, in the order in which they were recorded. One thread.
class FindingList {
public:
    static constexpr char noStudyText[] = "Open a study before recording findings.";

    FindingList() = default;
    explicit FindingList(std::vector<Finding> findings) : findings_(std::move(findings)) {}

    const std::vector<Finding>& findings() const { return findings_; }
    void add(Finding finding) { findings_.push_back(std::move(finding)); }
    /// Returns whether there was one.
    bool remove(std::size_t index);
    /// "No findings recorded" or "3 finding(s) recorded for this study".
    std::string countText() const;

    friend bool operator==(const FindingList&, const FindingList&) = default;

private:
    std::vector<Finding> findings_;
};

} // namespace zorbel

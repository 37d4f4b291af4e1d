#pragma once

#include "viewer/reading/records/KeyImageList.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace zorbel {

/// What the reader did to the key images that are there: removed some, worded captions, chose an order and
/// what goes into the report. It is done again to whatever list lies on the disk, so that it touches nothing
/// of what another program captured or removed meanwhile; to do it twice is to do it once. Value type; any
/// thread.
class KeyImageEdits {
public:
    /// Adds what leads from one list to the next. A picture that only `after` holds was captured, which is no
    /// edit.
    void note(const KeyImageList& before, const KeyImageList& after);
    bool isEmpty() const {
        return removed_.empty() && captions_.empty() && inReport_.empty() && order_.empty();
    }
    /// Pictures that the edits know nothing of come last, in their order.
    KeyImageList appliedTo(const KeyImageList& list) const;
    /// File names.
    const std::set<std::string>& removed() const { return removed_; }

private:
    std::set<std::string> removed_;
    std::map<std::string, std::string> captions_; ///< by file name, as inReport_
    std::map<std::string, bool> inReport_;
    std::vector<std::string> order_; ///< empty: as it is
};

} // namespace zorbel

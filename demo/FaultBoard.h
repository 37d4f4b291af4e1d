#pragma once

#include "demo/Fault.h"

#include <nlohmann/json_fwd.hpp>

#include <map>
#include <mutex>
#include <vector>

namespace zorbel::demo {

/// The faults in force. Safe from any thread.
class FaultBoard {
public:
    int add(Fault fault);
    void remove(int id);
    void clear();
    /// The faults that hit the request, each counted as used once.
    std::vector<Fault> take(const std::string& method, const std::string& path);

    nlohmann::json toJson() const;
    /// From the control endpoint's request body. Throws std::invalid_argument with a text for the caller.
    static Fault fromJson(const nlohmann::json& object);

private:
    mutable std::mutex mutex_;
    std::map<int, Fault> faults_;
    int lastId_ = 0;
};

} // namespace zorbel::demo

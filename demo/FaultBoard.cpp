#include "demo/FaultBoard.h"

#include <nlohmann/json.hpp>

#include <stdexcept>

#include <fnmatch.h>

namespace zorbel::demo {

int FaultBoard::add(Fault fault) {
    const std::lock_guard lock(mutex_);
    faults_.emplace(++lastId_, std::move(fault));
    return lastId_;
}

void FaultBoard::remove(int id) {
    const std::lock_guard lock(mutex_);
    faults_.erase(id);
}

void FaultBoard::clear() {
    const std::lock_guard lock(mutex_);
    faults_.clear();
}

std::vector<Fault> FaultBoard::take(const std::string& method, const std::string& path) {
    const std::lock_guard lock(mutex_);
    std::vector<Fault> hits;
    for (auto& [id, fault] : faults_) {
        if (fault.count == 0 || (!fault.method.empty() && fault.method != method) ||
            fnmatch(fault.path.c_str(), path.c_str(), 0) != 0) {
            continue;
        }
        if (fault.skip > 0) {
            --fault.skip;
            continue;
        }
        fault.count -= fault.count > 0 ? 1 : 0;
        hits.push_back(fault);
    }
    return hits;
}

nlohmann::json FaultBoard::toJson() const {
    const std::lock_guard lock(mutex_);
    nlohmann::json list = nlohmann::json::array();
    for (const auto& [id, fault] : faults_) {
        list.push_back(
            {{"id", id},
             {"kind", Fault::kindName(fault.kind)},
             {"path", fault.path},
             {"method", fault.method},
             {"count", fault.count},
             {"skip", fault.skip}});
    }
    return list;
}

Fault FaultBoard::fromJson(const nlohmann::json& object) {
    try {
        Fault fault;
        fault.kind = Fault::kindOfName(object.at("kind").get<std::string>());
        fault.path = object.value("path", fault.path);
        fault.method = object.value("method", fault.method);
        fault.count = object.value("count", fault.count);
        fault.skip = object.value("skip", fault.skip);
        fault.status = object.value("status", fault.status);
        fault.contentType = object.value("contentType", std::string("application/json"));
        fault.body = object.value("body", fault.body);
        fault.location = object.value("location", fault.location);
        fault.bytes = object.value("bytes", fault.bytes);
        fault.announced = object.value("announced", fault.announced);
        fault.parts = object.value("parts", fault.parts);
        fault.delay = std::chrono::milliseconds(object.value("delayMs", 0));
        return fault;
    } catch (const nlohmann::json::exception& error) {
        throw std::invalid_argument(std::string("Not a fault: ") + error.what());
    }
}

} // namespace zorbel::demo

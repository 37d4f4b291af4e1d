#include "app/crash/CrashNotice.h"

#include "platform/PrivateFile.h"

#include <fstream>
#include <set>
#include <string>

namespace zorbel {

namespace fs = std::filesystem;

namespace {

std::string nameOf(const CrashDumps::Dump& dump) {
    const std::u8string name = dump.file.filename().u8string();
    return {name.begin(), name.end()};
}

} // namespace

CrashNotice::CrashNotice(fs::path folder, std::string_view baseName)
    : told_(folder / "told.txt"), dumps_(std::move(folder), baseName) {}

std::optional<CrashDumps::Dump> CrashNotice::due() const {
    std::set<std::string> told;
    std::ifstream names(told_);
    for (std::string name; std::getline(names, name);)
        told.insert(name);
    // By their names, and not their times: the clock may have been set back.
    for (auto& dump : dumps_.list())
        if (!told.contains(nameOf(dump)))
            return std::move(dump);
    return std::nullopt;
}

void CrashNotice::markTold() const {
    std::string names;
    for (const auto& dump : dumps_.list())
        names += nameOf(dump) + "\n";
    writePrivateFile(told_, names);
}

} // namespace zorbel

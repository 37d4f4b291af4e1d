#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <span>

namespace zorbel::fuzz {

/// Ends the run with the input as a finding.
inline void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

/// An empty private folder; goes at the end of the process, unless that ends by a finding.
class ScratchFolder {
public:
    ScratchFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "zorbel-fuzz-XXXXXX").string();
        require(mkdtemp(name.data()) != nullptr, "a temporary folder can be made");
        path_ = name;
    }
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    /// Overwrites.
    std::filesystem::path file(const char* name, std::span<const std::uint8_t> bytes) const {
        std::ofstream stream(path_ / name, std::ios::binary | std::ios::trunc);
        stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        require(stream.good(), "a scratch file can be written");
        return path_ / name;
    }

private:
    std::filesystem::path path_;
};

} // namespace zorbel::fuzz

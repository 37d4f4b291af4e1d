#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace zorbel::test {

/// A folder for one test, removed at its end.
class TemporaryFolder {
public:
    explicit TemporaryFolder(const std::filesystem::path& parent = std::filesystem::temp_directory_path()) {
        std::random_device random;
        do
            path_ = parent / ("zorbel-test-" + std::to_string(random()));
        while (!std::filesystem::create_directory(path_));
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::permissions(path_, std::filesystem::perms::owner_all, ignored);
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    /// What lies directly in it, sorted by name.
    std::vector<std::filesystem::path> files() const {
        std::vector<std::filesystem::path> result{std::filesystem::directory_iterator(path_), {}};
        std::sort(result.begin(), result.end());
        return result;
    }

private:
    std::filesystem::path path_;
};

/// Where flushing costs nothing, for tests that write hundreds of files.
inline std::filesystem::path memoryDisk() {
    std::error_code error;
    const std::filesystem::path memory = "/dev/shm";
    return std::filesystem::is_directory(memory, error) ? memory : std::filesystem::temp_directory_path();
}

inline std::string readFile(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// With the folders that it needs.
inline void writeFile(const std::filesystem::path& file, std::string_view bytes) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
}

} // namespace zorbel::test

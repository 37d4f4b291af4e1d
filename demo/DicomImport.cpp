#include "demo/DicomImport.h"

#include <algorithm>
#include <atomic>
#include <fstream>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace zorbel::demo {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t connections = 4;
constexpr std::string_view directoryClass = "1.2.840.10008.1.3.10";

enum class FileKind { Other, WithPreamble, BareDataSet };

/// Bare data sets are files of the time before the preamble; their first element tells.
FileKind kindOf(std::string_view start) {
    if (start.size() >= 132 && start.substr(128, 4) == "DICM") {
        // A DICOMDIR lists images and is none.
        return start.find(directoryClass) == std::string_view::npos ? FileKind::WithPreamble
                                                                    : FileKind::Other;
    }
    if (start.size() < 8) {
        return FileKind::Other;
    }
    const auto byte = [start](std::size_t at) { return static_cast<unsigned char>(start[at]); };
    const bool little = (byte(0) == 8 || byte(0) == 2) && byte(1) == 0 && byte(3) == 0;
    const bool big = byte(0) == 0 && (byte(1) == 8 || byte(1) == 2) && byte(2) == 0;
    return little || big ? FileKind::BareDataSet : FileKind::Other;
}

std::vector<fs::path> filesBelow(const fs::path& folder) {
    std::vector<fs::path> files;
    std::error_code error;
    if (fs::is_regular_file(folder, error)) {
        return {folder};
    }
    fs::recursive_directory_iterator at(folder, fs::directory_options::skip_permission_denied, error);
    if (error) {
        throw std::runtime_error("The folder " + folder.string() + " cannot be read: " + error.message());
    }
    for (; at != fs::recursive_directory_iterator(); at.increment(error)) {
        if (error) {
            throw std::runtime_error("The folder " + folder.string() + " cannot be read: " + error.message());
        }
        std::error_code ignored;
        if (at->is_regular_file(ignored)) {
            files.push_back(at->path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

class Import {
public:
    Import(std::vector<fs::path> files, const std::function<bool(std::string_view)>& store)
        : files_(std::move(files)), store_(store) {}

    ImportResult run() {
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < std::min(connections, files_.size()); ++i) {
            threads.emplace_back([this] { work(); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        std::sort(result_.failures.begin(), result_.failures.end());
        return std::move(result_);
    }

private:
    void work() {
        for (std::size_t i = next_++; i < files_.size(); i = next_++) {
            importOne(files_[i]);
        }
    }

    void importOne(const fs::path& path) {
        std::ifstream file(path, std::ios::binary);
        std::string bytes(4096, '\0');
        file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        bytes.resize(static_cast<std::size_t>(file.gcount()));
        if (bytes.empty() && !file.eof()) {
            fail(path, "it cannot be read");
            return;
        }
        const FileKind kind = kindOf(bytes);
        if (kind == FileKind::Other) {
            count(result_.skipped);
            return;
        }
        std::error_code error;
        const auto size = static_cast<std::size_t>(fs::file_size(path, error));
        const std::size_t start = bytes.size();
        if (!error && size > start) {
            bytes.resize(size);
            file.clear();
            file.read(bytes.data() + start, static_cast<std::streamsize>(size - start));
            if (static_cast<std::size_t>(file.gcount()) != size - start) {
                fail(path, "it cannot be read to its end");
                return;
            }
        }
        try {
            count(store_(bytes) ? result_.stored : result_.alreadyStored);
        } catch (const std::exception& reason) {
            if (kind == FileKind::BareDataSet) {
                count(result_.skipped);
            } else {
                fail(path, reason.what());
            }
        }
    }

    void count(std::size_t& counter) {
        const std::lock_guard lock(mutex_);
        ++counter;
    }

    void fail(const fs::path& path, const std::string& reason) {
        const std::lock_guard lock(mutex_);
        result_.failures.push_back(path.string() + ": " + reason);
    }

    std::vector<fs::path> files_;
    const std::function<bool(std::string_view)>& store_;
    std::atomic<std::size_t> next_{0};
    std::mutex mutex_;
    ImportResult result_;
};

} // namespace

ImportResult importDicom(const fs::path& folder, const std::function<bool(std::string_view file)>& store) {
    return Import(filesBelow(folder), store).run();
}

} // namespace zorbel::demo

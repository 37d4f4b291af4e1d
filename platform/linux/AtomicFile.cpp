#include "platform/linux/AtomicFile.h"

#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zorbel {

namespace {

/// The temporary file: closed and removed again unless it was put in the place of the real one.
class TemporaryFile {
public:
    TemporaryFile(const std::filesystem::path& target, mode_t mode) : target_(target) {
        name_ = (target.parent_path() / ("." + target.filename().string() + ".XXXXXX")).string();
        descriptor_ = mkostemp(name_.data(), O_CLOEXEC);
        if (descriptor_ < 0) {
            name_.clear();
            fail();
        }
        if (fchmod(descriptor_, mode) != 0) {
            failAndRemove();
        }
    }
    ~TemporaryFile() { remove(); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    void write(std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t written = ::write(descriptor_, bytes.data(), bytes.size());
            if (written >= 0) {
                bytes.remove_prefix(static_cast<std::size_t>(written));
            } else if (errno != EINTR) {
                failAndRemove();
            }
        }
    }

    void takePlace() {
        if (fsync(descriptor_) != 0) {
            failAndRemove();
        }
        // Some network file systems report a failed write only here.
        const int closed = close(descriptor_);
        descriptor_ = -1;
        if (closed != 0 || std::rename(name_.c_str(), target_.c_str()) != 0) {
            failAndRemove();
        }
        name_.clear();
    }

private:
    void remove() {
        if (descriptor_ >= 0) {
            close(descriptor_);
            descriptor_ = -1;
        }
        if (!name_.empty()) {
            unlink(name_.c_str());
            name_.clear();
        }
    }
    [[noreturn]] void failAndRemove() {
        const int reason = errno;
        remove();
        errno = reason;
        fail();
    }
    [[noreturn]] void fail() const {
        throw std::system_error(errno, std::system_category(), "Cannot write " + target_.string());
    }

    std::filesystem::path target_;
    std::string name_;
    int descriptor_ = -1;
};

void synchroniseFolder(const std::filesystem::path& folder) {
    const int descriptor = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor >= 0) {
        fsync(descriptor);
        close(descriptor);
    }
}

} // namespace

void writeFileAtomically(const std::filesystem::path& file, std::string_view bytes, mode_t mode) {
    TemporaryFile temporary(file, mode);
    temporary.write(bytes);
    temporary.takePlace();
    synchroniseFolder(file.parent_path());
}

bool isTemporaryName(std::string_view fileName) {
    constexpr std::size_t randomPart = 7;
    return fileName.size() > 1 + randomPart && fileName.front() == '.' &&
           fileName.rfind('.') == fileName.size() - randomPart;
}

} // namespace zorbel

#include "imaging/dicom/ByteSource.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace zorbel::imaging {

bool ByteSource::read(std::uint64_t position, void* to, std::size_t count) {
    if (position > size_ || count > size_ - position)
        return false;
    return count == 0 || readInside(position, to, count);
}

FileSource::FileSource(const std::filesystem::path& file) : ByteSource(0), file_(file, std::ios::binary) {
    std::error_code error;
    size_ = std::filesystem::file_size(file, error);
    if (error || !file_)
        throw std::runtime_error("cannot be opened");
}

bool FileSource::readFile(std::uint64_t position, void* to, std::size_t count) {
    file_.clear();
    file_.seekg(static_cast<std::streamoff>(position));
    file_.read(static_cast<char*>(to), static_cast<std::streamsize>(count));
    return static_cast<std::size_t>(file_.gcount()) == count;
}

bool FileSource::readInside(std::uint64_t position, void* to, std::size_t count) {
    if (count > window_.size() / 2)
        return readFile(position, to, count);
    if (position < begin_ || position + count > begin_ + filled_) {
        filled_ = static_cast<std::size_t>(std::min<std::uint64_t>(window_.size(), size_ - position));
        begin_ = position;
        if (!readFile(position, window_.data(), filled_)) {
            filled_ = 0;
            return false;
        }
    }
    std::memcpy(to, window_.data() + (position - begin_), count);
    return true;
}

bool MemorySource::readInside(std::uint64_t position, void* to, std::size_t count) {
    std::memcpy(to, bytes_.data() + position, count);
    return true;
}

} // namespace zorbel::imaging

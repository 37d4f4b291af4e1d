#include "imaging/dicom/LosslessJpegScan.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

namespace zorbel::imaging {

namespace {

/// How many of the next bits belong to the code word and to the difference behind it; 0 for none. Nearly all
/// words are short, and `byTenBits` stays in the processor's nearest cache.
struct CodeTable {
    static constexpr std::uint8_t longer = 255; ///< ten bits do not tell
    std::vector<std::uint8_t> bySixteenBits;
    std::array<std::uint8_t, 1024> byTenBits{};

    unsigned bits(unsigned next) const {
        const unsigned found = byTenBits[next >> 6];
        return found == longer ? bySixteenBits[next] : found;
    }
    void shorten() {
        for (std::size_t ten = 0; ten < byTenBits.size(); ++ten) {
            const auto first = bySixteenBits.begin() + static_cast<std::ptrdiff_t>(ten * 64);
            const bool same =
                std::all_of(first, first + 64, [first](std::uint8_t bits) { return bits == *first; });
            byTenBits[ten] = same ? *first : longer;
        }
    }
};

class Scan {
public:
    explicit Scan(std::span<const std::byte> stream) : stream_(stream) {}

    bool isWhole() {
        if (!readHead())
            return true;
        std::uint64_t left = samples_;
        while (left > 0) {
            const std::uint64_t count = interval_ > 0 && interval_ < left ? interval_ : left;
            if (!walk(nextInterval(), count))
                return false;
            left -= count;
        }
        return true;
    }

private:
    unsigned byte(std::size_t at) const {
        return at < stream_.size() ? std::to_integer<unsigned>(stream_[at]) : 0;
    }
    unsigned word(std::size_t at) const { return byte(at) << 8 | byte(at + 1); }

    /// False for streams of other kinds.
    bool readHead() {
        for (position_ = 2; position_ + 4 < stream_.size();) {
            const unsigned marker = byte(position_ + 1);
            if (marker == 0xff) {
                ++position_;
                continue;
            }
            const std::size_t at = position_ + 4;
            const std::size_t end = position_ + 2 + word(position_ + 2);
            position_ = end;
            if (marker == 0xc3)
                readFrame(at);
            else if (marker == 0xc4)
                readTables(at, end);
            else if (marker == 0xdd)
                interval_ = word(at);
            else if (marker == 0xda)
                return readScan(at);
        }
        return false;
    }

    void readFrame(std::size_t at) {
        components_ = byte(at + 5);
        samples_ = std::uint64_t{word(at + 1)} * word(at + 3);
        for (std::size_t i = 0; i < components_; ++i)
            subsampled_ = subsampled_ || byte(at + 7 + 3 * i) != 0x11;
    }

    void readTables(std::size_t at, std::size_t end) {
        while (at + 17 <= end) {
            CodeTable& codes = tables_[byte(at) & 3];
            std::vector<std::uint8_t>& table = codes.bySixteenBits;
            table.assign(65536, 0);
            std::size_t symbol = at + 17;
            std::size_t code = 0;
            for (unsigned length = 1; length <= 16; ++length, code <<= 1)
                for (unsigned i = byte(at + length); i > 0; --i, ++code, ++symbol) {
                    const unsigned category = byte(symbol);
                    const std::size_t first = code << (16 - length);
                    const std::size_t last = first + (std::size_t{1} << (16 - length));
                    if (last > table.size() || category > 16)
                        continue;
                    const unsigned bits = length + (category < 16 ? category : 0);
                    std::fill(
                        table.begin() + static_cast<std::ptrdiff_t>(first),
                        table.begin() + static_cast<std::ptrdiff_t>(last), static_cast<std::uint8_t>(bits));
                }
            codes.shorten();
            at = symbol;
        }
    }

    bool readScan(std::size_t at) {
        if (components_ == 0 || components_ > 4 || byte(at) != components_ || subsampled_)
            return false;
        for (std::size_t i = 0; i < components_; ++i) {
            used_[i] = &tables_[byte(at + 2 + 2 * i) >> 4 & 3];
            if (used_[i]->bySixteenBits.empty())
                return false;
        }
        return true;
    }

    /// The coded bytes up to the next marker, without stuffing; 8 bytes of zeros follow them.
    const std::vector<std::uint8_t>& nextInterval() {
        coded_.clear();
        const auto* const bytes = reinterpret_cast<const std::uint8_t*>(stream_.data());
        while (position_ < stream_.size()) {
            const void* const found = std::memchr(bytes + position_, 0xff, stream_.size() - position_);
            const std::size_t end =
                found ? static_cast<std::size_t>(static_cast<const std::uint8_t*>(found) - bytes)
                      : stream_.size();
            coded_.insert(coded_.end(), bytes + position_, bytes + end);
            position_ = end + 1;
            if (!found)
                break;
            while (byte(position_) == 0xff)
                ++position_;
            if (byte(position_++) != 0)
                break;
            coded_.push_back(0xff);
        }
        coded_.resize(coded_.size() + 8, 0);
        return coded_;
    }

    bool walk(const std::vector<std::uint8_t>& bytes, std::uint64_t pixels) const {
        const std::uint64_t end = (bytes.size() - 8) * 8;
        std::uint64_t at = 0;
        for (std::uint64_t pixel = 0; pixel < pixels; ++pixel)
            for (std::size_t i = 0; i < components_; ++i) {
                const std::uint8_t* const from = bytes.data() + at / 8;
                const unsigned three = static_cast<unsigned>(from[0]) << 16 |
                                       static_cast<unsigned>(from[1]) << 8 | static_cast<unsigned>(from[2]);
                const unsigned bits = used_[i]->bits(three >> (8 - at % 8) & 0xffffU);
                at += bits;
                if (bits == 0 || at > end)
                    return false;
            }
        // Ones fill the last byte; some encoders add another one.
        constexpr std::uint64_t mostFilling = 15;
        return end - at <= mostFilling;
    }

    std::span<const std::byte> stream_;
    std::size_t position_ = 0;
    std::uint64_t samples_ = 0; ///< of one component
    std::size_t components_ = 0;
    std::uint64_t interval_ = 0; ///< pixels between restart marks; 0 without
    bool subsampled_ = false;
    std::array<CodeTable, 4> tables_;
    std::array<const CodeTable*, 4> used_{};
    std::vector<std::uint8_t> coded_;
};

} // namespace

bool losslessJpegScanIsWhole(std::span<const std::byte> stream) {
    return Scan(stream).isWhole();
}

} // namespace zorbel::imaging

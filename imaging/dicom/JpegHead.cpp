#include "imaging/dicom/JpegHead.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>

namespace zorbel::imaging {

namespace {

class Reader {
public:
    explicit Reader(std::span<const std::byte> stream) : stream_(stream) {}

    JpegHead head() {
        position_ = 2; // behind the start mark
        for (unsigned marker = nextMarker(); marker != startOfScan; marker = nextMarker()) {
            const unsigned length = word(position_);
            if (length < 2)
                fail();
            segment(marker, position_ + 2, length - 2);
            position_ += length;
        }
        if (head_.precision == 0)
            fail();
        return head_;
    }

private:
    static constexpr unsigned startOfScan = 0xda;

    [[noreturn]] static void fail() { throw std::runtime_error("the compressed pixel data is damaged"); }

    unsigned byte(std::size_t at) const {
        if (at >= stream_.size())
            fail();
        return std::to_integer<unsigned>(stream_[at]);
    }
    unsigned word(std::size_t at) const { return byte(at) << 8 | byte(at + 1); }

    bool holds(std::size_t at, std::size_t length, std::string_view text) const {
        return text.size() <= length &&
               std::equal(text.begin(), text.end(), begin(at), [](char a, std::byte b) {
                   return static_cast<std::byte>(a) == b;
               });
    }
    std::span<const std::byte>::iterator begin(std::size_t at) const {
        return stream_.begin() + static_cast<std::ptrdiff_t>(at);
    }

    unsigned nextMarker() {
        if (byte(position_) != 0xff)
            fail();
        while (byte(position_) == 0xff)
            ++position_;
        return byte(position_++);
    }

    void segment(unsigned marker, std::size_t at, std::size_t length) {
        byte(at + length); // the stream goes on behind it
        constexpr unsigned tables[]{0xc4, 0xdb, 0xdd, 0xfe};
        const bool application = marker >= 0xe0 && marker <= 0xef;
        if (marker >= 0xc0 && marker <= 0xc3)
            frame(marker, at, length);
        else if (!application && std::find(std::begin(tables), std::end(tables), marker) == std::end(tables))
            fail();
        if (marker == 0xe0 && holds(at, length, std::string_view("JFIF", 5)) && length >= 14) {
            if (byte(at + 5) != 1)
                fail();
            head_.colors = Photometric::YbrFull;
        } else if (marker == 0xee && holds(at, length, "Adobe") && length >= 12) {
            if (byte(at + 11) > 1)
                fail();
            head_.colors = byte(at + 11) == 0 ? Photometric::Rgb : Photometric::YbrFull;
        }
    }

    void frame(unsigned marker, std::size_t at, std::size_t length) {
        if (length < 6 || head_.precision > 0)
            fail();
        head_.precision = byte(at);
        head_.rows = static_cast<int>(word(at + 1));
        head_.columns = static_cast<int>(word(at + 3));
        head_.components = byte(at + 5);
        head_.lossy = marker != 0xc3;
        const bool known = head_.lossy ? head_.precision == 8 || head_.precision == 12
                                       : head_.precision >= 2 && head_.precision <= 16;
        if (!known)
            fail();
    }

    std::span<const std::byte> stream_;
    std::size_t position_ = 0;
    JpegHead head_;
};

} // namespace

JpegHead readJpegHead(std::span<const std::byte> stream) {
    return Reader(stream).head();
}

std::size_t jpegLength(std::span<const std::byte> stream) {
    const auto byte = [&](std::size_t at) { return std::to_integer<unsigned>(stream[at]); };
    constexpr std::byte mark{0xff};
    for (std::size_t at = 2; at < stream.size();) {
        // The data of a scan hold no marks but those of restarts, and a zero behind each such byte.
        const auto found = std::find(stream.begin() + static_cast<std::ptrdiff_t>(at), stream.end(), mark);
        at = static_cast<std::size_t>(found - stream.begin()) + 1;
        if (at >= stream.size())
            break;
        const unsigned marker = byte(at);
        if (marker == 0xd9)
            return at + 1;
        const bool segment = marker >= 0xc0 && marker < 0xff && (marker < 0xd0 || marker > 0xd8);
        if (segment && at + 2 < stream.size())
            at += byte(at + 1) << 8 | byte(at + 2);
    }
    return stream.size();
}

} // namespace zorbel::imaging

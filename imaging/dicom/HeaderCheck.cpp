#include "imaging/dicom/PixelDataLocation.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <istream>

namespace zorbel::imaging {

namespace {

constexpr std::uint32_t undefinedLength = 0xffffffffU;
constexpr int deepestNesting = 64;

/// Little pieces of a file at rising positions without one system call each.
class Window {
public:
    Window(std::istream& file, std::uint64_t size) : file_(file), size_(size) {}

    std::uint64_t size() const { return size_; }

    template <std::size_t N>
    bool read(std::uint64_t position, std::array<unsigned char, N>& to) {
        if (position > size_ || size_ - position < N)
            return false;
        if (position < begin_ || position + N > begin_ + filled_) {
            file_.clear();
            file_.seekg(static_cast<std::streamoff>(position));
            file_.read(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
            begin_ = position;
            filled_ = static_cast<std::size_t>(file_.gcount());
            if (filled_ < N)
                return false;
        }
        std::memcpy(to.data(), buffer_.data() + (position - begin_), N);
        return true;
    }

private:
    std::istream& file_;
    std::uint64_t size_;
    std::array<char, 32768> buffer_{};
    std::uint64_t begin_ = 0;
    std::size_t filled_ = 0;
};

enum class Verdict { Plausible, Damaged, EndOfDataSet, BeyondUs };

struct Encoding {
    bool explicitVr = true;
    bool bigEndian = false;
};

struct Element {
    std::uint16_t group = 0;
    std::uint16_t number = 0;
    bool sequenceLike = false; ///< SQ, UN, or of a type that is not written down
    bool unknownType = false;  ///< UN: nested data sets are implicit
    std::uint32_t length = 0;
    std::uint64_t value = 0;
};

std::uint32_t integer(const unsigned char* from, int bytes, bool bigEndian) {
    std::uint32_t result = 0;
    for (int i = 0; i < bytes; ++i)
        result |= static_cast<std::uint32_t>(from[i]) << (8 * (bigEndian ? bytes - 1 - i : i));
    return result;
}

class Checker {
public:
    explicit Checker(Window& window) : window_(window) {}

    Verdict dataSet(std::uint64_t& position, std::uint64_t end, Encoding encoding, int depth) {
        if (depth > deepestNesting)
            return Verdict::Damaged;
        while (position + 8 <= end) {
            Element element;
            const Verdict verdict = readElement(position, encoding, element);
            if (verdict != Verdict::Plausible)
                return verdict;
            const bool pixelData = element.group == 0x7fe0 && element.number == 0x0010;
            if (pixelData && depth == 0)
                return Verdict::EndOfDataSet;
            position = element.value;
            if (element.group == 0xfffe) {
                if (element.number == 0xe00d)
                    return Verdict::EndOfDataSet;
                return Verdict::BeyondUs;
            }
            const bool open = element.length == undefinedLength;
            if (!open && element.length > end - std::min(position, end))
                return Verdict::Damaged;
            const Verdict inside =
                value(position, open ? end : position + element.length, open, element, encoding, depth);
            if (inside == Verdict::Damaged || inside == Verdict::BeyondUs)
                return inside;
        }
        return Verdict::Plausible;
    }

private:
    Verdict readElement(std::uint64_t position, Encoding encoding, Element& element) {
        std::array<unsigned char, 8> head{};
        if (!window_.read(position, head))
            return Verdict::Damaged;
        element.group = static_cast<std::uint16_t>(integer(head.data(), 2, encoding.bigEndian));
        element.number = static_cast<std::uint16_t>(integer(head.data() + 2, 2, encoding.bigEndian));
        element.length = integer(head.data() + 4, 4, encoding.bigEndian);
        element.value = position + 8;
        element.sequenceLike = true;
        if (!encoding.explicitVr || element.group == 0xfffe)
            return Verdict::Plausible;
        const std::string vr(reinterpret_cast<const char*>(head.data()) + 4, 2);
        if (vr[0] < 'A' || vr[0] > 'Z' || vr[1] < 'A' || vr[1] > 'Z')
            return Verdict::BeyondUs;
        element.unknownType = vr == "UN";
        element.sequenceLike = vr == "SQ" || element.unknownType;
        constexpr std::array<const char*, 12> longForms{"OB", "OD", "OF", "OL", "OV", "OW",
                                                        "SQ", "SV", "UC", "UN", "UR", "UT"};
        if (vr != "UV" && std::find(longForms.begin(), longForms.end(), vr) == longForms.end()) {
            element.length = integer(head.data() + 6, 2, encoding.bigEndian);
            return Verdict::Plausible;
        }
        std::array<unsigned char, 4> length{};
        if (!window_.read(position + 8, length))
            return Verdict::Damaged;
        element.length = integer(length.data(), 4, encoding.bigEndian);
        element.value = position + 12;
        return Verdict::Plausible;
    }

    /// Leaves position behind the value.
    Verdict value(
        std::uint64_t& position, std::uint64_t end, bool open, const Element& element, Encoding encoding,
        int depth) {
        if (element.unknownType)
            encoding = Encoding{false, false};
        while (position + 8 <= end && element.sequenceLike) {
            std::array<unsigned char, 8> head{};
            if (!window_.read(position, head))
                return Verdict::Damaged;
            const std::uint32_t tag = integer(head.data(), 2, encoding.bigEndian) << 16 |
                                      integer(head.data() + 2, 2, encoding.bigEndian);
            const std::uint32_t length = integer(head.data() + 4, 4, encoding.bigEndian);
            if (tag == 0xfffee0ddU) {
                position += 8;
                if (open)
                    return Verdict::Plausible;
                continue;
            }
            if (tag != 0xfffee000U)
                break;
            position += 8;
            const bool openItem = length == undefinedLength;
            if (!openItem && length > end - position)
                return Verdict::Damaged;
            const Verdict inside = dataSet(position, openItem ? end : position + length, encoding, depth + 1);
            if (inside == Verdict::Damaged || inside == Verdict::BeyondUs)
                return inside;
        }
        if (open)
            return Verdict::BeyondUs; // something undelimited that is no sequence: left to the parser
        position = end;
        return Verdict::Plausible;
    }

    Window& window_;
};

} // namespace

bool headerLengthsArePlausible(std::istream& file, std::uint64_t fileSize) {
    Window window(file, fileSize);
    Checker checker(window);
    std::uint64_t position = 0;
    std::array<unsigned char, 4> magic{};
    if (window.read(128, magic) && std::memcmp(magic.data(), "DICM", 4) == 0)
        position = 132;

    std::string transferSyntax;
    std::array<unsigned char, 8> head{};
    // The file meta information is explicit and little-endian, whatever follows it.
    while (window.read(position, head) && integer(head.data(), 2, false) == 2) {
        const bool longForm =
            std::memcmp(head.data() + 4, "OB", 2) == 0 || std::memcmp(head.data() + 4, "UN", 2) == 0;
        std::uint64_t length = integer(head.data() + 6, 2, false);
        std::uint64_t value = position + 8;
        if (longForm) {
            std::array<unsigned char, 4> wide{};
            if (!window.read(position + 8, wide))
                return false;
            length = integer(wide.data(), 4, false);
            value = position + 12;
        }
        if (length > fileSize - std::min(value, fileSize))
            return false;
        if (integer(head.data() + 2, 2, false) == 0x0010)
            for (std::uint64_t i = 0; i < std::min<std::uint64_t>(length, 64); ++i)
                if (std::array<unsigned char, 1> c{}; window.read(value + i, c) && c[0] > ' ')
                    transferSyntax += static_cast<char>(c[0]);
        position = value + length;
    }
    if (transferSyntax == "1.2.840.10008.1.2.1.99")
        return true;
    Encoding encoding;
    encoding.bigEndian = transferSyntax == "1.2.840.10008.1.2.2";
    encoding.explicitVr =
        window.read(position, head) && head[4] >= 'A' && head[4] <= 'Z' && head[5] >= 'A' && head[5] <= 'Z';
    return checker.dataSet(position, fileSize, encoding, 0) != Verdict::Damaged;
}

} // namespace zorbel::imaging

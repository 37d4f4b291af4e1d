#include "imaging/dicom/DataSet.h"

#include "base/Uid.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace zorbel::imaging {

namespace {

constexpr std::uint32_t undefinedLength = 0xffffffffU;
constexpr int deepestNesting = 32;
constexpr std::size_t largestInflated = std::size_t{2} << 30;
// Beyond the first, an image that deflates better than this holds nothing.
constexpr std::size_t freelyInflated = std::size_t{32} << 20;
constexpr std::size_t densestImage = 200;
constexpr Tag item{0xfffe, 0xe000};
constexpr Tag itemEnd{0xfffe, 0xe00d};
constexpr Tag sequenceEnd{0xfffe, 0xe0dd};
constexpr auto damaged = "the DICOM header is truncated or damaged";

struct Encoding {
    bool explicitVr = true;
    bool bigEndian = false;
};

struct Head {
    Tag tag;
    std::string vr;
    std::uint32_t length = 0;
    std::uint64_t value = 0;
};

std::uint32_t integer(const unsigned char* from, int bytes, bool bigEndian) {
    std::uint32_t result = 0;
    for (int i = 0; i < bytes; ++i)
        result |= static_cast<std::uint32_t>(from[i]) << (8 * (bigEndian ? bytes - 1 - i : i));
    return result;
}

bool isUpper(unsigned char c) {
    return c >= 'A' && c <= 'Z';
}

/// Width of the words that an explicit big-endian file swaps.
std::size_t wordSize(std::string_view vr) {
    for (const std::string_view name : {"US", "SS", "OW", "AT"})
        if (vr == name)
            return 2;
    for (const std::string_view name : {"UL", "SL", "FL", "OF", "OL"})
        if (vr == name)
            return 4;
    for (const std::string_view name : {"FD", "OD", "SV", "UV", "OV"})
        if (vr == name)
            return 8;
    return 1;
}

class Parser {
public:
    explicit Parser(ByteSource& source) : source_(source) {}

    Head head(std::uint64_t position, Encoding encoding) {
        std::array<unsigned char, 8> bytes{};
        if (!source_.read(position, bytes.data(), bytes.size()))
            throw std::runtime_error(damaged);
        Head head;
        head.tag = {
            static_cast<std::uint16_t>(integer(bytes.data(), 2, encoding.bigEndian)),
            static_cast<std::uint16_t>(integer(bytes.data() + 2, 2, encoding.bigEndian))};
        head.length = integer(bytes.data() + 4, 4, encoding.bigEndian);
        head.value = position + 8;
        if (!encoding.explicitVr || head.tag.group == 0xfffe)
            return head;
        if (!isUpper(bytes[4]) || !isUpper(bytes[5])) {
            // Some writers slip elements without a type among the others; some write blanks, zeros or "??"
            // for a type they do not know, and a short length behind it.
            const std::uint32_t behindType = integer(bytes.data() + 6, 2, encoding.bigEndian);
            if (head.length != undefinedLength && !followedByLarger(head, head.length, encoding) &&
                followedByLarger(head, behindType, encoding))
                head.length = behindType;
            return head;
        }
        head.vr.assign({static_cast<char>(bytes[4]), static_cast<char>(bytes[5])});
        constexpr std::string_view longForms = "OB OD OF OL OV OW SQ SV UC UN UR UT UV";
        if (longForms.find(head.vr) == std::string_view::npos) {
            head.length = integer(bytes.data() + 6, 2, encoding.bigEndian);
            return head;
        }
        std::array<unsigned char, 4> length{};
        if (!source_.read(position + 8, length.data(), length.size()))
            throw std::runtime_error(damaged);
        head.length = integer(length.data(), 4, encoding.bigEndian);
        head.value = position + 12;
        return head;
    }

    /// Reads up to `end`, or behind an item's end mark. Stops in front of the first tag at or behind `until`,
    /// which it returns.
    std::optional<Head> dataSet(
        std::uint64_t& position, std::uint64_t end, Encoding encoding, int depth, const Tag* until,
        DataSet& to) {
        if (depth > deepestNesting)
            throw std::runtime_error("the DICOM header is nested too deeply");
        while (position + 8 <= end) {
            Head next = head(position, encoding);
            if (next.tag == itemEnd) {
                position += 8;
                if (depth > 0)
                    return std::nullopt;
                continue;
            }
            if (until && next.tag >= *until)
                return next;
            if (next.tag == sequenceEnd || (next.tag == Tag{} && next.length == 0)) {
                position += 8;
                continue;
            }
            DataElement element = value(next, position, end, encoding, depth);
            element.vr = std::move(next.vr);
            to.insert_or_assign(next.tag, std::move(element));
        }
        return std::nullopt;
    }

private:
    /// Whether, behind a value of that length, the data set goes on in the ascending order of its tags.
    bool followedByLarger(const Head& head, std::uint32_t length, Encoding encoding) {
        std::array<unsigned char, 4> next{};
        if (!source_.read(head.value + length, next.data(), next.size()))
            return head.value + length == source_.size();
        return Tag{static_cast<std::uint16_t>(integer(next.data(), 2, encoding.bigEndian)),
                   static_cast<std::uint16_t>(integer(next.data() + 2, 2, encoding.bigEndian))} > head.tag;
    }

    /// Leaves position behind the value.
    DataElement
    value(const Head& head, std::uint64_t& position, std::uint64_t end, Encoding encoding, int depth) {
        DataElement element;
        const bool open = head.length == undefinedLength;
        position = head.value;
        if (head.value > end || (!open && head.length > end - head.value))
            throw std::runtime_error(damaged);
        // Private sequences are nobody's concern here, and some of them are no sequences within.
        if (head.tag.group % 2 == 1 && !open) {
            position += head.length;
            return element;
        }
        // What has no type here is a sequence if it begins like one (PS3.5 6.2.2 for UN).
        const bool untyped = head.vr.empty() || head.vr == "UN";
        if (head.vr == "SQ" || open || (untyped && beginsItem(head, encoding))) {
            const bool fragments = open && !untyped && head.vr != "SQ";
            const Encoding inside = head.vr == "UN" ? Encoding{false, false} : encoding;
            items(position, open ? end : head.value + head.length, open, fragments, inside, depth, element);
            if (!open)
                position = head.value + head.length;
            return element;
        }
        position += head.length;
        element.value.resize(head.length);
        if (!source_.read(head.value, element.value.data(), head.length))
            throw std::runtime_error(damaged);
        if (encoding.bigEndian)
            for (std::size_t i = 0, size = wordSize(head.vr); i + size <= element.value.size(); i += size)
                std::reverse(
                    element.value.begin() + static_cast<std::ptrdiff_t>(i),
                    element.value.begin() + static_cast<std::ptrdiff_t>(i + size));
        return element;
    }

    bool beginsItem(const Head& element, Encoding encoding) {
        if (element.length < 8)
            return false;
        const Encoding inside = element.vr == "UN" ? Encoding{false, false} : encoding;
        const Head first = head(element.value, inside);
        return first.tag == item && (first.length == undefinedLength || first.length <= element.length - 8);
    }

    void items(
        std::uint64_t& position, std::uint64_t end, bool open, bool fragments, Encoding encoding, int depth,
        DataElement& element) {
        while (position + 8 <= end) {
            const Head next = head(position, encoding);
            position += 8;
            if (next.tag == sequenceEnd) {
                if (open)
                    return;
                continue;
            }
            const bool openItem = next.length == undefinedLength;
            if (next.tag != item || (!openItem && next.length > end - position))
                throw std::runtime_error(damaged);
            if (fragments) {
                if (openItem)
                    throw std::runtime_error(damaged);
                position += next.length;
                continue;
            }
            DataSet nested;
            const std::uint64_t stop = openItem ? end : position + next.length;
            dataSet(position, stop, encoding, depth + 1, nullptr, nested);
            if (!openItem)
                position = stop;
            element.items.push_back(std::move(nested));
        }
        if (open)
            throw std::runtime_error(damaged);
    }

    ByteSource& source_;
};

/// PS3.5 A.5: a raw deflate stream behind the meta information.
std::string inflateRest(ByteSource& source, std::uint64_t position) {
    std::string packed(source.size() - position, '\0');
    source.read(position, packed.data(), packed.size());
    z_stream stream{};
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK)
        throw std::runtime_error("not enough memory to inflate");
    const std::unique_ptr<z_stream, decltype(&inflateEnd)> guard(&stream, inflateEnd);
    stream.next_in = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_in = static_cast<uInt>(packed.size());
    std::string result;
    int status = Z_OK;
    while (status == Z_OK) {
        const std::size_t before = result.size();
        const std::size_t used = packed.size() - stream.avail_in;
        if (before >= largestInflated || (before >= freelyInflated && before / used > densestImage))
            throw std::runtime_error("the deflated data set is too large");
        result.resize(before + std::max<std::size_t>(before, std::size_t{1} << 20));
        stream.next_out = reinterpret_cast<Bytef*>(result.data() + before);
        stream.avail_out = static_cast<uInt>(result.size() - before);
        status = inflate(&stream, Z_NO_FLUSH);
        result.resize(result.size() - stream.avail_out);
        if (status == Z_OK && stream.avail_out > 0)
            status = Z_BUF_ERROR; // all input used up, and no end
    }
    if (status != Z_STREAM_END)
        throw std::runtime_error("the deflated data set is truncated or damaged");
    return result;
}

bool startsDataSet(Parser& parser, ByteSource& source, std::uint64_t position) {
    std::array<unsigned char, 6> bytes{};
    if (!source.read(position, bytes.data(), bytes.size()))
        return false;
    const std::uint32_t group = integer(bytes.data(), 2, false);
    if (group != 0x0002 && group != 0x0008)
        return false;
    const Head head = parser.head(position, Encoding{});
    return head.length <= source.size() - position;
}

/// Empty where the file names none, "unknown" where it does not name one rightly.
std::string transferSyntaxOf(const DataSet& meta) {
    const auto found = meta.find(Tag{0x0002, 0x0010});
    if (found == meta.end())
        return {};
    const std::string_view value = found->second.value.c_str(); // nothing counts behind a null character
    if (value.find_first_not_of(' ') == std::string_view::npos)
        return {};
    return std::string(uidIn(value).value_or("unknown"));
}

} // namespace

ParsedFile parseDicom(ByteSource& source, Tag until) {
    if (source.size() == 0)
        throw std::runtime_error("the file is empty");
    ParsedFile file;
    Parser parser(source);
    std::uint64_t position = 0;
    std::array<char, 4> magic{};
    if (source.read(128, magic.data(), magic.size()) && std::string_view(magic.data(), 4) == "DICM")
        position = 132;
    else if (!startsDataSet(parser, source, 0))
        throw std::runtime_error("not a DICOM file");

    // The meta information is explicit and little-endian, whatever follows it.
    constexpr Tag behindMeta{0x0003, 0x0000};
    std::array<unsigned char, 2> group{};
    while (source.read(position, group.data(), 2) && integer(group.data(), 2, false) == 2) {
        const std::uint64_t before = position;
        const Head head = parser.head(position, Encoding{});
        if (head.length > source.size() - std::min(head.value, source.size()))
            throw std::runtime_error(damaged);
        position = head.value + head.length;
        std::uint64_t at = before;
        parser.dataSet(at, position, Encoding{}, 0, &behindMeta, file.meta);
    }
    file.transferSyntax = transferSyntaxOf(file.meta);
    file.bigEndian = file.transferSyntax == "1.2.840.10008.1.2.2";

    std::unique_ptr<MemorySource> memory;
    ByteSource* body = &source;
    if (file.transferSyntax == "1.2.840.10008.1.2.1.99") {
        file.inflated = std::make_shared<const std::string>(inflateRest(source, position));
        memory = std::make_unique<MemorySource>(std::as_bytes(std::span(*file.inflated)));
        body = memory.get();
        position = 0;
    }
    std::array<unsigned char, 6> first{};
    body->read(position, first.data(), first.size());
    const Encoding encoding{isUpper(first[4]) && isUpper(first[5]), file.bigEndian};
    Parser bodyParser(*body);
    const auto stop = bodyParser.dataSet(position, body->size(), encoding, 0, &until, file.dataSet);
    if (stop && stop->tag == until)
        file.stop = StopElement{stop->value, stop->length, stop->vr == "OW"};
    return file;
}

} // namespace zorbel::imaging

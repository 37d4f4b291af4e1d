#include "imaging/dicom/CharacterSet.h"

#include <iconv.h>

#include <array>
#include <cerrno>
#include <utility>

namespace zorbel::imaging {

namespace {

using Pair = std::pair<std::string_view, const char*>;

// PS3.3 C.12.1.1.2, by the part of the defined term that both the plain and the ISO 2022 form share.
constexpr std::array<Pair, 19> encodings{
    {{"IR 6", "ASCII"},
     {"IR 100", "ISO-8859-1"},
     {"IR 101", "ISO-8859-2"},
     {"IR 109", "ISO-8859-3"},
     {"IR 110", "ISO-8859-4"},
     {"IR 144", "ISO-8859-5"},
     {"IR 127", "ISO-8859-6"},
     {"IR 126", "ISO-8859-7"},
     {"IR 138", "ISO-8859-8"},
     {"IR 148", "ISO-8859-9"},
     {"IR 203", "ISO-8859-15"},
     {"IR 166", "TIS-620"},
     {"IR 13", "SHIFT_JIS"},
     {"IR 87", "ISO-2022-JP"},
     {"IR 149", "EUC-KR"},
     {"IR 58", "GB2312"},
     {"IR 192", "UTF-8"},
     {"GB18030", "GB18030"},
     {"GBK", "GBK"}}};

// Escape sequences without the escape character, PS3.3 tables C.12-3 and C.12-4.
constexpr std::array<Pair, 18> escapes{
    {{"(B", "ASCII"},
     {"(J", "SHIFT_JIS"},
     {")I", "SHIFT_JIS"},
     {"$B", "ISO-2022-JP"},
     {"$(D", "ISO-2022-JP-1"},
     {"$)C", "EUC-KR"},
     {"$)A", "GB2312"},
     {"-A", "ISO-8859-1"},
     {"-B", "ISO-8859-2"},
     {"-C", "ISO-8859-3"},
     {"-D", "ISO-8859-4"},
     {"-L", "ISO-8859-5"},
     {"-G", "ISO-8859-6"},
     {"-F", "ISO-8859-7"},
     {"-H", "ISO-8859-8"},
     {"-M", "ISO-8859-9"},
     {"-T", "TIS-620"},
     {"-b", "ISO-8859-15"}}};

const char* encodingOf(std::string_view definedTerm) {
    for (const std::string_view prefix : {"ISO_", "ISO 2022 ", "ISO-"})
        if (definedTerm.starts_with(prefix)) {
            definedTerm.remove_prefix(prefix.size());
            break;
        }
    for (const auto& [term, encoding] : encodings)
        if (definedTerm == term)
            return encoding;
    return nullptr;
}

class Converter {
public:
    explicit Converter(const char* from) : handle_(iconv_open("UTF-8", from)) {}
    ~Converter() {
        if (valid())
            iconv_close(handle_);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    bool valid() const { return handle_ != reinterpret_cast<iconv_t>(-1); }

    std::string convert(std::string text) {
        std::string result;
        char* in = text.data();
        std::size_t left = text.size();
        while (left > 0) {
            std::array<char, 256> buffer{};
            char* out = buffer.data();
            std::size_t room = buffer.size();
            const std::size_t done = iconv(handle_, &in, &left, &out, &room);
            result.append(buffer.data(), buffer.size() - room);
            if (done == static_cast<std::size_t>(-1) && errno != E2BIG) {
                result += '?';
                ++in;
                --left;
            }
        }
        return result;
    }

private:
    iconv_t handle_;
};

std::string convertSegment(std::string_view text, const char* encoding) {
    if (text.empty())
        return {};
    Converter converter(encoding ? encoding : "ISO-8859-1");
    if (!converter.valid())
        return std::string(text.size(), '?');
    const std::string_view name = encoding ? encoding : "";
    // The converter knows these sets by their escape sequences only.
    if (name == "ISO-2022-JP")
        return converter.convert("\033$B" + std::string(text) + "\033(B");
    if (name == "ISO-2022-JP-1")
        return converter.convert("\033$(D" + std::string(text) + "\033(B");
    return converter.convert(std::string(text));
}

} // namespace

std::string toUtf8(std::string_view text, const std::vector<std::string>& characterSets) {
    // Files without the attribute often hold Latin-1 all the same, and UTF-8 nearly as often as that.
    const char* initial = characterSets.empty() ? nullptr : encodingOf(characterSets.front());
    if (!initial && characterSets.size() > 1)
        initial = "ASCII";
    if (initial && std::string_view(initial) == "ISO-2022-JP")
        initial = "ASCII"; // reached by its escape sequence only
    const char* current = initial;
    std::string result;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find('\033', begin), text.size());
        // Names return to the initial set at each delimiter, PS3.5 6.1.2.5.3.
        std::size_t stop = end;
        const bool multiByte7 = current && std::string_view(current).starts_with("ISO-2022");
        if (current != initial && !multiByte7)
            stop = std::min(text.find_first_of("^=\\", begin), end);
        result += convertSegment(text.substr(begin, stop - begin), current);
        begin = stop;
        if (stop < end) {
            current = initial;
        } else if (end < text.size()) {
            ++begin;
            for (const auto& [sequence, encoding] : escapes)
                if (text.substr(begin).starts_with(sequence)) {
                    begin += sequence.size();
                    current = encoding;
                    break;
                }
        }
    }
    return result;
}

std::string displayName(std::string_view name) {
    while (!name.empty() && name.front() == '=')
        name.remove_prefix(1);
    name = name.substr(0, name.find('='));
    std::string result;
    for (const char c : name) {
        const char shown = c == '^' ? ' ' : c;
        if (shown != ' ' || (!result.empty() && result.back() != ' '))
            result += shown;
    }
    while (!result.empty() && result.back() == ' ')
        result.pop_back();
    return result;
}

} // namespace zorbel::imaging

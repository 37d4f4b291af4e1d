// A header and a stream: what comes out of it must not depend on where the network cut it.
#include "api/MultipartPartParser.h"
#include "fuzz/FuzzSupport.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace {

using zorbel::MultipartPartParser;
using Input = MultipartPartParser::Input;

struct Parsed {
    std::vector<std::string> parts;
    std::string error;
    bool operator==(const Parsed&) const = default;
};

/// nextLength: of the next piece.
template <class NextLength>
Parsed parse(std::string_view stream, const QByteArray& header, std::size_t expected, NextLength nextLength) {
    Parsed parsed;
    MultipartPartParser parser(expected, [&](const std::byte* data, std::size_t length) {
        parsed.parts.emplace_back(reinterpret_cast<const char*>(data), length);
    });
    parser.useContentType(header);
    bool healthy = true;
    while (healthy && !stream.empty()) {
        const std::size_t length = std::min<std::size_t>(nextLength(), stream.size());
        std::memcpy(parser.writable(length).data(), stream.data(), length);
        parser.commit(length);
        stream.remove_prefix(length);
        healthy = parser.parse(Input::More);
    }
    parser.parse(Input::Final);
    zorbel::fuzz::require(parser.delivered() == parsed.parts.size(), "every part is counted");
    parsed.error = parser.error();
    return parsed;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using zorbel::fuzz::require;
    FuzzedDataProvider bytes(data, size);
    const auto expected = bytes.ConsumeIntegralInRange<std::size_t>(0, 8);
    std::minstd_rand random(bytes.ConsumeIntegral<std::uint32_t>());
    const auto longest = bytes.ConsumeIntegralInRange<unsigned>(1, 64);
    const QByteArray header = bytes.ConsumeBool()
                                  ? QByteArray("multipart/related; boundary=b")
                                  : QByteArray::fromStdString(bytes.ConsumeRandomLengthString(64));
    const std::string stream = bytes.ConsumeRemainingBytesAsString();

    const Parsed whole = parse(stream, header, expected, [&] { return stream.size(); });
    require(
        whole == parse(stream, header, expected, [&] { return 1 + random() % longest; }),
        "the pieces make no difference");
    const QByteArray delimiter = MultipartPartParser::delimiterOf(header);
    std::size_t from = 0;
    for (const std::string& part : whole.parts) {
        require(!part.empty(), "no part is empty");
        require(part.find(delimiter.toStdString()) == std::string::npos, "no part holds the delimiter");
        from = stream.find(part, from);
        require(from != std::string::npos, "the parts are of the stream, in its order");
        from += part.size();
    }
    require(whole.parts.size() <= expected, "no more parts than expected");
    return 0;
}

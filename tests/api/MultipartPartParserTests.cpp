#include "api/MultipartPartParser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <string>
#include <vector>

namespace zorbel {
namespace {

const std::string contentType = R"(multipart/related; type="application/dicom"; boundary=b0und)";

struct Parsed {
    std::vector<std::string> parts;
    std::string error;
    bool operator==(const Parsed&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Parsed& parsed) {
    for (const std::string& part : parsed.parts)
        out << "[" << part << "]";
    return out << " error: " << parsed.error;
}

void feed(MultipartPartParser& parser, std::string_view bytes) {
    std::ranges::copy(std::as_bytes(std::span(bytes)), parser.writable(bytes.size()).begin());
    parser.commit(bytes.size());
}

/// Parses the stream in pieces that end at the given positions.
Parsed parse(
    const std::string& stream, std::size_t expected, const std::vector<std::size_t>& cuts,
    const std::string& header = contentType) {
    Parsed parsed;
    MultipartPartParser parser(expected, [&](const std::byte* data, std::size_t length) {
        parsed.parts.emplace_back(reinterpret_cast<const char*>(data), length);
    });
    parser.useContentType(QByteArray::fromStdString(header));
    std::size_t from = 0;
    for (const std::size_t cut : cuts) {
        feed(parser, std::string_view(stream).substr(from, cut - from));
        from = cut;
        if (!parser.parse(MultipartPartParser::Input::More))
            break;
    }
    feed(parser, std::string_view(stream).substr(from));
    parser.parse(MultipartPartParser::Input::Final);
    parsed.error = parser.error();
    return parsed;
}

std::string stream(const std::vector<std::string>& bodies, const std::string& lineEnd, bool closed = true) {
    std::string bytes;
    for (const std::string& body : bodies)
        bytes += "--b0und" + lineEnd + "Content-Type: application/dicom" + lineEnd + lineEnd + body + lineEnd;
    return bytes + (closed ? "--b0und--" + lineEnd : "");
}

/// The result is the same for the whole stream, for every two pieces, and byte by byte.
void expectForEverySplit(const std::string& bytes, std::size_t expected, const Parsed& wanted) {
    std::vector<std::size_t> everyByte;
    for (std::size_t cut = 0; cut <= bytes.size(); ++cut) {
        ASSERT_EQ(parse(bytes, expected, {cut}), wanted) << "cut at " << cut << " of " << bytes;
        everyByte.push_back(cut);
    }
    ASSERT_EQ(parse(bytes, expected, everyByte), wanted) << bytes;
}

TEST(MultipartPartParser, FindsPartsAtEverySplitOfTheStream) {
    // Bodies that look like line ends, header ends and beginnings of the delimiter.
    const std::vector<std::string> bodies{"one", "\r\n\r\ntwo\n\n",          "--b0un--b0u\r\n--b0un",
                                          "\n",  std::string("\0\r\n\0", 4), "----b0un-"};
    for (const std::string lineEnd : {"\r\n", "\n"}) {
        const std::string bytes = stream(bodies, lineEnd);
        expectForEverySplit(bytes, bodies.size(), {bodies, ""});
        expectForEverySplit("a preamble" + lineEnd + bytes + "an epilogue", bodies.size(), {bodies, ""});
    }
    expectForEverySplit("--b0und\r\n\r\nno headers\r\n--b0und--", 1, {{"no headers"}, ""});
    expectForEverySplit("--b0und\r\nA: b\r\n\r\nno line end--b0und--", 1, {{"no line end"}, ""});
}

TEST(MultipartPartParser, RefusesWhatIsNotASeries) {
    const std::string count = "DICOMweb series returned an unexpected instance count";
    const std::string two = stream({"one", "two"}, "\r\n");
    expectForEverySplit(two, 1, {{"one"}, count});
    expectForEverySplit(stream({"one", ""}, "\r\n"), 2, {{"one"}, count});
    expectForEverySplit("--b0und\r\nA: b\r\n\r\n--b0und--", 1, {{}, count});
    expectForEverySplit("--b0und\r\nno end of headers", 1, {{}, "Malformed streaming DICOMweb part headers"});
    expectForEverySplit(
        "--other\r\nA: b\r\n\r\none\r\n--other--", 1, {{}, "Malformed streaming DICOMweb response boundary"});
    expectForEverySplit(
        stream({"one"}, "\r\n", false) + "--b0und\r\nA: b\r\n\r\nhalf a par", 2,
        {{"one"}, "Incomplete streaming DICOMweb part"});
    // Too few parts, and a stream of blanks, are the caller's to count.
    expectForEverySplit(two, 3, {{"one", "two"}, ""});
    expectForEverySplit(" \r\n\t ", 1, {{}, ""});
    expectForEverySplit("", 1, {{}, ""});
}

TEST(MultipartPartParser, TakesTheBoundaryFromTheHeader) {
    const auto delimiter = [](const char* header) {
        return MultipartPartParser::delimiterOf(header).toStdString();
    };
    EXPECT_EQ(delimiter(R"(multipart/related; boundary="a;b c"; type=x)"), "--a;b c");
    EXPECT_EQ(delimiter("multipart/related; BOUNDARY=abc;type=x"), "--abc");
    EXPECT_EQ(delimiter("multipart/related; boundary=abc def"), "--abc");
    EXPECT_EQ(delimiter("multipart/related"), "");
    EXPECT_EQ(
        parse("--x\r\n\r\none\r\n--x--", 1, {3}, "application/dicom").error,
        "DICOMweb response did not include a multipart boundary");
}

TEST(MultipartPartParser, HoldsAboutOnePartOfALongStream) {
    const std::string part = stream({std::string(700'000, 'x')}, "\r\n", false);
    std::size_t delivered = 0;
    MultipartPartParser parser(200, [&](const std::byte*, std::size_t length) { delivered += length; });
    parser.useContentType(QByteArray::fromStdString(contentType));
    for (int i = 0; i < 200; ++i) {
        for (std::size_t from = 0; from < part.size(); from += 65'536) {
            feed(parser, std::string_view(part).substr(from, 65'536));
            ASSERT_TRUE(parser.parse(MultipartPartParser::Input::More));
        }
    }
    feed(parser, "--b0und--");
    EXPECT_TRUE(parser.parse(MultipartPartParser::Input::Final));
    EXPECT_EQ(delivered, 200 * 700'000U);
    EXPECT_LE(parser.capacity(), 2 * part.size());
}

} // namespace
} // namespace zorbel

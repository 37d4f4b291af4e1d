#include "TestVolumeCache.h"
#include "cache/volume/ManifestParser.h"
#include "cache/volume/ZorbelError.h"

#include <gtest/gtest.h>

#include <functional>

#include <sys/stat.h>

namespace zorbel {
namespace {

using test::Json;
using test::TestVolumeCache;

class ManifestParserTest : public testing::Test {
protected:
    ManifestParserTest() { test::writeFile(anything, "{}"); }

    /// The message that the parser fails with; empty when it does not.
    std::string failure(const test::fs::path& schema) const {
        try {
            ManifestParser::parse(cache.manifestPath(), schema);
        } catch (const ZorbelError& error) {
            EXPECT_EQ(error.stage, CacheStage::Manifest);
            EXPECT_EQ(error.code, CacheErrorCode::ManifestInvalid);
            EXPECT_EQ(error.chunkIndex, -1);
            return error.what();
        }
        return {};
    }
    std::string failureOf(const std::string& manifest) const {
        test::writeFile(cache.manifestPath(), manifest);
        return failure(test::schemaPath());
    }
    /// Both by the schema that is shipped and behind one that lets everything pass.
    void expectRefused(const Json& manifest, const std::string& what) const {
        test::writeFile(cache.manifestPath(), manifest.dump());
        EXPECT_TRUE(failure(test::schemaPath()).starts_with("Schema validation failed: <root>")) << what;
        EXPECT_TRUE(failure(anything).starts_with("Failed to deserialize manifest fields: ")) << what;
    }

    /// Of the values, the member takes those that are allowed and no other.
    void expectOnly(
        const Json::json_pointer& member, const std::function<bool(const Json&)>& allows,
        const Json& values) {
        for (const Json& value : values) {
            const std::string what = member.to_string() + " = " + value.dump();
            Json manifest = cache.manifest;
            manifest[member] = value;
            test::writeFile(cache.manifestPath(), manifest.dump());
            const bool negativeLength = value == -1 && member.to_string().ends_with("ByteLength");
            if (allows(value)) {
                EXPECT_EQ(failure(anything), "") << what;
            } else {
                EXPECT_TRUE(failure(anything).starts_with("Failed to deserialize manifest fields: ")) << what;
                const std::string shipped = failure(test::schemaPath());
                EXPECT_TRUE(
                    shipped.starts_with("Schema validation failed: <root>") ||
                    (negativeLength && !shipped.empty()))
                    << what << ": " << shipped;
            }
        }
    }

    TestVolumeCache cache;
    const test::fs::path anything = cache.folder / "anything.json";
};

TEST_F(ManifestParserTest, EveryMemberOfEveryWrongTypeIsRefused) {
    const Json values = Json::parse(
        R"([null, true, 7, -1, 1.5, 1e300, 2147483648, "text", [], {}, [1, 2], [1, 2, "3"], [1, 2, null],
            [1, 2, 3, 4]])");
    const auto isNumber = [](const Json& value) { return value.is_number(); };
    const auto isInt32 = [](const Json& value) {
        return value.is_number_integer() && value.get<std::int64_t>() < 2147483648;
    };
    const auto isLength = [](const Json& value) {
        return value.is_number_integer() && value.get<std::int64_t>() >= 0;
    };
    const auto isText = [](const Json& value) { return value.is_string(); };
    const auto never = [](const Json&) { return false; };
    const auto isEmptyList = [](const Json& value) { return value.is_array() && value.empty(); };
    const std::vector<std::pair<std::function<bool(const Json&)>, std::vector<const char*>>> members{
        {isText, {"/version", "/studyInstanceUID", "/dtype", "/chunks/1/sha256", "/chunks/1/compression"}},
        {never, {"/dimensions", "/spacing", "/origin", "/direction", "/chunks/1"}},
        {isNumber, {"/spacing/0", "/origin/2", "/direction/8"}},
        {isEmptyList, {"/chunks"}},
        {isInt32, {"/dimensions/1", "/chunks/1/index", "/chunks/1/startSlice", "/chunks/1/endSlice"}},
        {isLength,
         {"/chunks/1/compressedByteLength", "/chunks/1/uncompressedByteLength", "/totalCompressedByteLength",
          "/totalUncompressedByteLength"}}};
    for (const auto& [allows, names] : members) {
        for (const char* name : names)
            expectOnly(Json::json_pointer(name), allows, values);
    }
}

TEST_F(ManifestParserTest, RequiredMembersAreRequiredAndUnknownOnesAllowed) {
    for (const char* member :
         {"version", "studyInstanceUID", "dtype", "dimensions", "spacing", "origin", "direction", "chunks"}) {
        Json manifest = cache.manifest;
        manifest.erase(member);
        expectRefused(manifest, member);
    }
    for (const char* member :
         {"index", "startSlice", "endSlice", "compressedByteLength", "uncompressedByteLength"}) {
        Json manifest = cache.manifest;
        manifest["chunks"][2].erase(member);
        expectRefused(manifest, member);
    }
    for (const char* dtype : {"int32", "uint32", "float32"}) {
        cache.manifest["dtype"] = dtype;
        EXPECT_EQ(failureOf(cache.manifest.dump()), "");
    }
    cache.manifest["dtype"] = "uint8";
    EXPECT_TRUE(failureOf(cache.manifest.dump()).starts_with("Schema validation failed: "));
    EXPECT_TRUE(failureOf("[]").starts_with("Schema validation failed: "));
}

TEST_F(ManifestParserTest, WhatIsNoManifestFileIsRefusedWithoutWaiting) {
    const std::string cannotOpen = "Cannot open manifest: " + cache.manifestPath().string();
    test::fs::rename(cache.manifestPath(), cache.folder / "elsewhere");
    EXPECT_EQ(failure(test::schemaPath()), cannotOpen);
    test::fs::create_symlink(cache.folder / "elsewhere", cache.manifestPath());
    EXPECT_EQ(failure(test::schemaPath()), cannotOpen);
    test::fs::remove(cache.manifestPath());
    test::fs::create_directory(cache.manifestPath());
    EXPECT_EQ(failure(test::schemaPath()), cannotOpen);
    test::fs::remove(cache.manifestPath());
    ASSERT_EQ(mkfifo(cache.manifestPath().c_str(), 0600), 0);
    EXPECT_EQ(failure(test::schemaPath()), cannotOpen);
}

TEST_F(ManifestParserTest, HostileTextCostsNeitherMemoryNorStack) {
    const std::string notJson = "manifest.json is not valid JSON: ";
    constexpr std::size_t million = 1'000'000;
    std::string objects;
    for (std::size_t i = 0; i < million; ++i)
        objects += "{\"a\":";
    std::string numbers = "[1";
    for (std::size_t i = 0; i < 10 * million; ++i)
        numbers += ",1";
    const std::string deepMember =
        "{\"version\":" + std::string(million, '[') + std::string(million, ']') + "}";
    for (const std::string& text :
         {std::string(), std::string("{"), std::string("{\"version\":1e999}"), std::string("\xff\xfe{}"),
          std::string(million, '['), objects, deepMember, numbers + "]", "\"" + std::string(million, 'x')}) {
        const std::string message = failureOf(text);
        EXPECT_TRUE(message.starts_with(notJson)) << message;
        EXPECT_LT(message.size(), 600U);
    }
    // Every one of very many faults: refused without a list of them.
    std::string faults = "{\"chunks\":[{}";
    for (std::size_t i = 0; i < 900'000; ++i)
        faults += ",{}";
    EXPECT_TRUE(failureOf(faults + "]}").starts_with("Schema validation failed: "));

    test::fs::resize_file(cache.manifestPath(), 100'000'000);
    EXPECT_EQ(failure(test::schemaPath()), notJson + "the file has more than 33554432 bytes");
}

} // namespace
} // namespace zorbel

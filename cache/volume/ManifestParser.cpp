#include "cache/volume/ManifestParser.h"

#include "app/log/Logger.h"
#include "base/PathText.h"
#include "cache/volume/ZorbelError.h"
#include "platform/RegularFile.h"

#include <nlohmann/json.hpp>

// Without exceptions the validator ends the process at its first surprise.
#define VALIJSON_USE_EXCEPTIONS 1
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validation_results.hpp>
#include <valijson/validator.hpp>

#include <limits>
#include <new>
#include <span>
#include <stdexcept>
#include <system_error>

namespace zorbel {

namespace {

using Json = nlohmann::json;

// A manifest of 10,000 chunks has 3 MB and 80,000 values. What is far beyond is no manifest, and must not
// cost more than a moment and some megabytes to find out.
constexpr std::uint64_t largestFile = 32U << 20U;
constexpr int deepestNesting = 64;
constexpr std::size_t mostValues = 1'000'000;
/// The validator describes every single fault of a document, at some hundred bytes each.
constexpr std::size_t mostExplainedValues = 100'000;

[[noreturn]] void fail(const std::string& message) {
    throw ZorbelError(CacheStage::Manifest, CacheErrorCode::ManifestInvalid, message);
}

/// Texts that quote the file: of bounded length, and without bytes that are no text.
std::string printable(std::string text) {
    constexpr std::size_t longest = 500;
    if (text.size() > longest)
        text = text.substr(0, longest) + "...";
    for (char& character : text) {
        if (static_cast<unsigned char>(character) >= 0x7f)
            character = '?';
    }
    return text;
}

struct Document {
    Json json;
    std::size_t values = 0;
};

/// Goes through a text and keeps nothing of it. (The library's parser with a callback takes a time that grows
/// with the square of an array's length.)
class SizeLimits : public nlohmann::json_sax<Json> {
public:
    std::size_t values() const { return values_; }

    bool null() override { return count(); }
    bool boolean(bool) override { return count(); }
    bool number_integer(number_integer_t) override { return count(); }
    bool number_unsigned(number_unsigned_t) override { return count(); }
    bool number_float(number_float_t, const string_t&) override { return count(); }
    bool string(string_t&) override { return count(); }
    bool binary(binary_t&) override { return count(); }
    bool key(string_t&) override { return true; }
    bool start_object(std::size_t) override { return enter(); }
    bool end_object() override { return leave(); }
    bool start_array(std::size_t) override { return enter(); }
    bool end_array() override { return leave(); }
    bool parse_error(std::size_t, const std::string&, const Json::exception&) override { return false; }

private:
    bool count() {
        if (++values_ > mostValues)
            throw std::runtime_error("more than " + std::to_string(mostValues) + " values");
        return true;
    }
    bool enter() {
        if (++depth_ > deepestNesting)
            throw std::runtime_error("nested deeper than " + std::to_string(deepestNesting) + " levels");
        return count();
    }
    bool leave() {
        --depth_;
        return true;
    }

    std::size_t values_ = 0;
    int depth_ = 0;
};

Document read(RegularFile file) {
    if (file.size() > largestFile)
        throw std::runtime_error("the file has more than " + std::to_string(largestFile) + " bytes");
    std::string text(static_cast<std::size_t>(file.size()), '\0');
    text.resize(file.read(std::as_writable_bytes(std::span(text))));
    SizeLimits limits;
    Json::sax_parse(text, &limits); // an error in the text ends this early, and the next line as well
    return {Json::parse(text), limits.values()};
}

/// cannotOpen is followed by the path, notJson by the reason.
Document read(const std::filesystem::path& path, const std::string& cannotOpen, const std::string& notJson) {
    try {
        RegularFile file = [&] {
            try {
                return RegularFile(path);
            } catch (const std::system_error&) {
                fail(cannotOpen + pathText(path));
            }
        }();
        return read(std::move(file));
    } catch (const ZorbelError&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        fail(notJson + printable(error.what()));
    }
}

/// The first fault that the validator finds, or nothing.
std::string faultAgainst(const Json& schemaDocument, const Document& manifest) {
    using Adapter = valijson::adapters::NlohmannJsonAdapter;
    valijson::Schema schema;
    valijson::SchemaParser().populateSchema(Adapter(schemaDocument), schema);
    valijson::Validator validator;
    if (validator.validate(schema, Adapter(manifest.json), nullptr))
        return {};
    valijson::ValidationResults results;
    if (manifest.values <= mostExplainedValues)
        validator.validate(schema, Adapter(manifest.json), &results);
    if (results.begin() == results.end())
        return "the document does not have the form of a manifest";
    std::string text;
    for (const std::string& step : results.begin()->context)
        text += step;
    return text + ": " + results.begin()->description;
}

void validate(const Document& manifest, const Json& schema) {
    std::string fault;
    try {
        fault = faultAgainst(schema, manifest);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        fail("Schema validation error: " + printable(error.what()));
    }
    if (!fault.empty())
        fail("Schema validation failed: " + printable(fault));
}

/// Unlike the library's own conversion, refuses what it would cut: fractions, signs and high bits.
template <class Integer>
Integer integerOf(const Json& value) {
    if (!value.is_number_integer())
        throw std::runtime_error(std::string("type must be integer, but is ") + value.type_name());
    bool fits = false;
    if (value.is_number_unsigned())
        fits = value.get<std::uint64_t>() <= std::uint64_t{std::numeric_limits<Integer>::max()};
    else if constexpr (std::is_signed_v<Integer>)
        fits = value.get<std::int64_t>() >= std::int64_t{std::numeric_limits<Integer>::min()} &&
               value.get<std::int64_t>() <= std::int64_t{std::numeric_limits<Integer>::max()};
    else
        fits = value.get<std::int64_t>() >= 0;
    if (!fits)
        throw std::runtime_error("number out of range: " + value.dump());
    return value.get<Integer>();
}

template <class Element, std::size_t Count>
void readArray(const Json& value, std::array<Element, Count>& to) {
    if (!value.is_array() || value.size() != Count)
        throw std::runtime_error("type must be array of " + std::to_string(Count) + " numbers");
    for (std::size_t i = 0; i < Count; ++i) {
        if constexpr (std::is_integral_v<Element>)
            to[i] = integerOf<Element>(value[i]);
        else if (value[i].is_number())
            to[i] = value[i].get<Element>();
        else
            throw std::runtime_error(std::string("type must be number, but is ") + value[i].type_name());
    }
}

ChunkEntry readChunk(const Json& value) {
    ChunkEntry chunk;
    chunk.index = integerOf<std::int32_t>(value.at("index"));
    chunk.startSlice = integerOf<std::int32_t>(value.at("startSlice"));
    chunk.endSlice = integerOf<std::int32_t>(value.at("endSlice"));
    chunk.compressedByteLength = integerOf<std::uint64_t>(value.at("compressedByteLength"));
    chunk.uncompressedByteLength = integerOf<std::uint64_t>(value.at("uncompressedByteLength"));
    if (value.contains("sha256"))
        value.at("sha256").get_to(chunk.sha256);
    if (value.contains("compression"))
        value.at("compression").get_to(chunk.compression);
    return chunk;
}

VolumeCacheManifest readManifest(const Json& value) {
    VolumeCacheManifest manifest;
    value.at("version").get_to(manifest.version);
    value.at("studyInstanceUID").get_to(manifest.studyInstanceUID);
    value.at("dtype").get_to(manifest.dtype);
    readArray(value.at("dimensions"), manifest.dimensions);
    readArray(value.at("spacing"), manifest.spacing);
    readArray(value.at("origin"), manifest.origin);
    readArray(value.at("direction"), manifest.direction);
    const Json& chunks = value.at("chunks");
    if (!chunks.is_array())
        throw std::runtime_error(std::string("type must be array, but is ") + chunks.type_name());
    manifest.chunks.reserve(chunks.size());
    for (const Json& chunk : chunks)
        manifest.chunks.push_back(readChunk(chunk));

    const auto readTotal = [&value](const char* name, bool& present, std::uint64_t& total) {
        present = value.contains(name);
        if (present)
            total = integerOf<std::uint64_t>(value.at(name));
    };
    readTotal(
        "totalCompressedByteLength", manifest.hasTotalCompressedByteLength,
        manifest.totalCompressedByteLength);
    readTotal(
        "totalUncompressedByteLength", manifest.hasTotalUncompressedByteLength,
        manifest.totalUncompressedByteLength);
    return manifest;
}

} // namespace

VolumeCacheManifest
ManifestParser::parse(const std::filesystem::path& manifestPath, const std::filesystem::path& schemaPath) {
    const Document document =
        read(manifestPath, "Cannot open manifest: ", "manifest.json is not valid JSON: ");
    const Document schema = read(schemaPath, "Cannot open schema: ", "Schema file is not valid JSON: ");
    validate(document, schema.json);

    VolumeCacheManifest manifest;
    try {
        manifest = readManifest(document.json);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        fail("Failed to deserialize manifest fields: " + printable(error.what()));
    }
    Logger::instance().info(
        "ManifestParser", "Manifest parsed successfully",
        {{"version", printable(manifest.version)},
         {"studyInstanceUID", printable(manifest.studyInstanceUID)},
         {"dtype", printable(manifest.dtype)},
         {"chunks", std::to_string(manifest.chunks.size())}});
    return manifest;
}

} // namespace zorbel

#include "cache/archive/ArchiveManifest.h"

#include "cache/archive/StudyArchiveTransaction.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <unordered_set>

namespace zorbel {

namespace {

constexpr char knownVersion[] = "zorbel-study-archive.v2";

bool isDigest(const std::string& text) {
    return text.size() == 64 && std::all_of(text.begin(), text.end(), [](char c) {
               return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
           });
}

/// Follows the parser through the text. Nothing but the one known structure is taken in, so that a manifest
/// made to exhaust the memory by its nesting or its number of values ends at the first surprise.
class ManifestHandler {
public:
    explicit ManifestHandler(ArchivedSeries& series) : series_(series) {}

    /// Empty when the text held one whole manifest.
    std::string failure() const {
        if (!failure_.empty())
            return failure_;
        return level_ == Level::After ? std::string() : "The manifest is incomplete";
    }

    bool null() { return refuse("A member of the manifest has the wrong type"); }
    bool boolean(bool) { return null(); }
    bool number_integer(std::int64_t) { return null(); }
    bool number_float(double, const std::string&) { return null(); }
    bool binary(nlohmann::json::binary_t&) { return null(); }
    bool number_unsigned(std::uint64_t value);
    bool string(std::string& value);
    bool start_object(std::size_t);
    bool key(std::string& name);
    bool end_object();
    bool start_array(std::size_t);
    bool end_array();
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) {
        return refuse("The manifest is not valid JSON");
    }

private:
    enum class Level { Before, Archive, Instances, Instance, After };
    enum Member : unsigned {
        None = 0,
        Version = 1,
        Study = 2,
        Series = 4,
        Instances = 8,
        Id = 16,
        ByteLength = 32,
        Sha256 = 64
    };

    bool refuse(const char* failure) {
        if (failure_.empty())
            failure_ = failure;
        return false;
    }
    Member memberNamed(const std::string& name) const;

    ArchivedSeries& series_;
    Level level_ = Level::Before;
    Member member_ = None;      ///< whose value comes next
    unsigned archiveSeen_ = 0;  ///< members of the archive
    unsigned instanceSeen_ = 0; ///< members of the current instance
    std::unordered_set<std::string> ids_;
    std::string failure_;
};

bool ManifestHandler::number_unsigned(std::uint64_t value) {
    if (member_ != ByteLength)
        return null();
    series_.instances.back().byteLength = value;
    return value > 0 || refuse("An instance of the manifest has no bytes");
}

bool ManifestHandler::string(std::string& value) {
    switch (member_) {
    case Version:
        return value == knownVersion || refuse("The version of the manifest is unknown");
    case Study:
        series_.studyInstanceUID = std::move(value);
        return true;
    case Series:
        series_.seriesInstanceUID = std::move(value);
        return true;
    case Id:
        if (!isSafeInstanceIdentifier(value))
            return refuse("An instance identifier of the manifest is unsafe");
        if (!ids_.insert(value).second)
            return refuse("An instance identifier of the manifest is repeated");
        series_.instances.back().id = std::move(value);
        return true;
    case Sha256:
        if (!isDigest(value))
            return refuse("A digest of the manifest is malformed");
        series_.instances.back().sha256 = std::move(value);
        return true;
    default:
        return null();
    }
}

bool ManifestHandler::start_object(std::size_t) {
    if (level_ == Level::Before) {
        level_ = Level::Archive;
    } else if (level_ == Level::Instances) {
        level_ = Level::Instance;
        instanceSeen_ = 0;
        series_.instances.emplace_back();
    } else {
        return null();
    }
    member_ = None;
    return true;
}

ManifestHandler::Member ManifestHandler::memberNamed(const std::string& name) const {
    struct Name {
        const char* text;
        Member member;
        Level level;
    };
    static constexpr Name names[] = {
        {"version", Version, Level::Archive},
        {"studyInstanceUID", Study, Level::Archive},
        {"seriesInstanceUID", Series, Level::Archive},
        {"instances", Instances, Level::Archive},
        {"id", Id, Level::Instance},
        {"byteLength", ByteLength, Level::Instance},
        {"sha256", Sha256, Level::Instance},
    };
    const auto found = std::find_if(std::begin(names), std::end(names), [&](const Name& candidate) {
        return candidate.level == level_ && name == candidate.text;
    });
    return found == std::end(names) ? None : found->member;
}

bool ManifestHandler::key(std::string& name) {
    member_ = memberNamed(name);
    unsigned& seen = level_ == Level::Archive ? archiveSeen_ : instanceSeen_;
    if (member_ == None || (seen & member_) != 0)
        return refuse("The manifest has an unknown or a repeated member");
    seen |= member_;
    return true;
}

bool ManifestHandler::end_object() {
    member_ = None;
    if (level_ == Level::Instance) {
        level_ = Level::Instances;
        return instanceSeen_ == (Id | ByteLength | Sha256) || refuse("The manifest is incomplete");
    }
    level_ = Level::After;
    return archiveSeen_ == (Version | Study | Series | Instances) || refuse("The manifest is incomplete");
}

bool ManifestHandler::start_array(std::size_t) {
    if (member_ != Instances)
        return null();
    level_ = Level::Instances;
    member_ = None;
    return true;
}

bool ManifestHandler::end_array() {
    level_ = Level::Archive;
    return !series_.instances.empty() || refuse("The manifest lists no instance");
}

} // namespace

std::string archiveManifestText(const ArchivedSeries& series) {
    using nlohmann::ordered_json;
    auto instances = ordered_json::array();
    for (const auto& instance : series.instances)
        instances.push_back(ordered_json{
            {"id", instance.id}, {"byteLength", instance.byteLength}, {"sha256", instance.sha256}});
    return ordered_json{
        {"version", knownVersion},
        {"studyInstanceUID", series.studyInstanceUID},
        {"seriesInstanceUID", series.seriesInstanceUID},
        {"instances", std::move(instances)}}
        .dump(2);
}

std::string parseArchiveManifest(std::string_view text, ArchivedSeries& series) {
    ManifestHandler handler(series);
    nlohmann::json::sax_parse(text, &handler);
    return handler.failure();
}

} // namespace zorbel

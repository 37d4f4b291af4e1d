#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace zorbel::demo {

/// One way in which the demo service misbehaves on request. Made by the functions below and handed to
/// DemoService::setFault. `path` is a shell pattern on the request's path without its query; "*" also crosses
/// "/". Several faults may match one request: delays add up, the first whole reply wins, changes of the body
/// combine.
struct Fault {
    enum class Kind {
        Delay,         ///< answers as usual, but `delay` later
        NoReply,       ///< closes the connection without a word
        LostReply,     ///< carries the request out, then closes the connection without a word
        Reply,         ///< answers `status` with `body` instead of the real reply
        Redirect,      ///< answers 302 with `location`
        Oversize,      ///< pads the body with blanks after its end until it is `bytes` long
        DropBody,      ///< closes the connection after `bytes` of the body, whatever was announced
        Hang,          ///< sends `bytes` of the body, then nothing, until the client or the service gives up
        Throttle,      ///< at most `bytes` a second
        MissingParts,  ///< leaves out the last `parts` parts of a series stream
        ExtraParts,    ///< sends the last part `parts` times more
        ShuffledParts, ///< reverses the order of the parts
        ReplacedPart,  ///< sends the first part's content again in the second part's place
        EmptyPart,     ///< the first part has no body
        WrongBoundary, ///< announces another boundary than the body uses
        MissingBoundary,   ///< announces multipart without a boundary
        QuotedBoundary,    ///< a boundary that holds a semicolon and is therefore quoted
        LineFeedOnly,      ///< bare LF line ends around the parts
        NoClosingDelimiter ///< a well-formed HTTP reply whose last delimiter is missing
    };

    Kind kind = Kind::Reply;
    std::string path = "*";
    std::string method; ///< empty means every one
    int count = -1;     ///< how many matching requests it hits; -1 means all
    int skip = 0;       ///< how many matching requests it lets pass first
    int status = 500;
    std::string contentType;
    std::string body;
    std::string location;
    std::uint64_t bytes = 0;
    bool announced = false; ///< Oversize: with a Content-Length
    int parts = 1;
    std::chrono::milliseconds delay{0};

    static constexpr const char* seriesStreams = "*/viewer-proxy/dicom-web/*";
    static constexpr const char* instanceFiles = "*/viewer-proxy/instances/*";
    static constexpr const char* seriesSizes = "*/viewer-proxy/series/*/statistics";

    static Fault delayed(std::string path, std::chrono::milliseconds delay);
    static Fault
    reply(std::string path, int status, std::string body = {}, std::string contentType = "application/json");
    static Fault noReply(std::string path);
    static Fault lostReply(std::string path);
    /// {"error": message, "code": code}
    static Fault error(std::string path, int status, const std::string& message, const std::string& code);
    /// 200 with JSON that ends too early.
    static Fault badJson(std::string path);
    static Fault redirect(std::string path, std::string location);
    /// totalBytes counts the whole body.
    static Fault oversize(std::string path, std::uint64_t totalBytes, bool announced);
    static Fault dropAfter(std::string path, std::uint64_t bytes);
    static Fault hangAfter(std::string path, std::uint64_t bytes);
    static Fault throttle(std::string path, std::uint64_t bytesPerSecond);
    /// One of the kinds that change a series stream.
    static Fault stream(Kind kind, int parts = 1);
    /// The archive offers no DICOMweb: 406 or 404 in place of the stream.
    static Fault streamingRefused(int status = 406);

    Fault times(int requests) const;
    Fault after(int requests) const;
    /// Of this method alone.
    Fault on(std::string verb) const;

    /// "delay", "reply", "drop-body", …: the names that the control endpoint uses.
    static const char* kindName(Kind kind);
    /// Throws std::invalid_argument for an unknown name.
    static Kind kindOfName(const std::string& name);
};

} // namespace zorbel::demo

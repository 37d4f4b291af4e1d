#pragma once

#include "demo/HttpServer.h"

#include <string>

namespace zorbel::demo {

class DemoArchive;

/// What the viewer may read of an archive, and nothing else of it: studies, series, instances with their
/// files, and the DICOMweb retrieve of a series.
class ArchiveProxy {
public:
    explicit ArchiveProxy(const DemoArchive& archive) : archive_(archive) {}

    /// The path is what follows the proxy's prefix. Whatever does not belong to the organization is not
    /// found. Throws std::runtime_error when the archive does not answer.
    HttpReply
    get(const std::string& path, const std::string& accept, const std::string& organizationId) const;

private:
    HttpReply relay(const std::string& target, const std::string& accept) const;

    const DemoArchive& archive_;
};

} // namespace zorbel::demo

#include "demo/ArchiveProxy.h"

#include "demo/DemoArchive.h"
#include "demo/RestReplies.h"

#include <regex>

namespace zorbel::demo {

HttpReply ArchiveProxy::get(
    const std::string& path, const std::string& accept, const std::string& organizationId) const {
    static const std::regex resource(
        "(studies|series|instances)/([0-9a-f-]{44})(/instances|/file|/statistics)?");
    static const std::regex dicomWeb("dicom-web/studies/([0-9.]{1,64})/series/([0-9.]{1,64})");
    std::smatch found;
    if (std::regex_match(path, found, dicomWeb)) {
        return archive_.studyWithUid(organizationId, found[1]).empty() ? notFound()
                                                                       : relay("/" + path, accept);
    }
    if (!std::regex_match(path, found, resource)) {
        return notFound();
    }
    const std::string kind = found[1];
    const std::string rest = found[3];
    if ((rest == "/instances" && kind == "instances") || (rest == "/file" && kind != "instances") ||
        (rest == "/statistics" && kind != "series")) {
        return notFound();
    }
    const bool allowed = kind == "studies"  ? archive_.ownsStudy(organizationId, found[2])
                         : kind == "series" ? archive_.ownsSeries(organizationId, found[2])
                                            : archive_.ownsInstance(organizationId, found[2]);
    return allowed ? relay("/" + path, accept) : notFound();
}

HttpReply ArchiveProxy::relay(const std::string& target, const std::string& accept) const {
    std::unique_ptr<LoopbackReply> upstream = archive_.open(target, accept);
    if (upstream->status() == 404) {
        return notFound();
    }
    if (upstream->status() == 400 || upstream->status() == 406) {
        return failure(upstream->status(), "The archive cannot give this form of the data", "NOT_ACCEPTABLE");
    }
    if (upstream->status() < 200 || upstream->status() > 299) {
        return failure(502, "The image archive failed", "ARCHIVE_ERROR");
    }
    HttpReply reply;
    reply.status = upstream->status();
    reply.contentType = upstream->contentType();
    reply.length = upstream->contentLength();
    reply.body = std::make_unique<ArchiveSource>(std::move(upstream));
    return reply;
}

} // namespace zorbel::demo

#include "demo/DemoService.h"

#include "demo/DemoArchive.h"
#include "demo/DemoLocalNode.h"
#include "demo/DicomImport.h"
#include "demo/Gateway.h"
#include "demo/OrthancProcess.h"
#include "demo/PhantomStudies.h"

#include <future>
#include <stdexcept>

namespace zorbel::demo {

namespace fs = std::filesystem;

namespace {

std::future<std::unique_ptr<DemoLocalNode>> beginNode(bool wanted) {
    return std::async(wanted ? std::launch::async : std::launch::deferred, [wanted] {
        return wanted ? std::make_unique<DemoLocalNode>() : nullptr;
    });
}

} // namespace

/// The two archives start side by side.
struct DemoService::Parts {
    explicit Parts(bool withNode) : starting(beginNode(withNode)) {}

    std::future<std::unique_ptr<DemoLocalNode>> starting;
    OrthancProcess orthanc;
    DemoArchive archive{orthanc};
    std::unique_ptr<DemoLocalNode> node = starting.get();
    Gateway gateway{archive, node.get(), readDeskTemplates(deskTemplateFolder())};
};

DemoService::DemoService() = default;

DemoService::DemoService(Options options) : options_(std::move(options)) {}

DemoService::~DemoService() {
    stop();
}

void DemoService::start() {
    if (parts_) {
        return;
    }
    parts_ = std::make_unique<Parts>(options_.localNode);
    try {
        if (parts_->node) {
            parts_->node->start();
        }
        parts_->gateway.start(options_.port);
        importAll();
    } catch (...) {
        stop();
        throw;
    }
}

void DemoService::importAll() {
    if (options_.phantoms) {
        const fs::path phantoms = phantomFolder(options_.cacheFolder, options_.notice);
        uploadFolder(phantoms);
        if (parts_->node) {
            parts_->node->uploadFolder(phantoms / nodeStudyName);
        }
    }
    for (const fs::path& folder : options_.imports) {
        const ImportResult result = uploadFolder(folder);
        if (!options_.notice) {
            continue;
        }
        options_.notice(
            folder.string() + ": " + std::to_string(result.stored + result.alreadyStored) +
            " DICOM files imported, " + std::to_string(result.skipped) + " other files skipped");
        for (const std::string& failure : result.failures) {
            options_.notice("not imported: " + failure);
        }
    }
}

void DemoService::stop() {
    if (parts_) {
        parts_->gateway.stop();
    }
    parts_.reset();
}

std::string DemoService::baseUrl() const {
    return "http://127.0.0.1:" + std::to_string(port());
}

int DemoService::port() const {
    return parts_ ? parts_->gateway.port() : 0;
}

DemoService::ImportResult
DemoService::uploadFolder(const fs::path& folder, const std::string& organizationId) {
    return importDicom(folder, [this, &organizationId](std::string_view file) {
        return parts_->archive.store(file, organizationId);
    });
}

std::string DemoService::tokenFor(const DemoAccount& account) {
    return parts_->gateway.issueToken(account);
}

void DemoService::revokeTokens() {
    parts_->gateway.revokeTokens();
}

void DemoService::revokeTokens(const DemoAccount& account) {
    parts_->gateway.revokeTokens(account.id);
}

int DemoService::setFault(const Fault& fault) {
    return parts_->gateway.faults().add(fault);
}

void DemoService::removeFault(int id) {
    parts_->gateway.faults().remove(id);
}

void DemoService::clearFaults() {
    parts_->gateway.faults().clear();
}

std::vector<RequestRecord> DemoService::requests(const std::string& pathPattern) const {
    return parts_->gateway.requests(pathPattern);
}

std::size_t DemoService::requestCount(const std::string& pathPattern, const std::string& method) const {
    std::size_t count = 0;
    for (const RequestRecord& one : requests(pathPattern)) {
        count += method.empty() || one.method == method ? 1 : 0;
    }
    return count;
}

void DemoService::resetRequests() {
    parts_->gateway.resetRequests();
}

std::vector<AuditRecord> DemoService::auditRecords() const {
    return parts_->gateway.auditRecords();
}

OrthancProcess& DemoService::orthanc() {
    return parts_->orthanc;
}

DemoLocalNode& DemoService::localNode() {
    if (!parts_ || !parts_->node) {
        throw std::logic_error("The demo service runs without a Local Node.");
    }
    return *parts_->node;
}

ReleaseDesk& DemoService::releaseDesk() {
    return parts_->gateway.releaseDesk();
}

WordDesk& DemoService::wordDesk() {
    return parts_->gateway.wordDesk();
}

} // namespace zorbel::demo

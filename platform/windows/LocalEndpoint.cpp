#include "platform/LocalEndpoint.h"

namespace zorbel {

LocalEndpoint::LocalEndpoint(const std::filesystem::path&, const std::string& identifier)
    : name_("zorbel-viewer-" + identifier) {}

LocalEndpoint::~LocalEndpoint() = default;

} // namespace zorbel

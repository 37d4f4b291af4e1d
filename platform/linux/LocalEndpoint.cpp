#include "platform/LocalEndpoint.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace zorbel {

LocalEndpoint::LocalEndpoint(const std::filesystem::path& folder, const std::string& identifier) {
    const int descriptor = open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        throw std::system_error(errno, std::system_category(), "Cannot use " + folder.string());
    folder_ = descriptor;
    // By way of the descriptor, for a socket's address has room for 107 characters, and a home folder's name
    // may be longer.
    name_ = "/proc/self/fd/" + std::to_string(descriptor) + "/" + identifier + ".socket";
}

LocalEndpoint::~LocalEndpoint() {
    close(static_cast<int>(folder_));
}

} // namespace zorbel

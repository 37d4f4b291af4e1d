#include "platform/ExecutablePath.h"

namespace zorbel {

std::filesystem::path executablePath() {
    return std::filesystem::read_symlink("/proc/self/exe");
}

} // namespace zorbel

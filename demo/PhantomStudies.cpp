#include "demo/PhantomStudies.h"
#include <stdexcept>
namespace zorbel::demo {
std::filesystem::path phantomFolder(const std::filesystem::path&, const Notice&) {
    throw std::runtime_error("The phantom studies are not part of this build.");
}
} // namespace zorbel::demo

#include "demo/update/DemoInstallers.h"

#include "demo/ViewerProcess.h"

namespace zorbel::demo {

bool makeDemoInstallers(const std::filesystem::path& folder) {
    const auto script = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "demo-installers" /
                        "demo-installers.py";
    return ViewerProcess({"python3", "-B", script, folder}, {}).wait() == 0;
}

} // namespace zorbel::demo

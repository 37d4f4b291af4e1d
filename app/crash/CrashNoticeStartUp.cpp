#include "app/crash/CrashNoticeStartUp.h"

#include "app/crash/CrashNotice.h"
#include "app/crash/CrashNoticeBar.h"
#include "app/log/Logger.h"

#include <QMainWindow>

#include <exception>
#include <utility>

namespace zorbel {

void noteLastCrash(
    QMainWindow& window, const std::filesystem::path& folder, std::string_view baseName,
    std::function<void(const std::filesystem::path&)> show) {
    constexpr char component[] = "App";
    const CrashNotice notice(folder, baseName);
    const auto dump = notice.due();
    if (!dump)
        return;
    Logger::instance().warn(
        component, "The last session ended in a fault", {{"dump", dump->file.filename().string()}});
    auto* bar = new CrashNoticeBar(&window);
    window.addToolBarBreak(Qt::TopToolBarArea);
    window.addToolBar(Qt::TopToolBarArea, bar);
    QObject::connect(
        bar, &CrashNoticeBar::showRequested, &window,
        [file = dump->file, show = std::move(show)] { show(file); });
    try {
        notice.markTold();
    } catch (const std::exception&) {
        Logger::instance().warn(component, "The note on the last fault will come again");
    }
}

} // namespace zorbel

#pragma once

#include <QString>

#include <functional>

namespace zorbel {
class MainWindow;
}

namespace zorbel::bench {

/// Runs the event loop until the condition is met. Throws std::runtime_error saying what did not come when it
/// takes longer than two minutes.
void waitUntil(const std::function<bool()>& condition, const char* what);

/// When each stage of opening a study was over, in milliseconds after the double-click.
struct OpeningTimes {
    double listed = 0.0;     ///< the study's series are known
    double downloaded = 0.0; ///< the series is here, as files
    double decoded = 0.0;    ///< grouped and decoded into a volume
    double drawn = 0.0;      ///< all three planes are on the screen
    double volume = 0.0;     ///< the 3D view is, too, in full quality
};

/// Double-clicks the row of the study list whose text contains rowText, and returns when everything is drawn.
/// Throws std::runtime_error when it is not listed or does not open.
OpeningTimes openStudy(MainWindow& window, const QString& rowText);

} // namespace zorbel::bench

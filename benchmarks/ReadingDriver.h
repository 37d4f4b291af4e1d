#pragma once

#include <nlohmann/json.hpp>

#include <QObject>
#include <QTimer>

#include <functional>
#include <string>

namespace zorbel {
class MainWindow;
}

namespace zorbel::bench {

/// Sits in the running program, signs in through its dialog, and then hands the main window, its study list
/// filled, to a measurement; when that is done it closes the window, which ends the program. Make it from the
/// application-ready hook of runApplication().
class ReadingDriver : public QObject {
    Q_OBJECT

public:
    using Measurement = std::function<nlohmann::json(MainWindow&)>;

    explicit ReadingDriver(Measurement measurement);

    /// Null until the measurement is done.
    const nlohmann::json& result() const { return result_; }
    /// Why there is no result.
    const std::string& failure() const { return failure_; }

private:
    void poll();
    void signIn();
    void measure(MainWindow& window);
    void giveUp(const std::string& reason);

    Measurement measurement_;
    nlohmann::json result_;
    std::string failure_ = "The program ended before it was measured";
    bool submitted_ = false;
    int polls_ = 0;
    QTimer timer_;
};

} // namespace zorbel::bench

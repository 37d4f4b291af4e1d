#include "TelemetryCollector.h"
#include "app/telemetry/TelemetryEmitter.h"
#include "platform/SystemInfo.h"
#include "tests/support/LogCapture.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

namespace zorbel {
namespace {

using nlohmann::json;
using test::TelemetryCollector;

constexpr std::chrono::seconds patience(600);

class TelemetryEmitterTest : public testing::Test {
protected:
    /// How often this message was logged with this count.
    std::size_t times(const std::string& message, int count) const {
        return log_.count(
            "\"message\":\"" + message + "\",\"meta\":{\"count\":\"" + std::to_string(count) + "\"}");
    }
    static void recordMany(TelemetryEmitter& emitter, int first, int count) {
        for (int i = first; i < first + count; ++i)
            emitter.record("e" + std::to_string(i));
    }
    static std::vector<std::string> namesFrom(int first, int count) {
        std::vector<std::string> names;
        for (int i = first; i < first + count; ++i)
            names.push_back("e" + std::to_string(i));
        return names;
    }

    /// The queues that lie there.
    QStringList files() const {
        return QDir(folder_.path()).entryList({QStringLiteral("*.json")}, QDir::Files);
    }

    int argc_ = 1;
    char name_[5] = "test";
    char* argv_[2] = {name_, nullptr};
    QCoreApplication application_{argc_, argv_};
    TelemetryCollector collector_;
    test::LogCapture log_;
    QTemporaryDir folder_;
    TelemetryEmitter::Options kept_{.folder = folder_.path().toStdString()};
};

TEST_F(TelemetryEmitterTest, stampsEventsAndSendsThemOnFlush) {
    using namespace std::chrono;
    const auto now = [] {
        return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    };
    TelemetryEmitter emitter(collector_.url());
    const auto before = now();
    emitter.record("app.startup", {{"version", "1.0.0"}});
    emitter.record("SESSION_END");
    ASSERT_TRUE(emitter.flush(patience));
    ASSERT_EQ(collector_.batches().size(), 1U);
    EXPECT_TRUE(collector_.requests().front().has("Content-Type: application/json\r\n"));
    const json events = collector_.batches().front().at("events");
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].at("event"), "app.startup");
    EXPECT_EQ(events[0].at("payload"), (json{{"version", "1.0.0"}}));
    EXPECT_EQ(events[1].at("payload"), json::object());
    EXPECT_EQ(events[1].at("studyIdentifier"), "");
    for (const json& event : events) {
        EXPECT_EQ(event.at("source"), "desktop");
        EXPECT_EQ(event.at("platform"), platformName());
        EXPECT_GE(event.at("timestamp").get<std::int64_t>(), before);
        EXPECT_LE(event.at("timestamp").get<std::int64_t>(), now());
    }
    EXPECT_EQ(times("Flushed telemetry batch", 2), 1U);
}

TEST_F(TelemetryEmitterTest, sendsByItselfOnceTwentyAreThere) {
    TelemetryEmitter emitter(collector_.url());
    recordMany(emitter, 0, 19);
    recordMany(emitter, 19, 1);
    collector_.waitForBatch();
    EXPECT_EQ(collector_.names(), namesFrom(0, 20)) << "neither earlier nor in parts";
}

TEST_F(TelemetryEmitterTest, triesFailedBatchesAgainInTheirOrder) {
    TelemetryEmitter emitter(collector_.url());
    collector_.refuse(true);
    recordMany(emitter, 0, 3);
    EXPECT_FALSE(emitter.flush(patience));
    EXPECT_EQ(times("Telemetry flush failed; queued for retry", 3), 1U);
    recordMany(emitter, 3, 1);
    collector_.refuse(false);
    EXPECT_TRUE(emitter.flush(patience));
    EXPECT_EQ(collector_.names(), namesFrom(0, 4));
    EXPECT_TRUE(emitter.flush(patience));
    EXPECT_EQ(collector_.names().size(), 4U) << "sent once";
}

TEST_F(TelemetryEmitterTest, keepsTheNewestThousandOfWhatFailed) {
    TelemetryEmitter emitter(collector_.url());
    collector_.refuse(true);
    for (int first = 0; first < 1010; first += 10) {
        recordMany(emitter, first, 10);
        EXPECT_FALSE(emitter.flush(patience));
    }
    collector_.refuse(false);
    EXPECT_TRUE(emitter.flush(patience));
    EXPECT_EQ(collector_.names(), namesFrom(10, 1000));
    for (const json& batch : collector_.batches())
        EXPECT_EQ(batch.at("events").size(), 20U);
}

TEST_F(TelemetryEmitterTest, aHangingServerHoldsUpNobody) {
    collector_.hold();
    TelemetryEmitter emitter(collector_.url());
    recordMany(emitter, 0, 20);
    // Each returns although the first request hangs.
    recordMany(emitter, 20, 5);
    EXPECT_FALSE(emitter.flush(std::chrono::milliseconds(50)));
    emitter.shutDown(std::chrono::milliseconds(50));
    emitter.record("late");
    collector_.release();
}

TEST_F(TelemetryEmitterTest, keepsWhatWasNotSentForTheNextSessionOfOneProgram) {
    collector_.refuse(true);
    {
        // Two programs at once, and one that ends while the others start.
        TelemetryEmitter first(collector_.url(), kept_);
        recordMany(first, 0, 3);
        EXPECT_FALSE(first.flush(patience));
        TelemetryEmitter second(collector_.url(), kept_);
        EXPECT_TRUE(second.flush(patience)) << "what the other one keeps is not this one's";
        recordMany(first, 3, 1);
        first.shutDown(patience);
        recordMany(second, 4, 2);
    }
    collector_.refuse(false);
    TelemetryEmitter next(collector_.url(), kept_);
    TelemetryEmitter another(collector_.url(), kept_);
    EXPECT_TRUE(next.flush(patience) && another.flush(patience));
    std::vector<std::string> names = collector_.names();
    std::sort(names.begin(), names.end()); // which of two programs comes first is no matter
    EXPECT_EQ(names, namesFrom(0, 6));
    ASSERT_EQ(next.recentEvents().size() + another.recentEvents().size(), 6U);
    for (const auto& event : next.recentEvents())
        EXPECT_TRUE(event.sent && event.json.find("\"event\":\"e") != std::string::npos) << event.json;
    EXPECT_TRUE(files().isEmpty());
}

TEST_F(TelemetryEmitterTest, aDamagedQueueIsAnEmptyOne) {
    for (const char* damaged : {"", "{", "[]", R"({"events":{"a":1}})", R"({"events":[{"event":7}]})"}) {
        QFile file(folder_.filePath(QStringLiteral("telemetry-queue-0123456789abcdef.json")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(damaged);
        file.close();
        TelemetryEmitter emitter(collector_.url(), kept_);
        emitter.record("good");
        EXPECT_TRUE(emitter.flush(patience)) << damaged;
        EXPECT_EQ(collector_.names().back(), "good");
        EXPECT_EQ(emitter.recentEvents().size(), 1U) << damaged;
    }
    EXPECT_EQ(log_.count("The telemetry queue is damaged"), 5U);
    EXPECT_TRUE(files().isEmpty());
}

TEST_F(TelemetryEmitterTest, switchedOffItDropsAllAndRecordsNothing) {
    bool remembered = true;
    kept_.remember = [&remembered](bool enabled) { remembered = enabled; };
    collector_.refuse(true);
    TelemetryEmitter emitter(collector_.url(), kept_);
    recordMany(emitter, 0, 2);
    EXPECT_FALSE(emitter.flush(patience));
    EXPECT_FALSE(files().isEmpty());
    recordMany(emitter, 2, 1);
    emitter.setEnabled(false);
    EXPECT_FALSE(remembered);
    EXPECT_TRUE(files().isEmpty());
    emitter.record("off");
    collector_.refuse(false);
    emitter.setEnabled(true);
    EXPECT_TRUE(emitter.isEnabled() && remembered);
    emitter.record("on");
    EXPECT_TRUE(emitter.flush(patience));
    EXPECT_EQ(collector_.names(), std::vector<std::string>{"on"});
}

TEST_F(TelemetryEmitterTest, isOffWithoutAnAllowedAddress) {
    qunsetenv("ZORBEL_TELEMETRY_URL");
    TelemetryEmitter off(TelemetryEmitter::endpointFromEnvironment());
    EXPECT_FALSE(off.isConfigured() || off.isEnabled());
    off.record("dropped");
    EXPECT_TRUE(off.flush(patience));
    off.shutDown();

    for (const char* bad : {"http://telemetry.zorbel.example", "ftp://localhost", "localhost:8080"})
        EXPECT_FALSE(TelemetryEmitter::isAllowed(QUrl(QString::fromLatin1(bad)))) << bad;
}

} // namespace
} // namespace zorbel

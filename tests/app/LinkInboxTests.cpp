#include "app/LinkInbox.h"
#include "platform/ProgramClaims.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QLocalSocket>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <thread>

namespace zorbel {
namespace {

namespace fs = std::filesystem;

class LinkInboxTest : public testing::Test {
protected:
    std::unique_ptr<LinkInbox> openInbox() {
        auto inbox = std::make_unique<LinkInbox>(config_);
        QObject::connect(inbox.get(), &LinkInbox::linkArrived, [this](const LinkRequest& link) {
            arrived_ += link.studyInstanceUID;
        });
        QThread::msleep(20); // file times tell the newest
        return inbox;
    }
    /// While the inboxes' event loop runs, as in programs of their own.
    static bool beside(const std::function<bool()>& work) {
        std::atomic<bool> done = false;
        bool result = false;
        std::thread other([&] {
            result = work();
            done = true;
        });
        while (!done)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        other.join();
        QCoreApplication::processEvents();
        return result;
    }
    bool handOver(const char* uid, const char* apiBase = "") const {
        const LinkRequest link{QString::fromLatin1(uid), QString::fromLatin1(apiBase)};
        return beside([&] { return handOverLink(config_, link, std::chrono::seconds(60)); });
    }
    /// What the newest inbox answers to these bytes before it hangs up, or before it waits for more.
    QByteArray answerTo(const QByteArray& bytes) const {
        QByteArray answer;
        beside([&] {
            const LocalEndpoint endpoint(
                config_, "links-" + ProgramClaims(config_ / "links-").find().living.at(0));
            QLocalSocket socket;
            socket.connectToServer(QString::fromStdString(endpoint.name()));
            socket.waitForConnected();
            socket.write(bytes);
            socket.waitForReadyRead(60'000);
            answer = socket.readAll();
            return true;
        });
        return answer;
    }
    int argc_ = 1;
    char name_[5] = "test";
    char* argv_[2] = {name_, nullptr};
    QCoreApplication application_{argc_, argv_};
    QTemporaryDir folder_;
    /// Longer than a socket's address may be.
    const fs::path config_ = fs::path(folder_.path().toStdString()) / std::string(120, 'c');
    QStringList arrived_;
};

TEST_F(LinkInboxTest, theNewestLivingProgramGetsTheLink) {
    EXPECT_FALSE(handOver("1.2")) << "nobody runs";
    auto older = openInbox();
    auto newer = openInbox();
    QObject::connect(newer.get(), &LinkInbox::linkArrived, [this](const LinkRequest& link) {
        arrived_ += QStringLiteral("newer ") + link.apiBase;
    });
    EXPECT_TRUE(handOver("1.2", "http://localhost:8080"));
    EXPECT_EQ(arrived_, (QStringList{QStringLiteral("1.2"), QStringLiteral("newer http://localhost:8080")}));
    newer.reset();
    {
        const auto dead = ProgramClaims(config_ / "links-").take();
        std::ofstream(config_ / ("links-" + dead.second + ".socket")) << "left";
    }
    EXPECT_TRUE(handOver("1.3"));
    EXPECT_EQ(arrived_.last(), QStringLiteral("1.3"));
    older.reset();
    openInbox();
    EXPECT_TRUE(fs::is_empty(config_)) << "what the dead one left is gone as well";
}

TEST_F(LinkInboxTest, whoDoesNotAnswerInTimeDoesNotOpenTheLinkLater) {
    const auto inbox = openInbox();
    bool handedOver = true;
    std::thread([&] {
        handedOver = handOverLink(config_, {QStringLiteral("1.2"), {}}, std::chrono::milliseconds(100));
    }).join(); // no event is processed meanwhile
    EXPECT_FALSE(handedOver);
    EXPECT_TRUE(handOver("1.3"));
    EXPECT_EQ(arrived_, QStringList{QStringLiteral("1.3")});
}

TEST_F(LinkInboxTest, whatIsNoLinkIsRefused) {
    const auto inbox = openInbox();
    const QByteArray link = "zorbel-viewer://report?studyInstanceUID=1.2";
    for (const QByteArray& bytes :
         {QByteArray("open\n"), QByteArray("\n"), QByteArray("\xff\n", 2), QByteArray(1 << 20, '1'),
          link + "&apiBase=https://evil.example\n", link + QByteArray(1024, ' ') + "\n",
          QByteArray("GET / HTTP/1.1\r\n\r\nopen\n")})
        EXPECT_EQ(answerTo(bytes), "") << bytes.left(80).toStdString();
    EXPECT_EQ(answerTo(link + "\nclose\n"), "ready\n");
    EXPECT_TRUE(arrived_.isEmpty());
    EXPECT_TRUE(handOver("1.3"));
}

} // namespace
} // namespace zorbel

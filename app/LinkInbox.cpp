#include "app/LinkInbox.h"

#include "app/log/Logger.h"
#include "platform/Foreground.h"
#include "platform/PrivateFile.h"
#include "platform/ProgramClaims.h"

#include <QDeadlineTimer>
#include <QLocalSocket>
#include <QTimer>

#include <exception>
#include <stdexcept>
#include <string>

namespace zorbel {

namespace {

// The sender writes the link, the inbox answers that it can, and only when the sender has not given up by
// then and says so, the link is opened: it never opens in both programs. Each is one line.
constexpr char answerReady[] = "ready\n";
constexpr char requestOpen[] = "open\n";

constexpr qint64 longestLine = 1024;
constexpr qsizetype mostConnections = 8;
constexpr std::chrono::seconds connectionPatience(30);

constexpr char claimPrefix[] = "links-";

ProgramClaims claimsIn(const std::filesystem::path& configFolder) {
    return ProgramClaims(configFolder / claimPrefix);
}

std::string endpointIdentifier(const std::string& digits) {
    return claimPrefix + digits;
}

QString nameOf(const LocalEndpoint& endpoint) {
    return QString::fromStdString(endpoint.name());
}

void removeLeftovers(const std::filesystem::path& configFolder) {
    const auto claims = claimsIn(configFolder);
    for (const auto& dead : claims.find().dead) {
        QLocalServer::removeServer(nameOf(LocalEndpoint(configFolder, endpointIdentifier(dead))));
        claims.removeDead(dead);
    }
}

bool send(QLocalSocket& socket, const QByteArray& line, const QDeadlineTimer& deadline) {
    socket.write(line);
    while (socket.bytesToWrite() > 0)
        if (!socket.flush() && !socket.waitForBytesWritten(static_cast<int>(deadline.remainingTime())))
            return false;
    return true;
}

bool answersReady(QLocalSocket& socket, const QDeadlineTimer& deadline) {
    while (!socket.canReadLine())
        if (!socket.waitForReadyRead(static_cast<int>(deadline.remainingTime())))
            return false;
    return socket.readLine(longestLine) == answerReady;
}

bool handOver(const QString& name, const QByteArray& link, const QDeadlineTimer& deadline) {
    QLocalSocket socket;
    socket.connectToServer(name);
    if (!socket.waitForConnected(static_cast<int>(deadline.remainingTime())) ||
        !send(socket, link, deadline) || !answersReady(socket, deadline))
        return false;
    yieldForeground();
    if (!send(socket, requestOpen, deadline))
        return false;
    // What was sent arrives, however long that takes; waiting only keeps the foreground for the other.
    if (socket.state() == QLocalSocket::ConnectedState)
        socket.waitForDisconnected(static_cast<int>(deadline.remainingTime()));
    return true;
}

} // namespace

LinkInbox::LinkInbox(const std::filesystem::path& configFolder, QObject* parent) : QObject(parent) {
    try {
        open(configFolder);
    } catch (const std::exception& error) {
        server_.reset();
        Logger::instance().warn("App", "Links cannot be taken from other starts", {{"reason", error.what()}});
    }
}

LinkInbox::~LinkInbox() {
    server_.reset();
    if (claim_)
        claim_->removeFile();
}

void LinkInbox::open(const std::filesystem::path& configFolder) {
    createPrivateFolder(configFolder);
    removeLeftovers(configFolder);
    auto [claim, digits] = claimsIn(configFolder).take();
    claim_ = std::move(claim);
    endpoint_ = std::make_unique<LocalEndpoint>(configFolder, endpointIdentifier(digits));
    server_ = std::make_unique<QLocalServer>();
    server_->setSocketOptions(QLocalServer::UserAccessOption);
    connect(server_.get(), &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = server_->nextPendingConnection())
            takeConnection(*socket);
    });
    if (!server_->listen(nameOf(*endpoint_)))
        throw std::runtime_error(server_->errorString().toStdString());
}

void LinkInbox::takeConnection(QLocalSocket& socket) {
    connect(&socket, &QLocalSocket::disconnected, &socket, &QObject::deleteLater);
    if (server_->findChildren<QLocalSocket*>().size() > mostConnections) {
        socket.abort();
        return;
    }
    socket.setReadBufferSize(longestLine);
    QTimer::singleShot(connectionPatience, &socket, &QLocalSocket::abort);
    const auto link = std::make_shared<std::optional<LinkRequest>>();
    const auto readAll = [this, &socket, link] { read(socket, *link); };
    connect(&socket, &QLocalSocket::readyRead, this, readAll);
    readAll(); // what came before this was connected
}

void LinkInbox::read(QLocalSocket& socket, std::optional<LinkRequest>& link) {
    while (socket.canReadLine()) {
        const QByteArray line = socket.readLine();
        if (link) {
            socket.disconnectFromServer();
            if (line == requestOpen)
                Q_EMIT linkArrived(*link);
            return;
        }
        link = LinkRequest::parse({QString::fromUtf8(line).trimmed()});
        if (!link) {
            socket.abort();
            return;
        }
        socket.write(answerReady);
    }
    if (socket.bytesAvailable() >= longestLine)
        socket.abort();
}

bool handOverLink(
    const std::filesystem::path& configFolder, const LinkRequest& link, std::chrono::milliseconds patience) {
    const QDeadlineTimer deadline(patience);
    const QByteArray line = link.url().toUtf8() + '\n';
    if (line.size() > longestLine)
        return false;
    try {
        for (const auto& digits : claimsIn(configFolder).find().living)
            if (handOver(nameOf(LocalEndpoint(configFolder, endpointIdentifier(digits))), line, deadline))
                return true;
    } catch (const std::exception&) {
        // no folder yet, and so no other program
    }
    return false;
}

} // namespace zorbel

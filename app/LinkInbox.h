#pragma once

#include "app/LinkRequest.h"
#include "platform/FileLock.h"
#include "platform/LocalEndpoint.h"

#include <QLocalServer>
#include <QObject>

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>

class QLocalSocket;

namespace zorbel {

/// Where the links arrive that the system starts the program anew with while it runs already. Any of the
/// user's programs may have an inbox; they find each other in the configuration folder, so that two folders'
/// programs never meet, and nobody but the user can reach them. What arrives is a link and nothing else, and
/// is held against the same rules as one on the command line. Lives on the user-interface thread.
class LinkInbox : public QObject {
    Q_OBJECT

public:
    /// Where the system refuses, which is logged, there is no inbox, and a link opens in a program of its
    /// own.
    explicit LinkInbox(const std::filesystem::path& configFolder, QObject* parent = nullptr);
    /// Takes no more; a link that was not answered yet opens in the program that wants to hand it over.
    ~LinkInbox() override;

Q_SIGNALS:
    void linkArrived(const zorbel::LinkRequest& link);

private:
    void open(const std::filesystem::path& configFolder);
    void takeConnection(QLocalSocket& socket);
    void read(QLocalSocket& socket, std::optional<LinkRequest>& link);

    std::optional<FileLock> claim_;
    std::unique_ptr<LocalEndpoint> endpoint_; ///< outlives the server, which removes its socket by that name
    std::unique_ptr<QLocalServer> server_;
};

/// Hands the link to the user's newest program that takes it, which then opens it; false when none does
/// within the patience, and none will. Blocks.
bool handOverLink(
    const std::filesystem::path& configFolder, const LinkRequest& link,
    std::chrono::milliseconds patience = std::chrono::seconds(10));

} // namespace zorbel

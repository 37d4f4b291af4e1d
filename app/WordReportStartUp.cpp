#include "app/WordReportStartUp.h"

#include "api/ZorbelApiClient.h"
#include "app/log/Logger.h"
#include "cache/storage/StorageScope.h"
#include "signin/LoginDialog.h"

#include <QMessageBox>

#include <exception>
#include <utility>

namespace zorbel {

namespace {

/// Somebody else's session would put the report under another name.
void refuseOther(ZorbelApiClient& client, const UserProfile& profile, QWidget* parent) {
    client.signOut();
    auto* box = new QMessageBox(
        QMessageBox::NoIcon, QStringLiteral("Report in Word"),
        QStringLiteral("The Word report belongs to %1. Sign in with that account to sync it.")
            .arg(profile.email),
        QMessageBox::Ok, parent);
    box->setTextFormat(Qt::PlainText);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}

} // namespace

WordReportOptions wordReportOptions(
    const std::shared_ptr<ZorbelApiClient>& client, const UserProfile& profile,
    const std::filesystem::path& configFolder, std::uint32_t retentionDays) {
    WordReportOptions options;
    options.keepSynced = std::chrono::days(retentionDays);
    try {
        const auto scope = StorageScope::of(profile.organizationId.toStdString(), profile.id.toStdString());
        options.root = configFolder / "word" / scope.identifier();
    } catch (const std::exception& error) {
        Logger::instance().warn("WordReport", "Word reports are unavailable", {{"reason", error.what()}});
    }
    options.signInAgain = [client, profile](QWidget* parent, std::function<void(bool)> answer) {
        auto* dialog = new LoginDialog(client, parent);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        QObject::connect(
            dialog, &QDialog::finished, parent,
            [client, profile, parent, answer = std::move(answer)](int result) {
                const bool same = result == QDialog::Accepted && client->profile().id == profile.id;
                if (result == QDialog::Accepted && !same)
                    refuseOther(*client, profile, parent);
                answer(same);
            });
        dialog->open();
    };
    return options;
}

} // namespace zorbel

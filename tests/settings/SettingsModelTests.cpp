#include "SettingsFixture.h"
#include "tests/support/Waiting.h"

#include <QSignalSpy>

#include <fstream>

namespace zorbel {
namespace {

class SettingsModelTest : public test::SettingsFixture {
protected:
    SettingsModelTest() {
        QObject::connect(model_.get(), &SettingsModel::nodeListStatusChanged, [this](const auto& status) {
            list_ = status;
        });
        QObject::connect(
            model_.get(), &SettingsModel::nodeStatusChanged, [this](const auto& status) { node_ = status; });
        QObject::connect(model_.get(), &SettingsModel::sessionStatusChanged, [this](const auto& status) {
            session_ = status;
        });
        QObject::connect(
            model_.get(), &SettingsModel::saved, [this](const auto& warnings) { warnings_ = warnings; });
    }
    SettingsStatus listed() {
        model_->refreshNodes();
        EXPECT_EQ(list_.text, QStringLiteral("Loading organization nodes..."));
        EXPECT_TRUE(test::waitFor([this] { return !list_.text.endsWith(QStringLiteral("...")); }));
        return list_;
    }
    SettingsStatus connected(const SettingsChoice& choice) {
        model_->connectNode(choice);
        EXPECT_EQ(node_.text, QStringLiteral("Connecting securely..."));
        EXPECT_TRUE(test::waitFor([this] { return node_.tone != StatusTone::Progress; }));
        return node_;
    }
    std::vector<SettingsWarning> saved(const SettingsChoice& choice) {
        warnings_.reset();
        model_->save(choice);
        EXPECT_TRUE(test::waitFor([this] { return warnings_.has_value(); }));
        return warnings_.value_or(std::vector<SettingsWarning>());
    }
    SettingsChoice chosen(SourceKind kind = SourceKind::LocalNodeRequired) const {
        return {{kind, QStringLiteral("n1")}, QStringLiteral("http://10.0.0.5"), used_, true};
    }

    std::unique_ptr<SettingsModel> model_ = std::make_unique<SettingsModel>(client_, store_, storage_);
    SettingsStatus list_, node_, session_;
    std::optional<std::vector<SettingsWarning>> warnings_;
};

TEST_F(SettingsModelTest, tellsHowSessionAndNodesStand) {
    EXPECT_EQ(model_->sessionStatus().text, QStringLiteral("Session active"));
    model_->verify();
    EXPECT_EQ(session_.text, QStringLiteral("Verifying…"));
    EXPECT_TRUE(test::waitFor([this] { return session_.text == QStringLiteral("Connected securely"); }));
    expired_ = true;
    QSignalSpy ended(model_.get(), &SettingsModel::sessionEnded);
    model_->verify();
    EXPECT_TRUE(test::waitFor([this] { return session_.tone == StatusTone::Failure; }));
    EXPECT_EQ(session_.text, QStringLiteral("Connection verification failed"));
    EXPECT_EQ(ended.count(), 1);
    EXPECT_EQ(model_->sessionStatus().text, QStringLiteral("Session ended"));

    EXPECT_EQ(listed().text, QString());
    EXPECT_EQ(model_->addressOf(QStringLiteral("n1")), QStringLiteral("http://10.0.0.5"));
    nodes_ = R"({"nodes":[]})";
    EXPECT_EQ(listed().text, QStringLiteral("No Local Node is registered for this organization"));
    nodes_ = "no JSON";
    EXPECT_EQ(listed().text, QStringLiteral("Could not load organization nodes"));

    EXPECT_EQ(connected(chosen()).text, QStringLiteral("Connected to Zorbel Local Node"));
    EXPECT_EQ(client_->selectedLocalNode(), QString()) << "trying a node chooses none";
    foreign_ = true;
    EXPECT_EQ(
        connected(chosen()), (SettingsStatus{
                                 QStringLiteral("Local Node connection failed"), StatusTone::Failure,
                                 QStringLiteral("Local Node belongs to a different Zorbel organization")}));
    EXPECT_EQ(
        SettingsModel::sourceStatus({SourceKind::CloudOnly, {}}).text,
        QStringLiteral("Cloud connection selected"));
}

TEST_F(SettingsModelTest, whatIsSavedHoldsAtOnceAndAtTheNextStart) {
    SettingsChoice choice = chosen();
    choice.cache = {used_.cacheDir, 0, 100};
    EXPECT_TRUE(saved(choice).empty());
    EXPECT_EQ(client_->sourceKind(), SourceKind::LocalNodeRequired);
    EXPECT_EQ(client_->selectedLocalNode(), QStringLiteral("n1"));
    ASSERT_EQ(storage_.changes.size(), 1U);
    EXPECT_EQ(storage_.changes[0].policy().quotaBytes, 107'374'182'400U);
    const SettingsStore next(file_);
    EXPECT_EQ(ViewerCacheSettings::read(next), choice.cache);
    EXPECT_EQ(SourceSettings::read(next, QStringLiteral("o1")), choice.source);
    storage_.failure = QStringLiteral("disk full");
    const auto warnings = saved(choice);
    ASSERT_EQ(warnings.size(), 1U);
    EXPECT_EQ(warnings[0].title, QStringLiteral("Viewer cache"));
    EXPECT_TRUE(warnings[0].text.endsWith(QStringLiteral("immediately.\n\ndisk full")));
}

TEST_F(SettingsModelTest, anAdministratorsAddressReachesTheService) {
    listed();
    SettingsChoice choice = chosen();
    EXPECT_TRUE(saved(choice).empty());
    EXPECT_EQ(lastBodyFor("desktop/local-nodes"), "") << "nothing was changed";
    choice.nodeAddress = QStringLiteral("http://10.0.0.9");
    EXPECT_TRUE(saved(choice).empty());
    EXPECT_EQ(lastBodyFor("desktop/local-nodes"), R"({"baseUrl":"http://10.0.0.9","clinicId":"n1"})");
    addressRefused_ = true;
    auto warnings = saved(choice);
    ASSERT_EQ(warnings.size(), 1U);
    EXPECT_EQ(warnings[0].title, QStringLiteral("Local Node settings"));
    EXPECT_TRUE(warnings[0].text.startsWith(QStringLiteral(
        "The viewer preference was saved, but the Local Node address could not be updated.\n\n")));
    const auto before = server_.requests().size();
    for (const char* wrong : {"", "10.0.0.9", "ftp://10.0.0.9", "http://"}) {
        choice.nodeAddress = QString::fromLatin1(wrong);
        EXPECT_EQ(saved(choice).size(), 1U) << wrong;
    }
    EXPECT_EQ(server_.requests().size(), before) << "the service was not asked";
}

TEST_F(SettingsModelTest, saysWhatBecomesOfAFolderThatIsLeft) {
    EXPECT_EQ(model_->folderNotice(used_, true), QString());
    ViewerCacheSettings other = used_;
    other.cacheDir /= "other";
    EXPECT_TRUE(model_->folderNotice(other, true).contains(QStringLiteral("removed when the viewer closes")));
    EXPECT_TRUE(model_->folderNotice(other, false).contains(QStringLiteral("stay there")));
    other.retentionDays = 0;
    EXPECT_TRUE(
        model_->folderNotice(other, false).contains(QStringLiteral("removed when the viewer closes")));
}

TEST_F(SettingsModelTest, measuresAndClears) {
    QSignalSpy usage(model_.get(), &SettingsModel::usageChanged);
    const auto measured = [&] {
        usage.clear();
        model_->measureUsage();
        EXPECT_TRUE(test::waitFor(usage));
        return usage.value(0).value(0).toString();
    };
    const auto study = storage_.used->studyDirectory("1.2");
    std::filesystem::create_directories(study);
    std::ofstream(study / "chunk") << std::string(2'500'000, 'x');
    EXPECT_EQ(measured(), QStringLiteral("1 studies • 2 MB"));
    std::filesystem::remove_all(storage_.used->scopeDirectory());
    std::ofstream(storage_.used->scopeDirectory()) << "in the way";
    EXPECT_TRUE(measured().startsWith(QStringLiteral("Unavailable: ")));
    QSignalSpy cleared(model_.get(), &SettingsModel::cacheCleared);
    storage_.failure = QStringLiteral("in use");
    model_->clearCache();
    EXPECT_EQ(
        cleared.value(0).value(0).toString(), QStringLiteral("The cache could not be cleared.\n\nin use"));
}

TEST_F(SettingsModelTest, itsEndEndsWhatTalksToTheService) {
    listed();
    hanging_ = true;
    model_->refreshNodes();
    model_->connectNode(chosen());
    SettingsChoice choice = chosen();
    choice.nodeAddress = QStringLiteral("http://10.0.0.9");
    model_->save(choice);
    ASSERT_TRUE(server_.waitForConcurrency(3));
    model_.reset();
    EXPECT_EQ(storage_.changes.size(), 1U) << "the storage does not wait for the service";
    EXPECT_EQ(client_->sourceKind(), SourceKind::LocalNodeRequired);
}

} // namespace
} // namespace zorbel

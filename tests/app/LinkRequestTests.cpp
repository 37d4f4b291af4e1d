#include "app/ApiBaseRule.h"
#include "app/LinkRequest.h"

#include <QUrl>

#include <gtest/gtest.h>

namespace zorbel {
namespace {

QString link(const QString& query) {
    return QStringLiteral("zorbel-viewer://report?") + query;
}

QString uidOf(const QStringList& arguments) {
    const auto request = LinkRequest::parse(arguments);
    return request ? request->studyInstanceUID : QStringLiteral("none");
}

TEST(LinkRequest, takesTheFirstValidLinkWhateverItsCase) {
    EXPECT_EQ(
        uidOf({QStringLiteral("zorbel-viewer://report?studyInstanceUID=1.2.3")}), QStringLiteral("1.2.3"));
    EXPECT_EQ(
        uidOf({QStringLiteral("ZORBEL-VIEWER://REPORT?studyInstanceUID=1.2.3")}), QStringLiteral("1.2.3"));
    EXPECT_EQ(
        uidOf(
            {QStringLiteral("/usr/bin/viewer"), link(QStringLiteral("studyInstanceUID=x")),
             link(QStringLiteral("studyInstanceUID=%201.2%20")),
             link(QStringLiteral("studyInstanceUID=3.4"))}),
        QStringLiteral("1.2"));
    EXPECT_EQ(uidOf({}), QStringLiteral("none"));
}

TEST(LinkRequest, passesOverUidsThatAreNone) {
    const QString longest = QStringLiteral("1.") + QString(62, QLatin1Char('2'));
    EXPECT_EQ(uidOf({link(QStringLiteral("studyInstanceUID=") + longest)}), longest);
    for (const QString& uid :
         {longest + QLatin1Char('2'), QStringLiteral("1.2a"), QStringLiteral("1..2"), QStringLiteral("1.2."),
          QStringLiteral(".1"), QString(), QStringLiteral("1.2%0A3"), QStringLiteral("-1")})
        EXPECT_EQ(uidOf({link(QStringLiteral("studyInstanceUID=") + uid)}), QStringLiteral("none"))
            << uid.toStdString();
    EXPECT_EQ(uidOf({QStringLiteral("zorbel-viewer://other?studyInstanceUID=1.2")}), QStringLiteral("none"));
    EXPECT_EQ(uidOf({QStringLiteral("https://report?studyInstanceUID=1.2")}), QStringLiteral("none"));
}

TEST(LinkRequest, isIgnoredWholeWhenItNamesAForeignService) {
    const auto withBase = [](const char* base) {
        return LinkRequest::parse({link(
            QStringLiteral("studyInstanceUID=1.2&apiBase=") +
            QString::fromLatin1(QUrl::toPercentEncoding(QString::fromLatin1(base))))});
    };
    EXPECT_FALSE(withBase("https://evil.example"));
    EXPECT_FALSE(withBase("http://app.zorbel.example"));
    const auto own = withBase("https://eu.zorbel.example/path");
    ASSERT_TRUE(own);
    EXPECT_EQ(own->apiBase, QStringLiteral("https://eu.zorbel.example"));
}

TEST(LinkRequest, isHandedOnAsALinkAndOpensAtItsServiceAlone) {
    for (const char* base :
         {"", "http://localhost:8080", "https://[::1]:8443", "https://app.zorbel.example"}) {
        const LinkRequest link{QStringLiteral("1.2.3"), QString::fromLatin1(base)};
        const auto again = LinkRequest::parse({link.url()});
        ASSERT_TRUE(again) << link.url().toStdString();
        EXPECT_EQ(again->studyInstanceUID, link.studyInstanceUID);
        EXPECT_EQ(again->apiBase, link.apiBase);
        EXPECT_TRUE(link.isFor(link.apiBase));
        EXPECT_EQ(link.isFor(QStringLiteral("https://eu.zorbel.example")), link.apiBase.isEmpty());
    }
    const LinkRequest link{QStringLiteral("1"), QStringLiteral("https://zorbel.example:443")};
    EXPECT_TRUE(link.isFor(QStringLiteral("https://zorbel.example/service")));
    EXPECT_FALSE(link.isFor(QStringLiteral("https://zorbel.example:8443")));
}

TEST(ApiBaseRule, keepsSchemeHostAndPortOfAllowedHosts) {
    const auto check = [](const char* input, const char* expected) {
        const auto result = normalizeApiBase(QString::fromLatin1(input));
        ASSERT_TRUE(result) << input;
        EXPECT_EQ(*result, QString::fromLatin1(expected)) << input;
    };
    check("http://localhost:8080/x/?q#f", "http://localhost:8080");
    check("  HTTP://LocalHost///  ", "http://localhost");
    check("http://127.0.0.1:1/", "http://127.0.0.1:1");
    check("https://[::1]:8443/api", "https://[::1]:8443");
    check("https://zorbel.example", "https://zorbel.example");
    check("https://A.Zorbel.Example/", "https://a.zorbel.example");
    check("   ", "");
}

TEST(ApiBaseRule, refusesEverythingElse) {
    for (const char* input :
         {"http://zorbel.example", "https://notzorbel.example", "https://zorbel.example.evil.example",
          "https://zorbel.example@evil.example", "ftp://localhost", "localhost:8080", "https://",
          "http://127.0.0.2", "http://localhost.evil.example", "//localhost",
          "https://evil.example/#.zorbel.example"})
        EXPECT_FALSE(normalizeApiBase(QString::fromLatin1(input))) << input;
}

} // namespace
} // namespace zorbel

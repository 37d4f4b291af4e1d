#include "viewer/studies/StudyRows.h"

#include <gtest/gtest.h>

namespace zorbel {
namespace {

ViewerStudySummary
study(const QString& name, const QString& date, const QString& modality = QStringLiteral("CT")) {
    ViewerStudySummary summary;
    summary.patientName = name;
    summary.studyDate = date;
    summary.modality = modality;
    summary.studyInstanceUID = QStringLiteral("1.2.") + QString::number(qHash(name) % 1000);
    return summary;
}

TEST(StudyRows, showsDatesOfBothForms) {
    EXPECT_EQ(StudyRows::displayDate(QStringLiteral("20240131")), QStringLiteral("31 Jan 2024"));
    EXPECT_EQ(StudyRows::displayDate(QStringLiteral("2024-05-01T23:59:59Z")), QStringLiteral("01 May 2024"));
    EXPECT_EQ(StudyRows::displayDate(QStringLiteral("2024-05-01")), QStringLiteral("01 May 2024"));
    EXPECT_EQ(StudyRows::displayDate(QString()), QStringLiteral("Date unavailable"));
    EXPECT_EQ(StudyRows::displayDate(QStringLiteral("  ")), QStringLiteral("Date unavailable"));
    EXPECT_EQ(StudyRows::displayDate(QStringLiteral("20241341")), QStringLiteral("20241341"));
}

TEST(StudyRows, putsTheNewestFirstAndTheUndatedLast) {
    std::vector<ViewerStudySummary> studies{
        study(QStringLiteral("undated"), QString()), study(QStringLiteral("old"), QStringLiteral("20200101")),
        study(QStringLiteral("new"), QStringLiteral("2024-05-01T10:00:00")),
        study(QStringLiteral("odd"), QStringLiteral("??")),
        study(QStringLiteral("old too"), QStringLiteral("20200101"))};
    StudyRows::sortNewestFirst(studies);
    QStringList order;
    for (const auto& row : studies)
        order += row.patientName;
    EXPECT_EQ(
        order, (QStringList{
                   QStringLiteral("new"), QStringLiteral("old"), QStringLiteral("old too"),
                   QStringLiteral("undated"), QStringLiteral("odd")}));
}

TEST(StudyRows, findsEveryWordAnywhereInTheRow) {
    auto row = study(QStringLiteral("Müller Anna"), QStringLiteral("20240131"), QStringLiteral("CT"));
    row.studyDescription = QStringLiteral("CBCT lower jaw");
    const auto matches = [&row](const char* search, const char* type = "") {
        return StudyRows::matches(row, QString::fromUtf8(search), QString::fromUtf8(type));
    };
    EXPECT_TRUE(matches(""));
    EXPECT_TRUE(matches("anna müll"));
    EXPECT_TRUE(matches("jan 2024 jaw"));
    EXPECT_TRUE(matches("20240131"));
    EXPECT_FALSE(matches("anna upper"));
    EXPECT_TRUE(matches("anna", "CBCT"));
    EXPECT_FALSE(matches("anna", "Panoramic"));
}

} // namespace
} // namespace zorbel

#pragma once

#include <QCoreApplication>
#include <QDir>
#include <QImage>
#include <QString>
#include <QWidget>

#include <gtest/gtest.h>

namespace zorbel::imaging::test {

/// Keeps what a test saw, for whoever looks into a failure: "test-pictures" beside the programs' folder.
inline void savePicture(const QImage& picture, const QString& name) {
    QDir folder(QCoreApplication::applicationDirPath());
    folder.cdUp();
    if (folder.mkpath(QStringLiteral("test-pictures/rendering")))
        picture.save(folder.filePath(QStringLiteral("test-pictures/rendering/%1.png").arg(name)));
}

inline QString currentTestName() {
    const auto* info = testing::UnitTest::GetInstance()->current_test_info();
    return QStringLiteral("%1.%2")
        .arg(QString::fromLatin1(info->test_suite_name()), QString::fromLatin1(info->name()))
        .replace(u'/', u'-');
}

} // namespace zorbel::imaging::test

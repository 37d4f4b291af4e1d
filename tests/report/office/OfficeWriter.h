#pragma once

#include "tests/support/Waiting.h"

#include <QProcess>
#include <QString>

#include <gtest/gtest.h>

namespace zorbel::test {

/// LibreOffice Writer, told by writer.py what to do. Waits for each answer with the event loop running.
class OfficeWriter {
public:
    OfficeWriter() { process_.start(QStringLiteral(ZORBEL_OFFICE_WRITER), QStringList()); }
    ~OfficeWriter() {
        process_.closeWriteChannel();
        process_.waitForFinished(-1);
    }
    OfficeWriter(const OfficeWriter&) = delete;
    OfficeWriter& operator=(const OfficeWriter&) = delete;

    /// A command of writer.py; what it answers after "ok".
    QByteArray tell(const QString& command) {
        process_.write(command.toUtf8() + '\n');
        const bool answered =
            waitFor([this] { return process_.canReadLine() || process_.state() == QProcess::NotRunning; });
        const QByteArray line = answered ? process_.readLine().trimmed() : QByteArray();
        EXPECT_TRUE(line == "ok" || line.startsWith("ok "))
            << command.toStdString() << ": " << line.constData()
            << process_.readAllStandardError().constData();
        return line.mid(3);
    }

private:
    QProcess process_;
};

} // namespace zorbel::test

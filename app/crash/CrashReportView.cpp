#include "app/crash/CrashReportView.h"

#include "platform/RegularFile.h"

#include <QClipboard>
#include <QDateTime>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileInfo>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QLabel>
#include <QLocale>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <span>

namespace zorbel {

namespace {

QString textOf(const CrashDumps::Dump& dump) {
    constexpr std::uint64_t longest = 1'000'000;
    try {
        RegularFile file(dump.file);
        QByteArray bytes(static_cast<qsizetype>(std::min(file.size(), longest)), '\0');
        const auto count = file.read(
            std::as_writable_bytes(std::span(bytes.data(), static_cast<std::size_t>(bytes.size()))));
        return QString::fromUtf8(bytes.left(static_cast<qsizetype>(count)));
    } catch (const std::exception&) {
        return QStringLiteral("The report cannot be read.");
    }
}

} // namespace

CrashReportView::CrashReportView(const CrashDumps::Dump& dump, QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("crashReport"));
    setWindowTitle(QStringLiteral("Report of a fault"));
    const auto when = QDateTime::fromSecsSinceEpoch(dump.time.time_since_epoch().count());
    const QString path = QDir::toNativeSeparators(QFileInfo(dump.file).filePath());
    auto* place = new QLabel(QStringLiteral("%1\n%2").arg(
        QLocale::c().toString(when, QStringLiteral("d MMM yyyy HH:mm:ss")), path));
    place->setObjectName(QStringLiteral("crashReportPlace"));
    place->setTextFormat(Qt::PlainText);
    place->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    place->setWordWrap(true);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(22, 18, 22, 16);
    layout->setSpacing(12);
    layout->addWidget(place);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    if (dump.file.extension() == ".txt") {
        auto* text = new QPlainTextEdit(textOf(dump));
        text->setObjectName(QStringLiteral("crashReportText"));
        text->setAccessibleName(QStringLiteral("Report of the fault"));
        text->setReadOnly(true);
        text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        text->setTabChangesFocus(true);
        text->setLineWrapMode(QPlainTextEdit::NoWrap);
        text->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
        layout->addWidget(text, 1);
        auto* copy = buttons->addButton(QStringLiteral("Copy"), QDialogButtonBox::ActionRole);
        copy->setObjectName(QStringLiteral("crashReportCopy"));
        connect(copy, &QPushButton::clicked, this, [text] {
            QGuiApplication::clipboard()->setText(text->toPlainText());
        });
        resize(860, 560);
    }
    layout->addWidget(buttons);
}

} // namespace zorbel

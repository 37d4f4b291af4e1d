#include "viewer/window/ShortcutSheet.h"

#include "viewer/reading/workspace/ShortcutTable.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QVBoxLayout>

namespace zorbel {

ShortcutSheet::ShortcutSheet(QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("shortcutSheet"));
    setWindowTitle(QStringLiteral("Keyboard shortcuts"));
    auto* sheet = new QLabel(QString::fromStdString(ShortcutTable::sheetHtml()));
    sheet->setObjectName(QStringLiteral("shortcutTable"));
    sheet->setTextFormat(Qt::RichText);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(22, 18, 22, 16);
    layout->addWidget(sheet);
    layout->addWidget(buttons);
}

} // namespace zorbel

#pragma once

#include <QString>
#include <QTextDocument>

namespace zorbel {

/// A tool tip that shows the text as it is, also where a name or description from outside looks like markup.
inline QString plainToolTip(const QString& text) {
    return Qt::mightBeRichText(text) ? QStringLiteral("<qt>%1</qt>").arg(text.toHtmlEscaped()) : text;
}

} // namespace zorbel

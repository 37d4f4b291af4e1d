#include "report/WordTemplateChoice.h"

#include <QSet>

namespace zorbel {

QStringList wordTemplateEntries(const std::vector<WordTemplate>& templates) {
    QStringList entries;
    QSet<QString> taken;
    for (const WordTemplate& one : templates) {
        QString entry = one.name;
        if (const QString description = one.description.trimmed(); !description.isEmpty())
            entry += QStringLiteral(" — ") + description;
        if (taken.contains(entry))
            entry += QStringLiteral(" (%1)").arg(one.id.left(8));
        taken.insert(entry);
        entries.append(entry);
    }
    return entries;
}

} // namespace zorbel

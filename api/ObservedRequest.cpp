#include "api/ObservedRequest.h"

#include <algorithm>

namespace zorbel {

QString pathWords(const QString& path) {
    QStringList parts = path.split(QLatin1Char('/'));
    for (QString& part : parts) {
        const bool word =
            part.size() <= 20 && std::all_of(part.begin(), part.end(), [](QChar c) {
                return (c >= QLatin1Char('a') && c <= QLatin1Char('z')) || c == QLatin1Char('-');
            });
        if (!word)
            part = QStringLiteral("…");
    }
    return parts.join(QLatin1Char('/'));
}

} // namespace zorbel

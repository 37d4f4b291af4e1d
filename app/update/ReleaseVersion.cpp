#include "app/update/ReleaseVersion.h"

#include <QStringList>

namespace zorbel {

std::optional<ReleaseVersion> ReleaseVersion::parse(const QString& text) {
    const QStringList parts = text.split(QLatin1Char('.'));
    ReleaseVersion version;
    if (parts.size() != qsizetype(version.numbers.size()))
        return {};
    for (std::size_t i = 0; i < version.numbers.size(); ++i) {
        bool holds = false;
        version.numbers[i] = parts[qsizetype(i)].toUInt(&holds);
        if (!holds)
            return {};
    }
    return version;
}

} // namespace zorbel

#pragma once

#include <QCoreApplication>
#include <QIcon>
#include <QString>

namespace zorbel {

/// Path of a file of the program's resources, e.g. resourcePath("zorbel-icon.svg"). Needs the application
/// object.
inline QString resourcePath(const QString& name) {
    return QCoreApplication::applicationDirPath() + QStringLiteral("/resources/") + name;
}

/// The icon of a tool or action by its id.
/// Faint where its control is disabled, on light and on dark grounds alike.
QIcon toolIcon(const QString& id);

} // namespace zorbel

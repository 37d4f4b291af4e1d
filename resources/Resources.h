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
inline QIcon toolIcon(const QString& id) {
    return QIcon(resourcePath(QStringLiteral("icons/%1.svg").arg(id)));
}

} // namespace zorbel

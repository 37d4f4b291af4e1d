#pragma once

#include <QString>

#include <string_view>

namespace zorbel {

/// UTF-8, of which ASCII is a part, for Qt.
inline QString qtText(std::string_view utf8) {
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

} // namespace zorbel

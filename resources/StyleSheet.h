#pragma once

#include <QString>

namespace zorbel {

/// The application's one style sheet. Colours: background #F7F9FB, text #0F172A, navy #002B5B, cyan accents,
/// lines #D8E2EC; the image area is black whatever surrounds it.
QString applicationStyleSheet();

} // namespace zorbel

#pragma once

#include <string>

namespace zorbel {

/// With so many decimals and a point, whatever the process's locale is (where std::to_string would write a
/// comma); no "-0".
std::string fixedText(double value, int decimals);

} // namespace zorbel

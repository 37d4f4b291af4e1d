#pragma once

#include <random>
#include <string>

namespace zorbel {

/// 16 hexadecimal digits, different at each call and in each process.
inline std::string randomName() {
    constexpr char digits[] = "0123456789abcdef";
    std::random_device source;
    std::string name(16, '0');
    for (char& c : name)
        c = digits[source() % 16];
    return name;
}

} // namespace zorbel

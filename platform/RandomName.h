#pragma once

#include <random>
#include <string>

namespace zorbel {

/// 16 hexadecimal digits, different at each call and in each process.
inline std::string randomName() {
    constexpr char digits[] = "0123456789abcdef";
    std::random_device source;
    std::string name;
    for (const auto number : {source(), source()})
        for (unsigned shift = 0; shift < 32; shift += 4)
            name += digits[(number >> shift) & 15];
    return name;
}

} // namespace zorbel

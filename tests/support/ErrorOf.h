#pragma once

#include <exception>
#include <string>

namespace zorbel::test {

/// What the action threw; empty: nothing.
template <class Action>
std::string errorOf(Action action) {
    try {
        action();
    } catch (const std::exception& failure) {
        return failure.what();
    }
    return {};
}

} // namespace zorbel::test

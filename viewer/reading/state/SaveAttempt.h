#pragma once

#include "app/log/Logger.h"

#include <exception>
#include <string>
#include <string_view>
#include <system_error>

namespace zorbel {

/// Does what writes. Returns an empty text, or `failureText` after a failure, which is logged with the
/// system's reason: an exception's own text names the file, and thereby the study.
template <class Write>
std::string attemptSave(std::string_view failureText, const Write& write) {
    std::string reason;
    try {
        write();
        return {};
    } catch (const std::system_error& error) {
        reason = error.code().message();
    } catch (const std::exception& error) {
        reason = error.what();
    }
    Logger::instance().warn("MainWindow", failureText, {{"reason", reason}});
    return std::string(failureText);
}

} // namespace zorbel

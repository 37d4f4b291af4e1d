#include "platform/linux/DesktopEntry.h"

namespace zorbel {

namespace {

/// The escapes that hold for every string of a desktop entry.
std::string escapedValue(std::string_view text) {
    std::string out;
    for (const char c : text) {
        switch (c) {
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\t':
            out += "\\t";
            break;
        case '\r':
            out += "\\r";
            break;
        default:
            out += c;
        }
    }
    return out;
}

/// One argument of a command line in an Exec key, still without the escapes of a string.
std::string quotedArgument(std::string_view text) {
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"' || c == '`' || c == '$' || c == '\\') {
            out += '\\';
        } else if (c == '%') {
            out += '%';
        }
        out += c;
    }
    return out + '"';
}

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r");
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

} // namespace

std::string linkHandlerDesktopEntry(const std::filesystem::path& executable) {
    const std::string icon = (executable.parent_path() / "resources" / "zorbel-icon.svg").string();
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=Zorbel Diagnostic Viewer\n"
           "Exec=" +
           escapedValue(quotedArgument(executable.string())) +
           " %u\n"
           "Icon=" +
           escapedValue(icon) +
           "\n"
           "Terminal=false\n"
           "NoDisplay=true\n"
           "MimeType=x-scheme-handler/zorbel-viewer;\n";
}

std::string
withDefaultApplication(std::string_view mimeApps, std::string_view mimeType, std::string_view desktopFile) {
    constexpr std::string_view group = "[Default Applications]";
    const std::string entry = std::string(mimeType) + '=' + std::string(desktopFile) + '\n';
    std::string out;
    std::size_t groupStart = std::string::npos;
    bool inGroup = false;
    bool written = false;
    while (!mimeApps.empty()) {
        const auto length = mimeApps.find('\n');
        const std::string_view line = mimeApps.substr(0, length);
        mimeApps.remove_prefix(length == std::string_view::npos ? line.size() : length + 1);
        const std::string_view text = trimmed(line);
        const auto equals = text.find('=');
        if (inGroup && equals != std::string_view::npos && trimmed(text.substr(0, equals)) == mimeType) {
            out += written ? "" : entry;
            written = true;
            continue;
        }
        out.append(line) += '\n';
        if (text.starts_with('[')) {
            inGroup = text == group;
            groupStart = inGroup ? out.size() : groupStart;
        }
    }
    if (!written && groupStart != std::string::npos) {
        out.insert(groupStart, entry);
    } else if (!written) {
        out += out.empty() ? "" : "\n";
        out.append(group) += '\n' + entry;
    }
    return out;
}

} // namespace zorbel

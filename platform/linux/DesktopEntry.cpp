#include "platform/linux/DesktopEntry.h"

#include <algorithm>
#include <cctype>

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

/// Of the group of the entry itself; empty when it has none.
std::string_view valueOf(std::string_view entry, std::string_view key) {
    bool inGroup = false;
    while (!entry.empty()) {
        const auto length = std::min(entry.find('\n'), entry.size());
        const std::string_view line = trimmed(entry.substr(0, length));
        entry.remove_prefix(std::min(length + 1, entry.size()));
        const auto equals = line.find('=');
        if (line.starts_with('[')) {
            inGroup = line == "[Desktop Entry]";
        } else if (inGroup && equals != std::string_view::npos && trimmed(line.substr(0, equals)) == key) {
            return trimmed(line.substr(equals + 1));
        }
    }
    return {};
}

std::string withoutEscapes(std::string_view value) {
    std::string out;
    for (std::size_t i = 0; i < value.size(); ++i) {
        const bool escape = value[i] == '\\' && i + 1 < value.size();
        const char c = escape ? value[++i] : value[i];
        out += !escape ? c : c == 's' ? ' ' : c == 'n' ? '\n' : c == 't' ? '\t' : c == 'r' ? '\r' : c;
    }
    return out;
}

/// The arguments of an Exec key, in which only quoted ones hold blanks.
std::vector<std::string> splitArguments(std::string_view exec) {
    std::vector<std::string> arguments;
    bool quoted = false;
    bool open = false;
    for (std::size_t i = 0; i < exec.size(); ++i) {
        const char c = exec[i];
        if (c == ' ' && !quoted) {
            open = false;
            continue;
        }
        if (!open) {
            arguments.emplace_back();
            open = true;
        }
        if (c == '"') {
            quoted = !quoted;
        } else {
            arguments.back() += quoted && c == '\\' && i + 1 < exec.size() ? exec[++i] : c;
        }
    }
    return arguments;
}

std::string fileUrl(const std::filesystem::path& file) {
    constexpr std::string_view plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
    constexpr const char* digits = "0123456789ABCDEF";
    std::string url = "file://";
    for (const char c : file.string()) {
        const auto byte = static_cast<unsigned char>(c);
        if (plain.find(c) != std::string_view::npos) {
            url += c;
        } else {
            url += {'%', digits[byte >> 4], digits[byte & 15]};
        }
    }
    return url;
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

std::vector<std::string> openingCommand(std::string_view desktopEntry, const std::filesystem::path& file) {
    std::vector<std::string> command;
    bool given = false;
    for (std::string& argument : splitArguments(withoutEscapes(valueOf(desktopEntry, "Exec")))) {
        if (argument == "%f" || argument == "%F" || argument == "%u" || argument == "%U") {
            given = true;
            command.push_back(std::tolower(argument[1]) == 'u' ? fileUrl(file) : file.string());
        } else if (argument.size() != 2 || argument[0] != '%') {
            for (std::size_t at = 0; (at = argument.find("%%", at)) != std::string::npos; ++at) {
                argument.erase(at, 1);
            }
            command.push_back(std::move(argument));
        }
    }
    return given && valueOf(desktopEntry, "Terminal") != "true" ? command : std::vector<std::string>();
}

} // namespace zorbel

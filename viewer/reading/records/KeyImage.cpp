#include "viewer/reading/records/KeyImage.h"

#include "viewer/reading/base/NumberText.h"

#include <charconv>

namespace zorbel {

namespace {

constexpr std::string_view prefix = "key-";
constexpr std::string_view suffix = ".png";

} // namespace

std::string keyImageFileName(int number) {
    return std::string(prefix) + std::to_string(number) + std::string(suffix);
}

std::optional<int> keyImageNumber(std::string_view fileName) {
    if (!fileName.starts_with(prefix) || !fileName.ends_with(suffix))
        return std::nullopt;
    const char* const end = fileName.data() + fileName.size() - suffix.size();
    int number = 0;
    const auto read = std::from_chars(fileName.data() + prefix.size(), end, number);
    // Written back, for only one name is the number's.
    if (read.ec != std::errc() || read.ptr != end || number < 1 || keyImageFileName(number) != fileName)
        return std::nullopt;
    return number;
}

std::string keyImageCaption(const KeyImageView& view) {
    std::string caption(view.name);
    if (view.slice)
        caption += " · slice " + std::to_string(view.slice->number) + "/" + std::to_string(view.slice->count);
    if (view.window)
        caption += " · W " + fixedText(view.window->width, 0) + " L " + fixedText(view.window->level, 0);
    return caption;
}

} // namespace zorbel

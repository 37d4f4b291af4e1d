#pragma once

#include "viewer/reading/workspace/ReadingAction.h"

#include <string>
#include <string_view>
#include <vector>

namespace zorbel {

/// One key of the main window.
struct ShortcutBinding {
    std::string_view key; ///< as QKeySequence's portable text: "Shift+R", "PgDown", "Esc"
    ReadingAction action = ReadingAction::ShowSheet;
    int argument = 0;
};

/// The one list of the keys: what is bound, and what the sheet "Keyboard shortcuts" says about it.
class ShortcutTable {
public:
    /// One cell pair of the sheet with the keys that it explains; the wheel's has none.
    struct Entry {
        std::string_view keys;   ///< as shown, HTML
        std::string_view action; ///< as shown, HTML
        std::vector<ShortcutBinding> bindings;
    };

    /// In reading order of the sheet: left, right, next row.
    static const std::vector<Entry>& entries();
    static std::vector<ShortcutBinding> bindings();
    /// The sheet: a table with two pairs of key and action a row.
    static std::string sheetHtml();
};

} // namespace zorbel

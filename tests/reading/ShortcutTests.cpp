#include "viewer/reading/base/Tool.h"
#include "viewer/reading/workspace/ShortcutTable.h"

#include <QKeySequence>
#include <QString>
#include <QStringList>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

namespace zorbel {
namespace {

QString qString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

std::map<std::string, ShortcutBinding> bindingsByKey() {
    std::map<std::string, ShortcutBinding> result;
    for (const ShortcutBinding& binding : ShortcutTable::bindings())
        EXPECT_TRUE(result.emplace(binding.key, binding).second) << binding.key << " is bound twice";
    return result;
}

TEST(ShortcutTable, bindsExactlyTheKeys) {
    std::set<std::string> bound;
    for (const auto& [key, binding] : bindingsByKey())
        bound.insert(key);
    const std::set<std::string> expected{
        "Left",  "Right",  "Up",     "Down",   "PgUp",   "PgDown", "A",       "S", "D", "W",
        "C",     "R",      "P",      "Z",      "L",      "G",      "B",       "K", "O", "Esc",
        "Del",   "M",      "+",      "=",      "-",      "F",      "Shift+R", "I", "H", "X",
        "Home",  "1",      "2",      "3",      "4",      "5",      "6",       "7", "8", "9",
        "Space", "Ctrl+1", "Ctrl+2", "Ctrl+3", "Ctrl+4", "Ctrl+K", "Ctrl+F",  "?", "F1"};
    EXPECT_EQ(bound, expected);
}

TEST(ShortcutTable, namesKeysAsTheToolkitReadsThem) {
    for (const ShortcutBinding& binding : ShortcutTable::bindings()) {
        const QKeySequence sequence =
            QKeySequence::fromString(qString(binding.key), QKeySequence::PortableText);
        ASSERT_EQ(sequence.count(), 1) << binding.key;
        EXPECT_NE(sequence[0].key(), Qt::Key_unknown) << binding.key;
        EXPECT_EQ(sequence.toString(QKeySequence::PortableText), qString(binding.key));
    }
}

/// The keys that a cell of the sheet names, as they are bound.
std::set<std::string> keysShownBy(std::string_view cell) {
    static const std::map<std::string_view, std::set<std::string>> ranges{
        {"Arrows", {"Left", "Right", "Up", "Down"}},
        {"Wheel", {}},
        {"1 – 9", {"1", "2", "3", "4", "5", "6", "7", "8", "9"}},
        {"Ctrl+1 – 4", {"Ctrl+1", "Ctrl+2", "Ctrl+3", "Ctrl+4"}},
        {"PgUp / PgDn", {"PgUp", "PgDown"}},
        {"M, + / −", {"M", "+", "=", "-"}},
    };
    if (const auto range = ranges.find(cell); range != ranges.end())
        return range->second;
    std::set<std::string> keys;
    for (const QString& key : qString(cell).split(QStringLiteral(" / ")))
        keys.insert(key.toStdString());
    return keys;
}

TEST(ShortcutTable, sheetShowsTheBoundKeysAndNoOthers) {
    for (const auto& entry : ShortcutTable::entries()) {
        std::set<std::string> bound;
        for (const ShortcutBinding& binding : entry.bindings)
            bound.emplace(binding.key);
        EXPECT_EQ(keysShownBy(entry.keys), bound) << entry.action;
    }
}

TEST(ShortcutTable, sheetIsATableOfElevenRowsInOrder) {
    const QString html = qString(ShortcutTable::sheetHtml());
    EXPECT_TRUE(html.startsWith(QStringLiteral("<table cellpadding=\"4\"><tr>")));
    EXPECT_TRUE(html.endsWith(QStringLiteral("</tr></table>")));
    EXPECT_EQ(html.count(QStringLiteral("<tr>")), 11);
    EXPECT_EQ(html.count(QStringLiteral("</tr>")), 11);
    EXPECT_EQ(html.count(QStringLiteral("<td>")), 44);
    EXPECT_TRUE(html.contains(QStringLiteral("<td><b>R</b></td><td>Rotate (Shift snaps 15&deg;)</td></tr>")));
    EXPECT_TRUE(html.contains(QStringLiteral("Layout 2&times;2 / 1&times;1 / 1&times;2 / 1+3")));
    EXPECT_LT(html.indexOf(QStringLiteral("Centre crosshair")), html.indexOf(QStringLiteral("Invert")));
    EXPECT_TRUE(html.endsWith(QStringLiteral("Findings by tooth or region</td></tr></table>")));
}

TEST(ShortcutTable, givesTheKeysTheirArguments) {
    auto keys = bindingsByKey();
    EXPECT_EQ(keys["Left"].argument, keys["Down"].argument);
    EXPECT_LT(keys["Left"].argument, 0);
    EXPECT_EQ(keys["Right"].argument, keys["Up"].argument);
    EXPECT_EQ(keys["PgUp"].argument, 10 * keys["Up"].argument);
    EXPECT_EQ(keys["PgDown"].argument, 10 * keys["Down"].argument);
    EXPECT_EQ(keys["S"].argument, 2); // sagittal, though it stands third in the sheet
    EXPECT_EQ(keys["D"].argument, 1);
    EXPECT_EQ(keys["="].action, keys["+"].action);
    EXPECT_EQ(keys["="].argument, keys["+"].argument);
    EXPECT_EQ(keys["-"].argument, -keys["+"].argument);
    EXPECT_EQ(keys["5"].argument, 4);
    EXPECT_EQ(keys["Ctrl+4"].argument, 3);
    EXPECT_EQ(keys["G"].argument, static_cast<int>(Tool::Angle));
    EXPECT_EQ(keys["K"].argument, static_cast<int>(Tool::BoxRoi));
    EXPECT_EQ(keys["R"].argument, static_cast<int>(Tool::Rotate));
    EXPECT_EQ(keys["Shift+R"].action, ShortcutAction::ResetViews);
}

} // namespace
} // namespace zorbel

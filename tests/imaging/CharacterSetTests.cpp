#include "imaging/dicom/CharacterSet.h"

#include <gtest/gtest.h>

namespace zorbel::imaging {
namespace {

TEST(CharacterSet, SingleByteSetsAndUtf8) {
    EXPECT_EQ(toUtf8("J\xe9r\xf4me", {"ISO_IR 100"}), "Jérôme");
    EXPECT_EQ(toUtf8("J\xe9r\xf4me", {}), "Jérôme") << "undeclared, and not ASCII";
    EXPECT_EQ(toUtf8("\xa3ukasz", {"ISO_IR 101"}), "Łukasz");
    EXPECT_EQ(toUtf8("\xbb\xee\xda\xe1", {"ISO_IR 144"}), "Люкс");
    EXPECT_EQ(toUtf8("Łukasz", {"ISO_IR 192"}), "Łukasz");
    EXPECT_EQ(toUtf8("\xd0\xd0\xc4", {"GB18030"}), "行?");
}

// The names of PS3.5 Annexes H, I and J.
TEST(CharacterSet, EscapeSequencesSwitchTheSet) {
    EXPECT_EQ(
        toUtf8(
            "Yamada^Tarou=\033$B;3ED\033(B^\033$BB@O:\033(B=\033$B$d$^$@\033(B^\033$B$?$m$&\033(B",
            {"", "ISO 2022 IR 87"}),
        "Yamada^Tarou=山田^太郎=やまだ^たろう");
    EXPECT_EQ(
        toUtf8(
            "\xd4\xcf\xc0\xde^\xc0\xdb\xb3=\033$B;3ED\033(J^\033$BB@O:\033(J",
            {"ISO 2022 IR 13", "ISO 2022 IR 87"}),
        "ﾔﾏﾀﾞ^ﾀﾛｳ=山田^太郎");
    EXPECT_EQ(
        toUtf8(
            "Hong^Gildong=\033$)C\xfb\xf3^\033$)C\xd1\xce\xd4\xd7=\033$)C\xc8\xab^\033$)C\xb1\xe6\xb5\xbf",
            {"", "ISO 2022 IR 149"}),
        "Hong^Gildong=洪^吉洞=홍^길동");
}

TEST(CharacterSet, NamesForTheScreen) {
    EXPECT_EQ(displayName("Family^Given"), "Family Given");
    EXPECT_EQ(displayName("Family^Given^^Dr.^"), "Family Given Dr.");
    EXPECT_EQ(displayName("=山田^太郎"), "山田 太郎");
    EXPECT_EQ(displayName("Yamada^Tarou=山田^太郎"), "Yamada Tarou");
    EXPECT_EQ(displayName("^^^"), "");
}

} // namespace
} // namespace zorbel::imaging

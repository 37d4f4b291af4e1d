#include "report/package/WholePackage.h"
#include "tests/report/package/PackageFixture.h"

#include <string>

namespace zorbel::test {
namespace {

const QString unreadable = "The report is not a readable Word package.";
const QString missing = "The report template is missing a part this viewer needs to edit.";
const QString body = "The report body is not in a shape this viewer can edit.";
const QString media = "The report package could not be updated to carry key images.";

QString errorOf(const QByteArray& package, const ReportPacket& packet = picture()) {
    const EditResult result = appendReportPacket(package, packet);
    EXPECT_EQ(result.success, result.error.isEmpty());
    EXPECT_EQ(result.success, !result.bytes.isEmpty());
    return result.error;
}

QString errorWith(const QByteArray& name, const QByteArray& text) {
    Parts parts = simpleParts();
    for (auto& [partName, data] : parts)
        if (partName == QString(name))
            data = text;
    return errorOf(zipOf(parts));
}

TEST(DamagedPackage, FailsWithOneSentence) {
    const QByteArray whole = zipOf(simpleParts());
    EXPECT_EQ(errorOf(whole, {"Title", "Subtitle", {}, {}, {}}), "Nothing to append.");
    EXPECT_EQ(errorOf({}), "The report is empty.");
    EXPECT_EQ(errorOf("no zip file, but text"), unreadable);
    EXPECT_EQ(errorOf(zipOf({})), "The report package is empty.");
    for (int index = 0; index < 3; ++index) {
        Parts parts = simpleParts();
        parts[index].second.clear();
        EXPECT_EQ(errorOf(zipOf(parts)), missing);
        parts.erase(parts.begin() + index);
        EXPECT_EQ(errorOf(zipOf(parts)), missing);
    }
    for (const auto& [width, height] : {std::pair(0, 5), std::pair(5, -1), std::pair(2147483647, 1)})
        EXPECT_EQ(
            errorOf(whole, picture("a.png", width, height)), "No measurements or key images could be read.");

    const QByteArray good = document("<w:p/>");
    QByteArray attributes; // which take a parser for long
    for (int index = 0; index < 300; ++index)
        attributes += " a" + QByteArray::number(index) + "=''";
    for (const QByteArray& main :
         {QByteArray("<a/>"), QByteArray("</w:body>"), QByteArray(good).replace("w:body", "w:torso"),
          document("<w:p>"), document("", w + ' ' + r + " xmlns:wp=\"other\""), "<!DOCTYPE a>" + good,
          "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>" + good, document("\xff"), good.mid(0, 40),
          QByteArray(good).replace("w:", "x:").replace("xmlns:x", "xmlns:w"),
          document("<w:p" + attributes + "/>")})
        EXPECT_EQ(errorWith(documentName, main), body) << main.left(200).toStdString();
    EXPECT_EQ(errorWith(relationshipsName, "<Relationships"), media);
    const QByteArray twice = "<Relationship Id='a'/>";
    EXPECT_EQ(errorWith(relationshipsName, relationships(twice + twice)), media);
    EXPECT_EQ(errorWith(typesName, "<Types/>"), media);
}

TEST(DamagedPackage, RecordsAreHeldAgainstEachOther) {
    const QByteArray whole = zipOf(simpleParts());
    ASSERT_TRUE(isWholePackage(whole));
    // The first part's own header is at the beginning, what the directory says of it comes first there.
    const qsizetype directory = whole.indexOf("PK\x01\x02");
    const qsizetype end = whole.indexOf("PK\x05\x06");
    // Flags, method, checksum, sizes: in its own header, in the directory, and in both alike.
    std::vector<std::pair<qsizetype, qsizetype>> places{
        {40, 60}, {end + 10, end + 16}, {end + 20, directory + 42}};
    for (const auto& [own, listed] :
         {std::pair(6, 8), std::pair(8, 10), std::pair(14, 16), std::pair(22, 24)})
        places.emplace_back(own, directory + listed);
    const auto expectUnreadable = [](const QByteArray& damaged, qsizetype at) {
        EXPECT_EQ(errorOf(damaged), unreadable) << at;
        EXPECT_FALSE(isWholePackage(damaged)) << at;
    };
    const auto damage = [](QByteArray bytes, qsizetype at) {
        bytes[at] = static_cast<char>(bytes[at] ^ 0x41);
        return bytes;
    };
    for (const auto& [one, other] : places) {
        expectUnreadable(damage(whole, one), one);
        expectUnreadable(damage(whole, other), other);
        expectUnreadable(damage(damage(whole, one), other), one);
    }
    for (const char* name : {"../up", "/root", "a/../b", "word\\a", "WORD/document.xml"}) {
        Parts parts = simpleParts();
        const QByteArray standIn(static_cast<qsizetype>(qstrlen(name)), '?');
        parts.emplace_back(standIn, "x");
        const QByteArray bytes = zipOf(parts).replace(standIn, name);
        EXPECT_EQ(errorOf(bytes), unreadable) << name;
    }
    for (qsizetype length = 0; length < whole.size(); ++length)
        ASSERT_FALSE(isWholePackage(whole.left(length))) << length;
    EXPECT_FALSE(isWholePackage(zipOf({{typesName, types()}})));
}

QByteArray number(qint64 value) {
    return {reinterpret_cast<const char*>(&value), 8};
}

/// Turns each size and place in the directory into a reference to a zip64 field.
QByteArray withWideFields(const QByteArray& whole) {
    const qsizetype directory = whole.indexOf("PK\x01\x02");
    const qsizetype end = whole.indexOf("PK\x05\x06");
    QByteArray entries;
    qint64 count = 0;
    for (qsizetype at = directory; at < end; ++count) {
        QByteArray entry = whole.mid(at, 46);
        const QByteArray name = whole.mid(at + 46, entry[28]);
        QByteArray extra("\x01\x00\x18\x00", 4);
        for (const qsizetype field : {24, 20, 42})
            extra += entry.mid(field, 4) + QByteArray(4, '\0');
        for (const qsizetype field : {24, 20, 42})
            entry.replace(field, 4, QByteArray(4, '\xff'));
        entries += entry.replace(30, 1, "\x1c") + name + extra;
        at += 46 + name.size();
    }
    return whole.left(directory) + entries + "PK\x06\x06" + number(44) + QByteArray(12, '\0') +
           number(count) + number(count) + number(entries.size()) + number(directory) + "PK\x06\x07" +
           QByteArray(4, '\0') + number(directory + entries.size()) + number(1).left(4) +
           whole.mid(end).replace(8, 12, QByteArray(12, '\xff'));
}

TEST(DamagedPackage, IsNotWhatOtherProgramsWrite) {
    Parts parts = simpleParts();
    parts.emplace_back(QStringLiteral("word/\u05e9.bin"), QByteArray(1000, 'x'));
    const QByteArray whole = zipOf(parts);
    const Parts expected = partsOf(appendReportPacket(whole, finding).bytes);
    ASSERT_EQ(expected.size(), 4U);
    EXPECT_EQ(partsOf(appendReportPacket(withWideFields(whole), finding).bytes), expected);
    EXPECT_EQ(partsOf(appendReportPacket(whole + "\r\n", finding).bytes), expected);

    // Sizes that follow the data, in the header before it not known yet; another system; a directory.
    QByteArray streamed = whole;
    const qsizetype directory = whole.indexOf("PK\x01\x02");
    streamed[6] = streamed[directory + 8] = 0x08;
    streamed.replace(14, 12, QByteArray(12, '\0'));
    streamed[directory + 5] = 7;
    EXPECT_EQ(partsOf(appendReportPacket(streamed, finding).bytes), expected);
    parts.insert(parts.begin(), {"word/", ""});
    EXPECT_EQ(partsOf(appendReportPacket(zipOf(parts), finding).bytes), expected);
}

} // namespace
} // namespace zorbel::test

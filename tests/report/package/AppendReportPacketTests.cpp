#include "tests/report/package/PackageFixture.h"

#include <QList>
#include <QStringConverter>

namespace zorbel::test {
namespace {

QByteArray paragraph(const QByteArray& style, const QByteArray& text) {
    return "<w:p><w:pPr>" + (style.isEmpty() ? "" : R"(<w:pStyle w:val=")" + style + R"("/>)") +
           R"(</w:pPr><w:r><w:t xml:space="preserve">)" + text + "</w:t></w:r></w:p>";
}
QByteArray row(const QList<QByteArray>& cells, const QByteArray& properties = {}) {
    QByteArray result;
    for (const QByteArray& cell : cells)
        result += R"(<w:tc><w:tcPr><w:tcW w:w="0" w:type="auto"/></w:tcPr><w:p><w:r>)" + properties +
                  R"(<w:t xml:space="preserve">)" + cell + "</w:t></w:r></w:p></w:tc>";
    return "<w:tr>" + result + "</w:tr>";
}
QByteArray table(const QList<QByteArray>& header, const QList<QByteArray>& cells) {
    QByteArray borders;
    for (const char* side : {"top", "left", "bottom", "right", "insideH", "insideV"})
        borders += QByteArray("<w:") + side + R"( w:val="single" w:sz="4" w:color=")" +
                   (*side == 'i' ? "CCCCCC" : "999999") + R"("/>)";
    return R"(<w:tbl><w:tblPr><w:tblStyle w:val="TableGrid"/><w:tblW w:w="0" w:type="auto"/><w:tblBorders>)" +
           borders + "</w:tblBorders></w:tblPr>" + row(header, "<w:rPr><w:b/></w:rPr>") + row(cells) +
           "</w:tbl>";
}
const QByteArray findingsTable =
    paragraph("Heading2", "Findings") + table({"Site", "Finding", "Note"}, {"36", "Caries", "deep"});

TEST(AppendReportPacket, InsertsByteForByte) {
    const QByteArray section = "<w:sectPr><w:pgSz w:w=\"12240\" w:h=\"15840\"/></w:sectPr>";
    QByteArray seven;
    for (int number = 7; number > 0; --number)
        seven += "<Relationship Id=\"rId" + QByteArray::number(number) + "\" Type=\"t\" Target=\"x\"/>";
    const Parts parts{
        {"word/styles.xml", "<styles/>"},
        {relationshipsName, relationships(seven)},
        {documentName, document("<w:p/>" + section)},
        {typesName, types()},
        {"custom/any.bin", QByteArray(500, 'x')}};
    ReportPacket packet = picture("key.png", 1920, 1080);
    packet.title = "Report <1>";
    packet.subtitle = "\"A\" & 'B'";
    packet.findings = finding.findings;
    packet.measurements = {{"Length", "1.2 mm", "Axial"}};
    packet.keyImages.push_back({"gone.png", "No bytes", {}, 8, 8});
    const EditResult result = appendReportPacket(zipOf(parts), packet);
    EXPECT_EQ(result.keyImages, 1);

    Parts expected = parts;
    expected[1].second = relationships(
        seven + "<Relationship Id=\"rId8\" Type=\"" + transitional +
        "officeDocument/2006/relationships/image\" Target=\"media/key.png\"/>");
    expected[2].second = document(
        "<w:p/>" + paragraph("Heading1", "Report &lt;1&gt;") +
        paragraph("", "&quot;A&quot; &amp; &apos;B&apos;") + findingsTable +
        paragraph("Heading2", "Measurements") +
        table({"Measurement", "Value", "View"}, {"Length", "1.2 mm", "Axial"}) +
        paragraph("Heading2", "Key images") +
        R"(<w:p><w:r><w:drawing><wp:inline distT="0" distB="0" distL="0" distR="0">)"
        R"(<wp:extent cx="5486400" cy="3086100"/><wp:docPr id="8" name="Key image 8" descr="Cap &gt; 1"/>)"
        R"(<a:graphic xmlns:a="http://schemas.openxmlformats.org/drawingml/2006/main">)"
        R"(<a:graphicData uri="http://schemas.openxmlformats.org/drawingml/2006/picture">)"
        R"(<pic:pic xmlns:pic="http://schemas.openxmlformats.org/drawingml/2006/picture">)"
        R"(<pic:nvPicPr><pic:cNvPr id="8" name="key.png"/><pic:cNvPicPr/></pic:nvPicPr>)"
        R"(<pic:blipFill><a:blip r:embed="rId8"/><a:stretch><a:fillRect/></a:stretch></pic:blipFill>)"
        R"(<pic:spPr><a:xfrm><a:off x="0" y="0"/><a:ext cx="5486400" cy="3086100"/></a:xfrm>)"
        R"(<a:prstGeom prst="rect"><a:avLst/></a:prstGeom></pic:spPr></pic:pic></a:graphicData></a:graphic>)"
        "</wp:inline></w:drawing></w:r></w:p>" +
        paragraph("Caption", "Cap &gt; 1") + section);
    expected[3].second = types("<Default Extension=\"png\" ContentType=\"image/png\"/>");
    expected.emplace_back("word/media/key.png", "png bytes");
    EXPECT_EQ(partsOf(result.bytes), expected);
}

TEST(AppendReportPacket, KeepsThePagesSettingsLast) {
    // The bar is where the report belongs.
    for (QByteArray body :
         {"<w:p/>|", "<w:p><w:pPr><w:sectPr/></w:pPr></w:p>|", "|<w:sectPr/><!--<w:sectPr/>-->\n",
          "<w:p><w:pPr><w:sectPr/></w:pPr></w:p>|<w:sectPr><w:sectPrChange><w:sectPr/></w:sectPrChange></"
          "w:sectPr>",
          "<w:p><w:txbxContent><w:sectPr/></w:txbxContent></w:p><?x <w:sectPr ?>|",
          "<w:p a=\"&gt;\" b='>'/><![CDATA[<w:sectPr></w:body>]]>|"}) {
        const qsizetype bar = body.indexOf('|');
        body.remove(bar, 1);
        const QByteArray behind = "<!-- </w:body> -->";
        const auto result = appendReportPacket(zipOf(simpleParts(document(body).append(behind))), finding);
        EXPECT_EQ(part(result, documentName), document(body.insert(bar, findingsTable)).append(behind));
    }
}

TEST(AppendReportPacket, FollowsTheDocumentsNamespacesAndFolder) {
    const auto edited = [](const QByteArray& namespaces) {
        return part(
            appendReportPacket(zipOf(simpleParts(document("", namespaces))), picture()), documentName);
    };
    EXPECT_TRUE(edited(w).startsWith("<w:document " + w + ' ' + wp + ' ' + r + "><w:body><w:p>"));
    EXPECT_TRUE(edited(r + ' ' + w).startsWith("<w:document " + r + ' ' + w + ' ' + wp + '>'));

    const QByteArray top = "<Relationship Id='a' Target='/docs/main.xml' Type='" + strict +
                           "officeDocument/relationships/officeDocument'/>";
    const Parts parts{
        {"docs/main.xml", document("", "xmlns:w=\"" + strict + "wordprocessingml/main\"")},
        {"docs/_rels/main.xml.rels", relationships()},
        {typesName, types()},
        {"_rels/.rels", relationships(top)}};
    const EditResult result = appendReportPacket(zipOf(parts), picture());
    const QByteArray main = part(result, "docs/main.xml");
    EXPECT_FALSE(main.contains(transitional));
    EXPECT_EQ(main.count(strict), 6); // w, wp, r, a, and pic twice
    EXPECT_EQ(
        part(result, "docs/_rels/main.xml.rels"),
        relationships(
            "<Relationship Id=\"rId1\" Type=\"" + strict +
            "officeDocument/relationships/image\" Target=\"/word/media/key.png\"/>"));
}

TEST(AppendReportPacket, RegistersPicturesBesideWhatIsThere) {
    Parts parts = simpleParts();
    const QByteArray list = transitional + "package/2006/relationships";
    parts[1].second = "<p:Relationships xmlns:p='" + list + "'><p:Relationship Id='rId41' Target='x'/>" +
                      "<p:Relationship Id=\"rId99999999999999999999\" Target='x'/></p:Relationships>";
    parts[2].second = types("<Default ContentType='image/png' Extension='PNG'/>");
    parts.emplace_back("word/header1.xml", "<w:hdr " + w + ' ' + wp + "><wp:docPr id='42'/></w:hdr>");
    parts.emplace_back("word/media/Key.PNG", "x");
    ReportPacket packet = picture("C:\\x\\key.png");
    packet.keyImages.push_back({QStringLiteral("zähne 1"), "a\r\nb", "png bytes", 2147483647, 2147483647});
    const EditResult result = appendReportPacket(zipOf(parts), packet);
    const QByteArray main = part(result, documentName);
    EXPECT_TRUE(
        main.contains("<wp:docPr id=\"43\" name=\"Key image 43\"") && main.contains("r:embed=\"rId42\""));
    EXPECT_TRUE(main.contains("<wp:docPr id=\"44\"") && main.contains("descr=\"a b\""));
    EXPECT_TRUE(main.contains("cx=\"5486400\" cy=\"5486400\""));
    EXPECT_EQ(part(result, typesName), parts[2].second);
    EXPECT_TRUE(part(result, relationshipsName).contains("<p:Relationship Id=\"rId42\""));
    EXPECT_EQ(part(result, "word/media/key-2.png"), "png bytes");
    EXPECT_EQ(part(result, "word/media/z_hne_1.png"), "png bytes");
    // As often as one likes.
    EXPECT_TRUE(appendReportPacket(result.bytes, packet).success);
}

TEST(AppendReportPacket, TellsTheNumberOfColumnsWhereItIsAskedTo) {
    ReportPacket packet = finding;
    packet.tableGrids = true;
    QByteArray main = part(appendReportPacket(zipOf(simpleParts()), packet), documentName);
    const QByteArray grid = "</w:tblPr><w:tblGrid><w:gridCol/><w:gridCol/><w:gridCol/></w:tblGrid><w:tr>";
    EXPECT_TRUE(main.contains(grid));
    EXPECT_EQ(
        main.replace(grid, "</w:tblPr><w:tr>"),
        part(appendReportPacket(zipOf(simpleParts()), finding), documentName));
}

TEST(AppendReportPacket, LeavesOutWhatXmlCannotHoldAndKeepsLines) {
    ReportPacket packet = finding;
    packet.findings[0].note = QString::fromUtf16(u"a\u0001b\uFFFE\n\xd800"
                                                 u"c\r\nd\r\U0001F9B7");
    const QByteArray main = part(appendReportPacket(zipOf(simpleParts()), packet), documentName);
    const QByteArray next = "</w:t><w:br/><w:t xml:space=\"preserve\">";
    EXPECT_TRUE(main.contains(">ab" + next + "c" + next + "d" + next + "\U0001F9B7</w:t>"));
}

TEST(AppendReportPacket, KeepsTheEncoding) {
    const auto utf16 = [](const QByteArray& text, QStringConverter::Encoding encoding) {
        QStringEncoder encoder(encoding, QStringConverter::Flag::WriteBom);
        return QByteArray(encoder(QString::fromUtf8(text)));
    };
    const QByteArray declared = "<?xml version=\"1.0\" encoding=\"UTF-16\"?>";
    const QByteArray before = document("<w:p>\u00e9</w:p>");
    const QByteArray after = document("<w:p>\u00e9</w:p>" + findingsTable);
    const auto edited = [](const QByteArray& main) {
        return part(appendReportPacket(zipOf(simpleParts(main)), finding), documentName);
    };
    EXPECT_EQ(edited("\xef\xbb\xbf" + before), "\xef\xbb\xbf" + after);
    for (const auto encoding : {QStringConverter::Utf16LE, QStringConverter::Utf16BE})
        EXPECT_EQ(edited(utf16(declared + before, encoding)), utf16(declared + after, encoding));
    const QByteArray halfPair =
        utf16(before, QStringConverter::Utf16LE).replace(QByteArray("\xe9\0", 2), "\xe9\xd8");
    EXPECT_FALSE(appendReportPacket(zipOf(simpleParts(halfPair)), finding).success);
}

} // namespace
} // namespace zorbel::test

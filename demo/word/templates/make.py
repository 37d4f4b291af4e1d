#!/usr/bin/python3
"""Makes the templates beside it anew, with LibreOffice Writer; see README.md."""

import pathlib
import struct
import sys
import tempfile
import zlib

here = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(here.parents[2] / "scripts"))

import uno  # noqa: E402
from com.sun.star.awt import Size  # noqa: E402
from com.sun.star.lang import Locale  # noqa: E402
from com.sun.star.table import BorderLine2  # noqa: E402
from com.sun.star.style.BreakType import PAGE_BEFORE  # noqa: E402
from com.sun.star.text.ControlCharacter import PARAGRAPH_BREAK  # noqa: E402
from com.sun.star.text.TextContentAnchorType import AS_CHARACTER  # noqa: E402
from com.sun.star.style.NumberingType import ARABIC  # noqa: E402

from office_session import OfficeSession, properties  # noqa: E402

FONT = "Arial"
INK, ACCENT, GREY = 0x1C2430, 0x0F6E84, 0x5B6675
LEFT, RIGHT, CENTER = 0, 1, 3
RIGHT_TO_LEFT = 1


# ---- Pictures


def png(width, height, colour_at):
    """colour_at(x, y) gives (r, g, b) for a point in pixels; each pixel is the mean of nine."""
    rows = bytearray()
    for y in range(height):
        rows.append(0)
        for x in range(width):
            points = [colour_at(x + (i + 0.5) / 3, y + (j + 0.5) / 3) for i in range(3) for j in range(3)]
            rows += bytes(sum(p[c] for p in points) // 9 for c in range(3))

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    head = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    # Pixels for 150 a inch.
    return (
        b"\x89PNG\r\n\x1a\n"
        + chunk(b"IHDR", head)
        + chunk(b"pHYs", struct.pack(">IIB", 5906, 5906, 1))
        + chunk(b"IDAT", zlib.compress(bytes(rows), 9))
        + chunk(b"IEND", b"")
    )


def in_tooth(x, y):
    """A molar from the side about the origin, one unit high."""
    crown = (abs(x) / 0.42) ** 3 + (abs(y + 0.16) / 0.30) ** 3 < 1 and y > -0.46 + 0.05 * (1 - abs(x) / 0.2)
    roots = 0 <= y < 0.5 and abs(abs(x) - 0.20 + 0.06 * y) < 0.17 - 0.26 * y
    return crown or roots


def clinic_mark(x, y):
    u, v = (x - 90) / 90, (y - 90) / 90
    if u * u + v * v > 1:
        return (255, 255, 255)
    return (255, 255, 255) if in_tooth(u / 1.3, v / 1.3) else (0x0F, 0x6E, 0x84)


def tooth_row(x, y):
    """Eight teeth of a lower jaw's side, as a sketch to draw on."""
    u, v = x % 80 - 40, y - 62
    around = [(0, 0), (2, 0), (-2, 0), (0, 2), (0, -2)]
    covered = [in_tooth((u + i) / 82, (v + j) / 112) for i, j in around]
    return (0x5B, 0x66, 0x75) if any(covered) and not all(covered) else (255, 255, 255)


# ---- Building blocks


class Page:
    """A document that is written from top to bottom."""

    def __init__(self, office, folder, language, country, right_to_left=False, names=None):
        self.office, self.folder, self.right_to_left = office, folder, right_to_left
        self.document = office.create()
        self.text = self.document.Text
        self.cursor = self.text.createTextCursor()
        self.names = {"title": "Title", "heading": "Heading 1", "body": "Text body"} | (names or {})
        self.page = self.document.StyleFamilies.getByName("PageStyles").getByName("Standard")
        self.page.Size = Size(21000, 29700)
        self.page.LeftMargin = self.page.RightMargin = 2300
        self.page.TopMargin = self.page.BottomMargin = 2000
        self.styles = self.document.StyleFamilies.getByName("ParagraphStyles")
        base = self.styles.getByName("Standard")
        for kind in ("", "Asian", "Complex"):
            setattr(base, "CharFontName" + kind, FONT)
            setattr(base, "CharHeight" + kind, 10.5)
        base.CharColor = INK
        base.CharLocale = Locale("en" if right_to_left else language, "US" if right_to_left else country, "")
        if right_to_left:
            base.CharLocaleComplex = Locale(language, country, "")
            base.WritingMode = self.page.WritingMode = RIGHT_TO_LEFT
            base.ParaAdjust = RIGHT
        self._style("title", 20, bold=True, colour=ACCENT, above=300, below=250)
        self._style("heading", 12.5, bold=True, colour=ACCENT, above=420, below=120)
        self._style("body", 10.5, below=180)
        # Not used here, but by what a viewer adds.
        for name, height in (("Heading 1", 12.5), ("Heading 2", 11)):
            if name not in self.names.values():
                self.names[name] = name
                self._style(name, height, bold=True, colour=ACCENT, above=300, below=120)

    def _style(self, kind, height, bold=False, colour=INK, above=0, below=0):
        name = self.names[kind]
        if not self.styles.hasByName(name):
            self.styles.insertByName(name, self.document.createInstance("com.sun.star.style.ParagraphStyle"))
            self.styles.getByName(name).ParentStyle = self._parent_of(kind)
        style = self.styles.getByName(name)
        for script in ("", "Asian", "Complex"):
            setattr(style, "CharFontName" + script, FONT)
            setattr(style, "CharHeight" + script, height)
            setattr(style, "CharWeight" + script, 150.0 if bold else 100.0)
        style.CharColor = colour
        style.ParaTopMargin, style.ParaBottomMargin = above, below
        style.ParaAdjust = RIGHT if self.right_to_left else LEFT

    def _parent_of(self, kind):
        # The built-in headings carry an outline whose paragraphs a right-to-left page puts to the left.
        return "Standard" if self.right_to_left or kind == "body" else {"title": "Title", "heading": "Heading 1"}[kind]

    def _write(self, kind, text):
        self.cursor.ParaStyleName = self.names[kind]
        self.text.insertString(self.cursor, text, False)
        self.text.insertControlCharacter(self.cursor, PARAGRAPH_BREAK, False)

    def title(self, text):
        self._write("title", text)

    def section(self, heading, *paragraphs):
        self._write("heading", heading)
        for text in paragraphs:
            self._write("body", text)

    def picture(self, text, cursor, name, bytes_of_png, width, height, description):
        file = self.folder / (name + ".png")
        file.write_bytes(bytes_of_png)
        provider = self.office.service("com.sun.star.graphic.GraphicProvider")
        shape = self.document.createInstance("com.sun.star.text.TextGraphicObject")
        shape.Graphic = provider.queryGraphic(properties(URL=uno.systemPathToFileUrl(str(file))))
        shape.AnchorType = AS_CHARACTER
        shape.Width, shape.Height = width, height
        shape.Name, shape.Description = name, description
        text.insertTextContent(cursor, shape, False)

    def body_picture(self, name, bytes_of_png, width, height, description):
        self.cursor.ParaStyleName = self.names["body"]
        self.picture(self.text, self.cursor, name, bytes_of_png, width, height, description)
        self.text.insertControlCharacter(self.cursor, PARAGRAPH_BREAK, False)

    def letterhead(self, clinic, lines, with_mark=True):
        """In the header of each page."""
        self.page.HeaderIsOn = True
        self.page.HeaderBodyDistance = 500
        header = self.page.HeaderText
        cursor = header.createTextCursor()
        if with_mark:
            self.picture(header, cursor, "mark", png(180, 180, clinic_mark), 1300, 1300, clinic)
            header.insertString(cursor, "  ", False)
        for script in ("", "Complex"):
            setattr(cursor, "CharWeight" + script, 150.0)
            setattr(cursor, "CharHeight" + script, 15)
        cursor.CharColor = ACCENT
        header.insertString(cursor, clinic, False)
        for line in lines:
            header.insertControlCharacter(cursor, PARAGRAPH_BREAK, False)
            for script in ("", "Complex"):
                setattr(cursor, "CharWeight" + script, 100.0)
                setattr(cursor, "CharHeight" + script, 8.5)
            cursor.CharColor = GREY
            header.insertString(cursor, line, False)
        line = BorderLine2()
        line.OuterLineWidth, line.Color = 26, ACCENT
        cursor.BottomBorder = line
        cursor.BottomBorderDistance = 150

    def footer(self, text, page_word):
        self.page.FooterIsOn = True
        footer = self.page.FooterText
        cursor = footer.createTextCursor()
        cursor.CharHeight = cursor.CharHeightComplex = 8.5
        cursor.CharColor = GREY
        footer.insertString(cursor, text + "    " + page_word + " ", False)
        number = self.document.createInstance("com.sun.star.text.TextField.PageNumber")
        number.NumberingType = ARABIC
        footer.insertTextContent(cursor, number, False)

    def table(self, rows, head=False, first_column=30, set_off=(0,)):
        """Rows of texts; the first column, or with `head` the rows `set_off`, are set off."""
        table = self.document.createInstance("com.sun.star.text.TextTable")
        table.initialize(len(rows), len(rows[0]))
        self.text.insertTextContent(self.cursor, table, False)
        if self.right_to_left:
            table.WritingMode = RIGHT_TO_LEFT
        hair = BorderLine2()
        hair.OuterLineWidth, hair.Color = 9, 0xC5CED8
        border = table.TableBorder2
        for side in ("TopLine", "BottomLine", "LeftLine", "RightLine", "HorizontalLine", "VerticalLine"):
            setattr(border, side, hair)
        table.TableBorder2 = border
        if not head and len(rows[0]) == 2:
            separators = table.TableColumnSeparators
            separators[0].Position = first_column * 100
            table.TableColumnSeparators = separators
        for r, row in enumerate(rows):
            for c, text in enumerate(row):
                cell = table.getCellByPosition(c, r)
                cell.String = text
                cursor = cell.createTextCursor()
                cursor.gotoEnd(True)
                cursor.ParaStyleName = self.names["body"]
                cursor.ParaBottomMargin = 60
                cursor.ParaTopMargin = 60
                if r in set_off if head else c == 0:
                    cell.BackColor = 0xEEF4F6
                    cursor.CharWeight = cursor.CharWeightComplex = 150.0
                    cursor.CharColor = ACCENT
        self.cursor.gotoEnd(False)

    def tooth_chart(self):
        upper = [str(n) for n in list(range(18, 10, -1)) + list(range(21, 29))]
        lower = [str(n) for n in list(range(48, 40, -1)) + list(range(31, 39))]
        blank = [""] * 16
        self.table([upper, blank, blank, lower], head=True, set_off=(0, 3))

    def signature(self, text):
        self._write("body", "")
        line = "_" * 38
        self._write("body", line)
        self.cursor.ParaStyleName = self.names["body"]
        self.text.insertString(self.cursor, text, False)

    def landscape_section(self):
        """Goes on in a section of its own, on a turned page."""
        family = self.document.StyleFamilies.getByName("PageStyles")
        family.insertByName("Turned", self.document.createInstance("com.sun.star.style.PageStyle"))
        turned = family.getByName("Turned")
        turned.IsLandscape = True
        turned.Size = Size(29700, 21000)
        turned.LeftMargin = turned.RightMargin = 2300
        turned.TopMargin = turned.BottomMargin = 1600
        turned.FooterIsOn = True
        turned.FooterText.String = "Planning sheet"
        self.cursor.PageDescName = "Turned"
        self.cursor.BreakType = PAGE_BEFORE

    def store(self, file, title):
        self.document.DocumentProperties.Title = title
        self.office.store_as_word(self.document, str(here / file))
        self.document.close(True)


# ---- The templates


CLINIC = "Demo Dental Clinic"
ADDRESS = ["12 Example Street, 00000 Sampletown", "Telephone 000 000-0  ·  reception@clinic.example"]


def english(page):
    page.letterhead(CLINIC, ADDRESS)
    page.footer("Confidential medical report", "Page")
    page.title("Cone-beam CT report")
    page.table([["Patient", ""], ["Date of birth", ""], ["Examination", "CBCT, date:"], ["Referred by", ""]])
    page.section("Clinical question", "")
    page.section("Technique", "Cone-beam CT of the jaws. Field of view, voxel size and dose area product:")
    page.section("Findings", "Teeth and periodontium:", "Jaw bone and canals:", "Sinuses and airway:", "Joints:")
    page.section("Conclusion", "1.", "2.")
    page.signature("Name and qualification, date")


def german(page):
    page.letterhead("Zahnarztpraxis Musterstadt", ["Beispielstraße 12, 00000 Musterstadt", "Telefon 000 000-0"])
    page.footer("Vertraulicher ärztlicher Bericht", "Seite")
    page.title("Befundbericht zur digitalen Volumentomographie")
    page.table([["Patient/in", ""], ["Geburtsdatum", ""], ["Untersuchung", "DVT vom"], ["Überweisung", ""]])
    page.section("Rechtfertigende Indikation", "")
    page.section("Aufnahmetechnik", "Volumengröße, Voxelgröße, Dosisflächenprodukt:")
    page.section("Befund", "Zähne und Zahnhalteapparat:", "Kieferknochen und Nervkanäle:", "Kieferhöhlen:")
    page.section("Beurteilung", "")
    page.signature("Unterschrift der fachkundigen Ärztin, des fachkundigen Arztes")


def hebrew(page):
    page.letterhead("מרפאת שיניים לדוגמה", ["רחוב הדוגמה 12, עיר לדוגמה", "טלפון 000-0000000"])
    page.footer("דוח רפואי חסוי", "עמוד")
    page.title("דוח בדיקת CBCT דנטלית")
    page.table([["שם המטופל", ""], ["תאריך לידה", ""], ["תאריך הבדיקה", ""], ["רופא מפנה", ""]])
    page.section("סיבת ההפניה", "")
    page.section("טכניקת הבדיקה", "בדיקת CBCT של הלסתות, גודל ווקסל 0.2 מ\"מ:")
    page.section("ממצאים", "שיניים ורקמות תומכות:", "עצם הלסת ותעלת העצב:", "סינוסים:")
    page.section("סיכום", "")
    page.signature("חתימה וחותמת הרופא")


def implant(page):
    page.letterhead(CLINIC, ADDRESS)
    page.footer("Implant planning", "Page")
    page.title("Implant planning report")
    page.section("Planned restoration", "")
    page.tooth_chart()
    page.section("Bone at the planned sites")
    page.table([["Site", "Width", "Height", "Distance to canal or sinus"], [""] * 4, [""] * 4, [""] * 4], head=True)
    page.section("Assessment", "")
    page.signature("Name and qualification, date")
    page.text.insertControlCharacter(page.cursor, PARAGRAPH_BREAK, False)
    page.landscape_section()
    page.section("Sketch")
    page.body_picture("sketch", png(640, 120, tooth_row), 22400, 4200, "Eight teeth from the side, to draw on")
    page.section("Measurements and pictures", "")


def endodontic(question):
    def write(page):
        page.letterhead(CLINIC, ADDRESS[:1], with_mark=False)
        page.title("CBCT of one tooth")
        page.table([["Patient", ""], ["Tooth (FDI)", ""]])
        page.section(question, "")
        page.section("Root canals and periapical bone", "")
        page.section("Conclusion", "")
        page.signature("Name, date")

    return write


def minimal(page):
    page.text.insertString(page.cursor, "", False)


HEBREW_STYLES = {"title": "כותרת הדוח", "heading": "כותרת סעיף", "body": "טקסט הדוח"}
GERMAN_STYLES = {"title": "Überschrift Bericht", "heading": "Überschrift Abschnitt", "body": "Befundtext"}

TEMPLATES = [
    ("cbct-report-en.docx", "CBCT report", english, ("en", "GB"), {}),
    ("dvt-befund-de.docx", "Befundbericht", german, ("de", "DE"), {"names": GERMAN_STYLES}),
    ("cbct-report-he.docx", "דוח CBCT", hebrew, ("he", "IL"), {"right_to_left": True, "names": HEBREW_STYLES}),
    ("implant-planning-en.docx", "Implant planning", implant, ("en", "GB"), {}),
    ("endodontic-first-en.docx", "CBCT of one tooth", endodontic("Complaints"), ("en", "GB"), {}),
    ("endodontic-control-en.docx", "CBCT of one tooth", endodontic("Treatment so far"), ("en", "GB"), {}),
    ("blank-en.docx", "", minimal, ("en", "GB"), {}),
]

if __name__ == "__main__":
    with OfficeSession() as session, tempfile.TemporaryDirectory() as pictures:
        for file_name, document_title, write_body, locale, options in TEMPLATES:
            template = Page(session, pathlib.Path(pictures), *locale, **options)
            write_body(template)
            template.store(file_name, document_title)
            print(file_name)

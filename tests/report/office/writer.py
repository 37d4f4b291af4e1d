#!/usr/bin/python3
"""Works on Word documents with LibreOffice Writer as a user would, told what to do on standard input.

A command a line, a blank, and its arguments separated by tabs; each is answered with a line that begins with "ok" or "failed":

    open PATH            the document that the other commands mean
    replace OLD NEW      in its text, at least once
    append TEXT          a paragraph at the end
    save                 in the document's own format
    describe             "ok" and a JSON object: its text in order, tables, pictures, pages
    close
"""

import json
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[3] / "scripts"))

from office_session import OfficeSession  # noqa: E402 (first: it makes the next line possible)

from com.sun.star.text.ControlCharacter import PARAGRAPH_BREAK  # noqa: E402


def cells(table):
    return [[table.getCellByPosition(c, r).String for c in range(table.Columns.Count)] for r in range(table.Rows.Count)]


class Writer:
    def __init__(self, office):
        self._office = office
        self._document = None

    def open(self, path):
        self._document = self._office.open(path)

    def replace(self, old, new):
        search = self._document.createReplaceDescriptor()
        search.SearchString, search.ReplaceString = old, new
        search.SearchCaseSensitive = True
        if self._document.replaceAll(search) == 0:
            raise ValueError("the text is not there")

    def append(self, text):
        body = self._document.Text
        body.insertControlCharacter(body.End, PARAGRAPH_BREAK, False)
        body.insertString(body.End, text, False)

    def save(self):
        self._document.store()

    def close(self):
        self._document.close(True)
        self._document = None

    def describe(self):
        parts = []
        for part in self._document.Text:
            table = part.supportsService("com.sun.star.text.TextTable")
            parts.append({"table": cells(part)} if table and part.Rows.Count * part.Columns.Count else part.String)
        styles = self._document.StyleFamilies.getByName("PageStyles")
        pages = [style for style in (styles.getByIndex(i) for i in range(styles.Count)) if style.isInUse()]
        pictures = self._document.GraphicObjects
        return {
            "text": parts,
            "pictures": [
                [one.Name, one.Description, one.Size.Width, one.Size.Height]
                for one in (pictures.getByIndex(i) for i in range(pictures.Count))
            ],
            "pages": [
                [p.Width, p.Height, p.LeftMargin, p.RightMargin, p.TopMargin, p.BottomMargin, p.HeaderIsOn, p.FooterIsOn]
                for p in pages
            ],
        }


def main():
    with OfficeSession() as office:
        writer = Writer(office)
        for line in sys.stdin:
            command, *arguments = line.rstrip("\n").split(" ", 1)
            try:
                if command not in ("open", "replace", "append", "save", "describe", "close"):
                    raise ValueError("unknown command")
                result = getattr(writer, command)(*(arguments[0].split("\t") if arguments else []))
                print("ok" if result is None else "ok " + json.dumps(result, ensure_ascii=False), flush=True)
            except Exception as error:  # whatever LibreOffice throws is the answer
                print("failed %s: %s" % (command, " ".join(str(error).split())), flush=True)


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""usage: office_documents.py ZORBEL-TOOL TEST-DATA

Appends a report to every Word document of the test data (the environment variable ZORBEL_TEST_DATA names another folder
of it) and holds the result against what was there, as independent readers see it: lxml, python-docx and LibreOffice.
What lies in the folder "malformed" must be refused, with a sentence, in little memory. Exit code 77 when there are no
such documents.
"""
import json
import os
import pathlib
import resource
import struct
import subprocess
import sys
import tempfile
import zipfile
import zlib

import docx
from lxml import etree

SIZES = {"first.png": (1920, 1080), "second.png": (30, 20)}
PACKET = {
    "title": "Appended <report>",
    "subtitle": "for \"all\" & 'each'",
    "findings": [{"site": "36", "finding": "Caries", "note": "one line\nanother line\u0001"}],
    "measurements": [{"measurement": "Length 1", "value": "12.3 mm", "view": "Axial"}],
    "keyImages": [{"file": name, "caption": f"Caption of {name}"} for name in SIZES],
}
APPENDED = ["Appended <report>", "for \"all\" & 'each'", "Findings", "Site", "Finding", "Note", "36", "Caries",
            "one line another line", "Measurements", "Measurement", "Value", "View", "Length 1", "12.3 mm", "Axial",
            "Key images", "Caption of first.png", "Caption of second.png"]
APPENDED_KINDS = ["p", "p", "p", "tbl", "p", "tbl", "p", "p", "p", "p", "p"]


def png(width, height):
    def chunk(name, data):
        return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))

    rows = (b"\0" + b"\x40\x80\xc0" * width) * height
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)) +
            chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))


def kind(element):
    return etree.QName(element).localname if isinstance(element.tag, str) else ""


def texts(body):
    """Of all paragraphs that have one."""
    lines = ("".join(" " if kind(part) == "br" else part.text or "" for part in paragraph.iter("{*}t", "{*}br"))
             for paragraph in body.iter("{*}p"))
    return [line for line in lines if line.strip()]


def check_package(before, after):
    kept = [name for name in before.namelist() if not name.endswith("/")]
    assert after.namelist() == kept + [f"word/media/{name}" for name in SIZES], after.namelist()
    parsed = {name: etree.fromstring(after.read(name)) for name in kept if name.endswith((".xml", ".rels"))}
    main = next(r.get("Target").lstrip("/") for r in parsed["_rels/.rels"] if r.get("Type").endswith("/officeDocument"))
    folder, file = main.split("/")
    changed = {name for name in kept if before.read(name) != after.read(name)}
    assert changed <= {main, f"{folder}/_rels/{file}.rels", "[Content_Types].xml"}, changed

    old, new = etree.fromstring(before.read(main)).find("{*}body"), parsed[main].find("{*}body")
    assert texts(new) == texts(old) + APPENDED, texts(new)
    kinds = [kind(child) for child in new if kind(child)]
    settings = kinds[len(kinds) - kinds.count("sectPr"):]
    assert settings in ([], ["sectPr"]) and kinds[:len(kinds) - len(settings)][-11:] == APPENDED_KINDS, kinds
    old_sections, new_sections = ([etree.tostring(s, method="c14n", exclusive=True) for s in body.iter("{*}sectPr")]
                                  for body in (old, new))
    assert old_sections == new_sections
    ids = [drawing.get("id") for drawing in new.iter("{*}docPr")]
    assert len(set(ids)) == len(ids), ids


def check_python_docx(path):
    document = docx.Document(path)
    for shape, (width, height), size in zip(
            list(document.inline_shapes)[-2:], SIZES.values(), ((5486400, 3086100), (285750, 190500))):
        assert (shape.width, shape.height) == size, (shape.width, shape.height)
        blip = shape._inline.graphic.graphicData.pic.blipFill.blip
        assert document.part.related_parts[blip.embed].blob == png(width, height)


def opened_in_libreoffice(paths, folder):
    """LibreOffice's own flat files of the documents, made by one run of it; None of those that it cannot open."""
    subprocess.run(["soffice", "--headless", f"-env:UserInstallation=file://{folder}/profile", "--convert-to", "fodt",
                    "--outdir", folder, *paths], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    made = [folder / f"{path.stem}.fodt" for path in paths]
    return [etree.parse(file, etree.XMLParser(huge_tree=True)) if file.exists() else None for file in made]


def check_libreoffice(before, after):
    def words(tree):
        body = tree.find("{*}body/{*}text")
        etree.strip_elements(body, "{*}binary-data", "{*}desc", "{*}forms", with_tail=False)
        return "".join(" ".join(body.itertext("{*}*")).split())

    def pages(tree):
        return [dict(p.attrib) for p in tree.iter("{*}page-layout-properties")]

    def count(tree, name):
        return len(tree.findall(f"{{*}}body//{{*}}{name}"))

    pictures, tables = count(before, "image"), count(before, "table")
    assert (count(after, "image"), count(after, "table")) == (pictures + 2, tables + 2)
    old, new = words(before), words(after)
    assert new == old + "".join(APPENDED).replace(" ", ""), (old, new)
    assert pages(before) == pages(after)


def append(tool, document, result, packet):
    command = [tool, "report", "append", document, result, "--packet", packet]
    return subprocess.run(command, stderr=subprocess.PIPE, text=True)


def refusal(tool, document, result, packet):
    refused = append(tool, document, result, packet)
    assert refused.returncode == 1 and not result.exists()
    return refused.stderr


def main():
    tool = sys.argv[1]
    folder = pathlib.Path(os.environ.get("ZORBEL_TEST_DATA", sys.argv[2])) / "docx"
    if not folder.is_dir():
        print(f"skipped: there is no folder {folder}; set ZORBEL_TEST_DATA to run this test")
        return 77
    with tempfile.TemporaryDirectory() as temporary:
        work = pathlib.Path(temporary)
        packet = work / "packet.json"
        packet.write_text(json.dumps(PACKET))
        for name, size in SIZES.items():
            (work / name).write_bytes(png(*size))
        for document in sorted((folder / "malformed").glob("*.docx")):
            print(document.name, flush=True)
            sentence = refusal(tool, document, work / "refused.docx", packet)
            assert sentence.startswith("The report ") and sentence.endswith(".\n"), sentence
        peak = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss
        assert peak < 300_000, f"{peak} KB"

        documents = sorted(folder.glob("*.docx"))
        (work / "packet-without.json").write_text('{"keyImages": [{"file": "absent.png"}]}')
        assert "absent.png" in refusal(tool, documents[0], work / "refused.docx", work / "packet-without.json")
        results = [work / f"edited-{document.name}" for document in documents]
        for document, result in zip(documents, results):
            print(document.name, flush=True)
            assert append(tool, document, result, packet).returncode == 0
            with zipfile.ZipFile(document) as before, zipfile.ZipFile(result) as after:
                check_package(before, after)
            if not document.name.startswith("strict-"):  # which python-docx does not read
                check_python_docx(result)
        opened = opened_in_libreoffice(documents + results, work)
        for document, before, after in zip(documents, opened, opened[len(documents):]):
            print(document.name, "in LibreOffice", flush=True)
            if before is None:
                print("  LibreOffice does not read the original")
            else:
                check_libreoffice(before, after)
        assert opened.count(None) <= 2, "LibreOffice reads the documents"
    return 0


sys.exit(main())

#!/usr/bin/env python3
"""usage: installers.py FOLDER COMMAND [ARGUMENT]…

Makes installers, good and bad, in the folder, and runs the command with ZORBEL_INSTALLERS naming it: roots.pem holds
whom to trust, and each line of cases.tsv a file's name and why it is refused (nothing for a good one); thumbprint is that of the good one's signer.
Needs openssl and osslsigncode.
"""
import base64, http.server, os, struct, subprocess, sys, threading

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../demo/update"))
from signing import certificate, enter, program, run, sign as sign_program, trust, write

NO_PROGRAM, DAMAGED = "it is not a Windows program", "it is damaged"
UNSIGNED, SEVERAL = "it is not signed", "it carries more than one signature"
STRAY, BAD = "it holds data outside its signature", "its signature is damaged"
CONTENTS, WEAK = "its contents are not what was signed", "its signature uses a method that is no longer safe"
UNTRUSTED, EXPIRED = "its signer is not trusted", "its signer's certificate was not valid at the time"
USAGE, STAMP = "its signer's certificate is not meant for programs", "its time-stamp is not valid"


def children(der, begin, end):
    """(begin, begin of the content, end) of each element."""
    found = []
    while begin < end and der[begin]:  # zeros are padding
        size, at = der[begin + 1], begin + 2
        if size & 0x80:
            at += size & 0x7f
            size = int.from_bytes(der[begin + 2:at], "big")
        found.append((begin, at, at + size))
        begin = at + size
    return found


def element(der, *path):
    begin, end = 0, len(der)
    for step in path:
        start, begin, end = children(der, begin, end)[step]
    return start, begin, end


class TimeStamps(http.server.BaseHTTPRequestHandler):
    """RFC 3161 at /NAME, counter-signatures at /old/NAME, made by the certificate of that name."""

    def do_POST(self):
        query, name = self.rfile.read(int(self.headers["Content-Length"])), os.path.basename(self.path)
        if "/old/" in self.path:
            query = base64.b64decode(query)
            _, begin, end = element(query, 0, 1, 1, 0)
            reply = base64.b64encode(run("openssl", "smime", "-sign", "-binary", "-nodetach", "-outform", "DER",
                                         "-signer", name + ".pem", "-inkey", name + ".key", input=query[begin:end]))
        else:
            run("openssl", "ts", "-reply", "-config", "ca.cnf", "-section", "tsa", "-queryfile", write("query", query),
                "-signer", name + ".pem", "-inkey", name + ".key", "-out", "reply")
            reply = open("reply", "rb").read()
        self.send_response(200)
        self.send_header("Content-Type", self.headers["Content-Type"].replace("query", "reply"))
        self.end_headers()
        self.wfile.write(reply)

    def log_message(self, *_):
        pass


OPTIONAL = 0x40 + 24
DIRECTORY = OPTIONAL + 112 + 4 * 8
SECTIONS = OPTIONAL + 240


def changed(data, at, *values, form="<I"):
    """The file with values packed at a place."""
    packed = struct.pack(form, *values)
    return data[:at] + packed + data[at + len(packed):]


def flipped(data, at):
    return changed(data, at, data[at] ^ 1, form="B")


def sign(name, by, chain=("middle",), stamp=None, extra=(), source="program.exe"):
    words = ["-t" if stamp.startswith("old/") else "-ts", stamps + stamp] if stamp else []
    return sign_program(name, by, chain, [*words, *extra], source)


def with_message(data, message):
    """The program with another PKCS #7 message in its table."""
    table, = struct.unpack_from("<I", data, DIRECTORY)
    size = (len(message) + 15) // 8 * 8
    entry = struct.pack("<IHH", size, 0x200, 2) + message.ljust(size - 8, b"\0")
    return changed(data[:table], DIRECTORY + 4, size) + entry


def cases():
    plain = sign("plain", "signer")
    table, size = struct.unpack_from("<II", plain, DIRECTORY)
    message = plain[table + 8:][:element(plain[table + 8:], 0)[2]]
    entry, end = plain[table:], len(plain)
    stamped, other = sign("stamped", "signer", stamp="stamper"), sign("other", "stranger", chain=["foreign"])
    inside = lambda *path: table + 8 + element(message, 0, 1, 0, *path)[2] - 1
    stamped_message = stamped[table + 8:]
    stamp_end = table + 8 + element(stamped_message, 0, 1, 0, 4, 0, 6)[2] - 1
    twice = changed(plain, DIRECTORY + 4, 2 * size) + entry

    yield "good", plain, ""
    yield "good stamped", stamped, ""
    yield "good counter-signed", sign("old", "signer", stamp="old/stamper"), ""
    yield "good with an elliptic curve and SHA-512", sign("curve", "curve-signer", extra=["-h", "sha512"]), ""
    yield "good with another checksum", flipped(plain, OPTIONAL + 64), ""

    yield "nothing", b"", NO_PROGRAM
    yield "script", b"@echo off\r\n" * 100, NO_PROGRAM
    script = (b"@echo off\r\n" * 200)[:table]
    yield "script with a signature appended", script + entry, NO_PROGRAM
    yield "script that begins as a program", b"MZ" + script + entry, NO_PROGRAM
    yield "headers beyond the end", changed(plain, 0x3c, end), NO_PROGRAM
    yield "headers at the greatest offset", changed(plain, 0x3c, 0xffffffff), NO_PROGRAM
    yield "headers before the begin", changed(plain, 0x3c, 4), NO_PROGRAM
    yield "other magic number", flipped(plain, 0x40), NO_PROGRAM
    yield "other optional header", changed(plain, OPTIONAL, 0x107, form="<H"), NO_PROGRAM
    yield "library", changed(plain, 0x40 + 22, 0x2022, form="<H"), NO_PROGRAM
    yield "no sections", changed(plain, 0x46, 0, form="<H"), DAMAGED
    yield "too many sections", changed(plain, 0x46, 0xffff, form="<H"), DAMAGED
    yield "short optional header", changed(plain, 0x54, 100, form="<H"), DAMAGED
    yield "long optional header", changed(plain, 0x54, 0xffff, form="<H"), DAMAGED
    yield "too many directories", changed(plain, OPTIONAL + 108, 0xffffffff), DAMAGED
    yield "too few directories", changed(plain, OPTIONAL + 108, 4), UNSIGNED
    yield "headers end too early", changed(plain, OPTIONAL + 60, 0x40), DAMAGED
    yield "headers end in a section", changed(plain, OPTIONAL + 60, 0x300), DAMAGED
    yield "section over the headers", changed(plain, SECTIONS + 20, 0x100), DAMAGED
    yield "section over another", changed(plain, SECTIONS + 60, 0x300), DAMAGED
    yield "section after a gap", changed(plain, SECTIONS + 60, 0x440), DAMAGED
    yield "section over the table", changed(plain, SECTIONS + 56, end - 0x400), DAMAGED
    yield "section of the greatest size", changed(plain, SECTIONS + 56, 0xffffffff), DAMAGED

    yield "unsigned", program(), UNSIGNED
    yield "table cut off", plain[:table], DAMAGED
    yield "cut in half", plain[:end // 2], DAMAGED
    yield "last byte missing", plain[:-1], DAMAGED
    yield "table beyond the end", changed(plain, DIRECTORY, end), DAMAGED
    yield "table at the greatest offset", changed(plain, DIRECTORY, 0xfffffff8, 0x100, form="<II"), DAMAGED
    yield "table not aligned", changed(plain, DIRECTORY, table + 4), DAMAGED
    yield "table of nothing", changed(plain, DIRECTORY + 4, 0), DAMAGED
    yield "table inside a section", changed(plain, DIRECTORY, 0x400, end - 0x400, form="<II"), DAMAGED
    yield "byte after the table", plain + b"x", STRAY
    yield "program after the table", plain + plain, STRAY
    yield "table smaller than it is", changed(plain, DIRECTORY + 4, size - 8), STRAY
    yield "entry of nothing", changed(plain, table, 8), BAD
    yield "entry longer than the table", changed(plain, table, size + 8), BAD
    yield "entry of another kind", changed(plain, table + 6, 1, form="<H"), BAD
    yield "entry of another revision", changed(plain, table + 4, 0x100, form="<H"), BAD
    yield "second entry", twice, SEVERAL
    yield "data after the message", with_message(plain, message + b"payload" * 3), STRAY
    yield "data in the padding", with_message(plain, message + b"x"), STRAY
    yield "message of another kind", with_message(plain, b"\x30\x03\x02\x01\x00"), BAD
    yield "message of indefinite length", changed(plain, table + 9, 0x80, form="B"), BAD

    yield "begin changed", flipped(plain, 0x20), CONTENTS
    yield "header changed", flipped(plain, 0x48), CONTENTS
    yield "section's attributes changed", flipped(plain, SECTIONS + 36), CONTENTS
    yield "section changed", flipped(plain, 0x300), CONTENTS
    yield "overlay changed", flipped(plain, 0x610), CONTENTS
    longer = plain[:table] + b"payload." + entry
    yield "overlay longer", changed(longer, DIRECTORY, table + 8), CONTENTS
    yield "digest changed", flipped(plain, inside(2, 1, 0, 1, 1)), CONTENTS
    yield "other program's signature", with_message(sign("second", "signer", source="other-program.exe"), message), CONTENTS
    yield "kind of program changed", flipped(plain, inside(2, 1, 0, 0, 0)), BAD
    yield "kind of content changed", flipped(plain, inside(2, 0)), BAD
    yield "signed attribute changed", flipped(plain, inside(4, 0, 3)), BAD
    yield "signature changed", flipped(plain, inside(4, 0, 5)), BAD
    yield "signer's number changed", flipped(plain, inside(4, 0, 1, 1)), BAD
    yield "digest by SHA-1", sign("sha1", "signer", extra=["-h", "sha1"]), WEAK
    yield "digest by MD5", sign("md5", "signer", extra=["-h", "md5"]), WEAK
    yield "second signature", sign("nested", "signer", source="plain.exe", extra=["-nest"]), SEVERAL
    yield "data beside the signature", sign("blob", "signer", extra=["-addUnauthenticatedBlob"]), STRAY

    yield "other root", other, UNTRUSTED
    yield "self-signed with the right name", sign("forged", "forged", chain=[]), UNTRUSTED
    yield "chain with a gap", sign("alone", "signer", chain=[]), UNTRUSTED
    yield "signed by a signer's signer", sign("below", "below", chain=["signer", "middle"]), UNTRUSTED
    yield "certificate changed", flipped(plain, inside(3, 0, 2)), UNTRUSTED
    yield "expired", sign("expired", "expired"), EXPIRED
    yield "not valid yet", sign("future", "future"), EXPIRED
    yield "expired when it was stamped", sign("late", "expired", stamp="stamper"), EXPIRED
    yield "authority expired", sign("under-old", "under-old", chain=["old-middle"]), EXPIRED
    yield "for web servers", sign("server", "server"), USAGE
    yield "for anything", sign("any", "any"), USAGE
    yield "authority for web servers", sign("under-web", "under-web", chain=["web-middle"]), USAGE
    yield "short key", sign("weak", "weak"), WEAK
    yield "certificate signed by SHA-1", sign("sha1-signer", "sha1-signer"), WEAK
    yield "stamped by a stranger", sign("stamp1", "signer", stamp="foreign-stamper"), STAMP
    yield "counter-signed by a stranger", sign("stamp2", "signer", stamp="old/foreign-stamper"), STAMP
    yield "counter-signed by a signer", sign("stamp3", "signer", stamp="old/signer"), STAMP
    yield "stamp changed", flipped(stamped, stamp_end), STAMP


here, folder = os.getcwd(), enter(sys.argv[1])
code, stamping = "codeSigning", "critical,timeStamping"
certificate("root", ca=True)
certificate("middle", "root", ca=True)
certificate("signer", "middle", code)
certificate("curve-signer", "middle", code, key="curve")
certificate("stamper", "root", stamping)
certificate("foreign", ca=True, subject="root")
certificate("stranger", "foreign", code, subject="signer")
certificate("foreign-stamper", "foreign", stamping)
certificate("forged", usage=code, subject="signer")
certificate("below", "signer", code)
certificate("expired", "middle", code, end="20210101000000Z")
certificate("future", "middle", code, begin="20480101000000Z")
certificate("old-middle", "root", ca=True, end="20210101000000Z")
certificate("under-old", "old-middle", code)
certificate("server", "middle", "serverAuth")
certificate("any", "middle")
certificate("web-middle", "root", "serverAuth", ca=True)
certificate("under-web", "web-middle", code)
certificate("weak", "middle", code, key="weak")
certificate("sha1-signer", "middle", code, digest="sha1")
trust("signer", "root")
run("openssl", "x509", "-in", "root.pem", "-outform", "DER", "-out", "root.der")
write("program.exe", program())
write("other-program.exe", program(b"other"))
server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), TimeStamps)
threading.Thread(target=server.serve_forever, daemon=True).start()
stamps = f"http://127.0.0.1:{server.server_port}/"
with open("cases.tsv", "w") as table_of_cases:
    for name, data, refusal in cases():
        write(name, data)
        table_of_cases.write(f"{name}\t{refusal}\n")
server.shutdown()
os.chdir(here)
sys.exit(subprocess.run(sys.argv[2:], env=dict(os.environ, ZORBEL_INSTALLERS=folder)).returncode)

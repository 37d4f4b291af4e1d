#!/usr/bin/env python3
"""usage: demo-installers.py FOLDER

Makes good.exe, an installer as the vendor of the demonstration signs it, and other-signer.exe, which somebody else
signed; and thumbprint and roots.pem, by which the demonstration's viewer knows its vendor.
"""
import sys

from signing import certificate, enter, program, sign, trust, write

enter(sys.argv[1])
certificate("root", ca=True)
certificate("vendor", "root", "codeSigning")
certificate("other", "root", "codeSigning")
trust("vendor", "root")
write("program.exe", program(bytes(4 << 20)))
sign("good", "vendor", [])
sign("other-signer", "other", [])

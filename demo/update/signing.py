"""Makes certificates and signed programs in the working folder. Needs openssl and osslsigncode."""
import os, shutil, struct, subprocess, sys

AUTHORITY = b"""[ca]
default_ca = d
[d]
database = index
serial = numbers
new_certs_dir = .
policy = p
unique_subject = no
[p]
commonName = supplied
[tsa]
serial = serial
default_policy = 1.2.3.4
digests = sha256
signer_digest = sha256
ess_cert_id_alg = sha256
"""


def enter(folder):
    """Makes the folder anew, for certificates to be made in; its path."""
    folder = os.path.abspath(folder)
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    os.chdir(folder)
    write("ca.cnf", AUTHORITY)
    write("index", b"")
    return folder


def run(*words, **more):
    done = subprocess.run(words, stdout=subprocess.PIPE, stderr=subprocess.PIPE, **more)
    if done.returncode != 0:
        sys.exit(f"{words}: {(done.stdout + done.stderr).decode(errors='replace')}")
    return done.stdout


def write(name, data):
    with open(name, "wb") as file:
        file.write(data)
    return name


def certificate(name, issuer=None, usage="", ca=False, end="20490101000000Z", begin="20200101000000Z", key="rsa",
                subject=None, digest="sha256"):
    kind = {"curve": ["EC", "-pkeyopt", "ec_paramgen_curve:P-256"], "weak": ["RSA", "-pkeyopt", "rsa_keygen_bits:1024"],
            "rsa": ["RSA", "-pkeyopt", "rsa_keygen_bits:2048"]}[key]
    run("openssl", "genpkey", "-algorithm", *kind, "-out", name + ".key")
    run("openssl", "req", "-new", "-key", name + ".key", "-subj", "/CN=" + (subject or name), "-out", name + ".csr")
    extensions = f"basicConstraints=critical,CA:{str(ca).upper()}\n"
    extensions += f"extendedKeyUsage={usage}\n" if usage else ""
    write(name + ".ext", extensions.encode())
    signer = ["-cert", issuer + ".pem", "-keyfile", issuer + ".key"] if issuer else ["-selfsign", "-keyfile",
                                                                                        name + ".key"]
    run("openssl", "ca", "-batch", "-notext", "-config", "ca.cnf", "-in", name + ".csr", "-out", name + ".pem", "-md",
        digest, "-startdate", begin, "-enddate", end, "-extfile", name + ".ext", "-rand_serial", *signer)


def program(overlay=b"payload" * 15):
    """Headers up to 0x200, two sections of 0x200 bytes, and what follows them."""
    optional = struct.pack("<HBBIIIIIQIIHHHHHHIIIIHHQQQQII", 0x20b, 1, 0, 512, 512, 0, 0x1000, 0x1000, 0x140000000,
                           0x1000, 0x200, 6, 0, 0, 0, 6, 0, 0, 0x3000, 0x200, 0, 2, 0, 1 << 20, 4096, 1 << 20, 4096, 0,
                           16) + bytes(128)
    head = b"MZ".ljust(0x3c, b"\0") + struct.pack("<I", 0x40) + b"PE\0\0"
    head += struct.pack("<HHIIIHH", 0x8664, 2, 1234, 0, 0, len(optional), 0x22) + optional
    for name, at in ((b".text", 0), (b".data", 1)):
        head += struct.pack("<8sIIIIIIHHI", name, 0x200, 0x1000 * (at + 1), 0x200, 0x200 * (at + 1), 0, 0, 0, 0,
                            0x60000020)
    return head.ljust(0x200, b"\0") + b"\xc3" * 0x200 + b"data" * 0x80 + overlay


def sign(name, by, chain, options=(), source="program.exe"):
    write("chain.pem", b"".join(open(one + ".pem", "rb").read() for one in chain))
    words = ["-ac", "chain.pem"] if chain else []
    run("osslsigncode", "sign", "-certs", by + ".pem", "-key", by + ".key", *words, *options, "-in", source, "-out",
        name + ".exe")
    return open(name + ".exe", "rb").read()


def trust(signer, root):
    """Writes down whom the viewer is to trust: thumbprint and roots.pem."""
    fingerprint = run("openssl", "x509", "-in", signer + ".pem", "-noout", "-fingerprint", "-sha1")
    write("thumbprint", fingerprint.strip().split(b"=")[1].replace(b":", b""))
    write("roots.pem", open(root + ".pem", "rb").read())

"""A LibreOffice of its own, without a window and with a fresh profile, driven over a pipe.

Needs Debian's libreoffice-writer and python3-uno:

    with OfficeSession() as office:
        document = office.open("/path/to/file.docx")
"""

import os
import shutil
import signal
import subprocess
import tempfile
import time

import uno
from com.sun.star.beans import PropertyValue
from com.sun.star.connection import NoConnectException
from com.sun.star.lang import DisposedException

WORD_FILTER = "MS Word 2007 XML"


def properties(**values):
    return tuple(PropertyValue(name, 0, value, 0) for name, value in values.items())


class OfficeSession:
    """Ends with its LibreOffice, however the block is left."""

    def __enter__(self):
        self._profile = tempfile.mkdtemp(prefix="zorbel-office-")
        pipe = "zorbel-office-%d" % os.getpid()
        self._process = subprocess.Popen(
            [
                "soffice",
                "-env:UserInstallation=" + uno.systemPathToFileUrl(self._profile),
                "--accept=pipe,name=%s;urp" % pipe,
                "--headless",
                "--norestore",
                "--nologo",
                "--nodefault",
            ],
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
            start_new_session=True,
        )
        try:
            self.context = self._connect(pipe)
            self.desktop = self.service("com.sun.star.frame.Desktop")
        except BaseException:
            self.__exit__(None, None, None)
            raise
        return self

    def __exit__(self, *_):
        try:
            os.killpg(self._process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        self._process.wait()
        shutil.rmtree(self._profile, ignore_errors=True)

    def _connect(self, pipe):
        resolver = uno.getComponentContext().ServiceManager.createInstance("com.sun.star.bridge.UnoUrlResolver")
        while True:
            try:
                return resolver.resolve("uno:pipe,name=%s;urp;StarOffice.ComponentContext" % pipe)
            except (NoConnectException, DisposedException):
                if self._process.poll() is not None:
                    raise RuntimeError("LibreOffice ended with status %d" % self._process.returncode)
                time.sleep(0.05)

    def service(self, name):
        return self.context.ServiceManager.createInstanceWithContext(name, self.context)

    def open(self, path):
        document = self.desktop.loadComponentFromURL(
            uno.systemPathToFileUrl(os.path.abspath(path)), "_blank", 0, properties(Hidden=True)
        )
        if document is None:
            raise RuntimeError("LibreOffice does not open " + path)
        return document

    def create(self):
        return self.desktop.loadComponentFromURL("private:factory/swriter", "_blank", 0, properties(Hidden=True))

    def store_as_word(self, document, path):
        document.storeToURL(uno.systemPathToFileUrl(os.path.abspath(path)), properties(FilterName=WORD_FILTER))

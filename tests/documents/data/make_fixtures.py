#!/usr/bin/env python3
"""Writes mixed.zip with Python's zipfile: stored and deflated entries, as
another tool would make them. Run from this folder; the output is checked in."""

import zipfile

with zipfile.ZipFile("mixed.zip", "w") as archive:
    archive.writestr("stored.txt", b"kept as it is\n", compress_type=zipfile.ZIP_STORED)
    archive.writestr("deflated.txt", b"squeezed " * 40, compress_type=zipfile.ZIP_DEFLATED)
    archive.writestr("blobs/\u00e9t\u00e9.bin", bytes(range(256)), compress_type=zipfile.ZIP_STORED)

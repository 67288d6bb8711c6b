#!/usr/bin/env python3
"""Writes the golden vault files in this folder with Python's `cryptography`
and `hashlib`, so the C++ tests compare against bytes that our own code did
not produce. Every input is fixed; running it again gives identical files.
Prints the constants the tests hard-code."""

import base64
import hashlib
import json
import pathlib
import zipfile

from cryptography.hazmat.primitives.ciphers.aead import AESGCM

HERE = pathlib.Path(__file__).resolve().parent
MAGIC = b"PBV1"


def seal(plain: bytes, key: bytes, nonce: bytes) -> bytes:
    return MAGIC + nonce + AESGCM(key).encrypt(nonce, plain, MAGIC)


# A plain envelope.
envelope_key = bytes(range(32))
envelope_nonce = bytes(range(0xA0, 0xAC))
envelope_plain = b"Corvale sealed envelope, golden sample.\n"
(HERE / "golden-envelope.pbv").write_bytes(seal(envelope_plain, envelope_key, envelope_nonce))

# A key file made by hand. Pretty-printed on purpose: readers must not depend
# on our writer's layout.
passphrase = "correct horse battery staple \u2713"
salt = bytes(range(0x10, 0x20))
iterations = 1000
vault_key = bytes(range(0x40, 0x60))
wrap_nonce = bytes(range(0x70, 0x7C))
passphrase_key = hashlib.pbkdf2_hmac("sha256", passphrase.encode("utf-8"), salt, iterations, 32)
key_file = {
    "format": "pembrose-key",
    "version": 1,
    "kdf": "PBKDF2-SHA256",
    "iterations": iterations,
    "salt": base64.b64encode(salt).decode("ascii"),
    "wrappedKey": base64.b64encode(seal(vault_key, passphrase_key, wrap_nonce)).decode("ascii"),
    "vaultId": "7d0c5a8e-3f1b-4c2a-9e6d-0b1a2c3d4e5f",
    "createdAt": "2025-03-01T14:05:09.120Z",
}
(HERE / "golden-key.json").write_text(json.dumps(key_file, indent=2) + "\n", encoding="utf-8")

# A document blob sealed under that vault key, named as the vault names it.
blob_plain = b"%PDF-1.4\n% golden licence scan\n" + bytes(range(256))
blob_hash = hashlib.sha256(blob_plain).hexdigest()
(HERE / "golden-blob.pbb").write_bytes(seal(blob_plain, vault_key, bytes(range(0xC0, 0xCC))))

# A whole backup: Python's own zipfile writes the archive, holding the key file
# above, a vault document sealed under its key, and the blob that document
# points at. Entry order and timestamps differ from ours on purpose.
vault_document = {
    "format": "pembrose-vault",
    "version": 1,
    "vaultId": key_file["vaultId"],
    "people": [{"id": "p-golden", "name": "Dana Whitfield", "degree": "NP", "primaryState": "OR"}],
    "credentials": [
        {"id": "c-golden", "personId": "p-golden", "kind": "stateLicense", "state": "OR",
         "number": "201912345RN", "issuedOn": "2019-06-01", "expiresOn": "2027-06-30"}
    ],
    "cme": [
        {"id": "m-golden", "personId": "p-golden", "title": "Pain management update", "hours": 7, "category": "ce",
         "completedOn": "2026-02-10"}
    ],
    "documents": [
        {"id": "d-golden", "personId": "p-golden", "filename": "licence.pdf", "contentType": "application/pdf",
         "blobHash": blob_hash, "addedAt": "2025-03-01T14:06:00Z", "size": len(blob_plain)}
    ],
    "packets": [],
    "healthRecords": [],
}
sealed_document = seal(json.dumps(vault_document).encode("utf-8"), vault_key, bytes(range(0xD0, 0xDC)))
with zipfile.ZipFile(HERE / "golden-backup.pbbackup", "w", compression=zipfile.ZIP_STORED) as archive:
    def add(name: str, data: bytes) -> None:
        archive.writestr(zipfile.ZipInfo(name, date_time=(2025, 3, 1, 14, 7, 0)), data)

    add("vault.key", (HERE / "golden-key.json").read_bytes())
    add("blobs/" + blob_hash + ".pbb", (HERE / "golden-blob.pbb").read_bytes())
    add("vault.pbv", sealed_document)

print("blob sha256:", blob_hash)
print("pbkdf2 310000:", hashlib.pbkdf2_hmac("sha256", passphrase.encode("utf-8"), salt, 310000, 32).hex())
print("pbkdf2 1000:", passphrase_key.hex())

"""Signs a file with the key of a container and verifies the signature.

    python sign_file.py CONTAINER FILE

It asks for the PIN, leaves FILE.sig and FILE.cer, and ends with 0, with 1 when something was refused, with 2 for wrong
arguments. It needs pywin32 and a 64-bit Python.
"""

import getpass
import os
import sys

import win32com.client


def sign(container, path, pin):
    manager = win32com.client.Dispatch("TOLVSecCOM.DeviceMgr")
    crypto = win32com.client.Dispatch("TOLVSecCOM.Crypto")
    certificate = win32com.client.Dispatch("TOLVSecCOM.Certificate")
    util = win32com.client.Dispatch("TOLVSecCOM.Util")

    # What the methods give tells how they went; they raise nothing.
    if manager.userLoginEx("", container, "", pin) != 0:
        print("refused; tries left:", manager.getKeyRetrysEx(container, ""))
        return 1
    signature = crypto.signFile(path, container)
    if not signature:
        print("the key did not sign")
        return 1

    certificate.importCert(container, 5)
    signer = certificate.exportCert(1)
    verified = crypto.verifySignFile(path, signer, signature)
    print("signature verified" if verified == 0 else "the signature does not hold")
    saved = util.base64DecodeFile(signature, path + ".sig"), util.base64DecodeFile(signer, path + ".cer")
    return 0 if verified == 0 and saved == (0, 0) else 1


def main(arguments):
    if len(arguments) != 3:
        print("usage: python sign_file.py CONTAINER FILE", file=sys.stderr)
        return 2
    # The component wants the whole path: it knows nothing of Python's working folder.
    return sign(arguments[1], os.path.abspath(arguments[2]), getpass.getpass("PIN: "))


if __name__ == "__main__":
    sys.exit(main(sys.argv))

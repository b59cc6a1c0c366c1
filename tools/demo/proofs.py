"""The demonstration's proofs: openssl and xmlsec1, which know nothing of this project, look at what was made."""

from pathlib import Path

from run import StepFailed

SECRET = "Secret \u79d8\u5bc6 42"
SM2_USER_ID = "distid:1234567812345678"


def show(machine, transcript, rsa, sm2, foreign):
    # Named from the working folder, where they run: the transcript stays short.
    folder, ca = {"rsa": Path(rsa), "sm2": Path(sm2)}, Path("ca")
    for kind, place in folder.items():
        machine.native(["openssl", "x509", "-inform", "DER", "-in", place / "certificate.cer", "-out",
                        place / "certificate.pem"])
        key = machine.native(["openssl", "x509", "-in", place / "certificate.pem", "-noout", "-pubkey"])
        (machine.work / place / "public.pem").write_text(key + "\n", encoding="ascii")

    transcript.step("openssl verify: Mary Miller's chain and revocation list",
                    lambda: machine.native(["openssl", "verify", "-crl_check", "-CAfile", ca / "rsa-chain.pem",
                                            "-CRLfile", ca / "rsa-crl.pem", folder["rsa"] / "certificate.pem"]))
    transcript.step("openssl dgst: the RSA signature of the text",
                    lambda: machine.native(["openssl", "dgst", "-sha256", "-verify", folder["rsa"] / "public.pem",
                                            "-signature", folder["rsa"] / "signature.bin", folder["rsa"] / "text.txt"]))
    transcript.step("openssl pkeyutl: the SM2 signature of the text, with the user id",
                    lambda: machine.native(sm2_verify(folder["sm2"])))
    transcript.step("openssl dgst: a changed byte",
                    lambda: refuse_changed(machine, folder["rsa"]))
    transcript.step("openssl cms: the signed message, and its content",
                    lambda: machine.native(["openssl", "cms", "-verify", "-inform", "DER", "-purpose", "any",
                                            "-CAfile", ca / "rsa-chain.pem", "-in", folder["rsa"] / "message.p7b"]))
    issuer, root = split_chain(machine, ca / "rsa-chain.pem")
    transcript.step("xmlsec1: the signed XML, by the certificate in it and its chain",
                    lambda: machine.native(["xmlsec1", "--verify", "--untrusted-pem", issuer, "--trusted-pem", root,
                                            folder["rsa"] / "order-signed.xml"]))
    transcript.step("openssl cms: opens the envelope that was sealed for its own user",
                    lambda: open_envelope(machine, Path(foreign)))


def split_chain(machine, chain):
    """xmlsec1 reads one certificate from a file: the issuer's and the root's get files of their own."""
    end = "-----END CERTIFICATE-----\n"
    issuer, root = (block + end for block in (machine.work / chain).read_text(encoding="ascii").split(end)[:2])
    files = chain.with_name("issuer.pem"), chain.with_name("root.pem")
    for file, text in zip(files, (issuer, root)):
        (machine.work / file).write_text(text, encoding="ascii")
    return files


def sm2_verify(place):
    return ["openssl", "pkeyutl", "-verify", "-pubin", "-inkey", place / "public.pem", "-rawin", "-digest", "sm3",
            "-pkeyopt", SM2_USER_ID, "-sigfile", place / "signature.bin", "-in", place / "text.txt"]


def refuse_changed(machine, place):
    text = bytearray((machine.work / place / "text.txt").read_bytes())
    text[0] ^= 1
    (machine.work / place / "changed.txt").write_bytes(text)
    answer = machine.native(["openssl", "dgst", "-sha256", "-verify", place / "public.pem", "-signature",
                             place / "signature.bin", place / "changed.txt"], code=1)
    if "Verification failure" not in answer:
        raise StepFailed(f"a changed text was not refused: {answer}")
    return "Verification failure, as it should be"


def open_envelope(machine, place):
    text = machine.native(["openssl", "cms", "-decrypt", "-inform", "DER", "-in", place / "envelope.p7m", "-inkey",
                           "foreign/key.pem"])
    if text != SECRET:
        raise StepFailed(f"the envelope held something else: {text}")
    return text

"""What the demonstration shows, chapter by chapter, in the order of a working day with a key.

How a program is run and judged is left to run.py; what the foreign tools prove, to proofs.py.
"""

from pathlib import Path

import proofs
from run import ROOT, StepFailed

PIN, ADMIN_PIN = "12345678", "87654321"
# Two vendors' keys: one of the older kind with RSA, one with the national algorithms.
LATIN, CHINESE = "DEMO-RSA-0001", "DEMO-SM2-0002"
CHINESE_USER, LATIN_USER = "\u5f20\u4e09", "Mary Miller"
LATIN_CONTAINER, CHINESE_CONTAINER, FOREIGN_CONTAINER = "miller", "zhangsan", "colleague"
FORMER_CONTAINER = "former"

LAST_WORDS = """
What was proved: a page's own calls work from end to end without hardware, what must fail fails, and programs that
nobody here wrote (openssl, xmlsec1) verify the signatures and open the envelopes that came out.

Where to go next
    samples/README.md     the programs that ran, to copy from; docs/reference.md has every method
    docs/softkey.md       making keys of your own. Those of this run:
                          KZR_SOFTKEY_HOME='C:\\demo\\softkey' script/wine --build build/demo out/softkey.exe list
    build/demo            the machine it ran on; wine/drive_c/demo has all the files that were made
    docs/log.md           the log of what just happened: the support engineer's view
    script/test           every test of the project"""


def preparation(machine, transcript):
    transcript.title("A machine without hardware: the component, and a software key as its backend")
    dll = machine.windows(machine.products / "KzrSecX_x64.dll")
    transcript.step(f"regsvr32 /s KzrSecX_x64.dll", lambda: machine.system(["regsvr32", "/s", dll]))
    transcript.step("softkey register", lambda: machine.product(["softkey.exe", "register"]))
    # The log folder is the log's switch; its lines are counted at the end.
    (log_folder(machine)).mkdir(parents=True, exist_ok=True)
    for old in log_folder(machine).glob("*.log"):
        old.unlink()


def log_folder(machine):
    return machine.drive / "users/kzr/AppData/LocalLow/TOLV/log"


def shown(folder):
    """A folder as whoever stands in the source tree names it."""
    return folder.relative_to(ROOT) if folder.is_relative_to(ROOT) else folder


def keys(machine, transcript):
    transcript.title("Two keys: one with RSA for Mary Miller, one with SM2 for \u5f20\u4e09")
    people = {LATIN: ["--provider", "Vendor A CSP",
                      "--rsa", f"{LATIN_USER};container={LATIN_CONTAINER};mail=mary@example.com"],
              CHINESE: ["--provider", "Vendor B CSP",
                        "--sm2", f"{CHINESE_USER};container={CHINESE_CONTAINER};o=\u793a\u4f8b",
                        "--sm2", f"Former Employee;container={FORMER_CONTAINER}"]}
    for serial, users_of in people.items():
        arguments = ["create", serial, *users_of, "--pin", PIN, "--admin-pin", ADMIN_PIN]
        words = [f'"{part}"' if " " in part or ";" in part else part for part in arguments]
        transcript.step("softkey " + " ".join(words),
                        lambda arguments=arguments: machine.product(["softkey.exe", *arguments]))
    transcript.step(f"softkey revoke {FORMER_CONTAINER}",
                    lambda: machine.product(["softkey.exe", "revoke", FORMER_CONTAINER]))
    colleague(machine, transcript)
    (machine.work / "ca").mkdir()
    for kind in ("rsa", "sm2"):
        files = ["--chain", rf"C:\demo\ca\{kind}-chain.pem", "--crl", rf"C:\demo\ca\{kind}-crl.pem"]
        transcript.step(f"softkey ca export --type {kind}: the test authority's chain and revocation list",
                        lambda kind=kind, files=files:
                        machine.product(["softkey.exe", "ca", "export", "--type", kind, *files]))
    transcript.step("softkey list", lambda: machine.product(["softkey.exe", "list"]))


def colleague(machine, transcript):
    """A pair that openssl made: what is sealed for it, openssl can open."""
    place = Path("foreign")
    (machine.work / place).mkdir()
    password = "colleague"
    transcript.step("openssl makes a key, a certificate and a PKCS#12 file for a third user", lambda: "\n".join((
        machine.native(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "365", "-subj",
                        "/C=CN/O=Elsewhere/CN=Foreign Colleague", "-keyout", place / "key.pem", "-out",
                        place / "certificate.pem"]),
        machine.native(["openssl", "pkcs12", "-export", "-inkey", place / "key.pem", "-in",
                        place / "certificate.pem", "-passout", "pass:" + password, "-out", place / "pair.p12"]))),
                    shown=False)
    transcript.step(f"softkey import {LATIN} pair.p12",
                    lambda: machine.product(["softkey.exe", "import", LATIN, r"C:\demo\foreign\pair.p12",
                                             "--password", password, "--pin", PIN, "--container",
                                             FOREIGN_CONTAINER]))


def users(machine, transcript):
    transcript.title("Who is there? Users and certificates of the plugged keys")
    text = transcript.step("list-users.js", lambda: machine.sample("jscript/list-users.js"))
    for name in (CHINESE_USER, LATIN_USER):
        if f"User {name} " not in text:
            raise StepFailed(f"{name} is missing among the users")
    transcript.step("list-users.vbs, the same in VBScript", lambda: machine.sample("vbscript/list-users.vbs"),
                    shown=False)
    transcript.step(f"show-certificate.js {LATIN_CONTAINER}: fields, days of validity",
                    lambda: machine.sample("jscript/show-certificate.js", LATIN_CONTAINER))


def login(machine, transcript):
    transcript.title("Logging in: a wrong PIN costs a try, the right one gives them back")
    transcript.step(f"log-in.js {LATIN_CONTAINER} with a wrong PIN",
                    lambda: machine.sample("jscript/log-in.js", LATIN_CONTAINER, "00000000", code=1))
    transcript.step(f"log-in.js {LATIN_CONTAINER} with the right PIN",
                    lambda: machine.sample("jscript/log-in.js", LATIN_CONTAINER, PIN))
    transcript.step(f"change-pin.js {LATIN_CONTAINER}, and back",
                    lambda: machine.sample("jscript/change-pin.js", LATIN_CONTAINER, PIN, "another1") + "\n" +
                    machine.sample("jscript/change-pin.js", LATIN_CONTAINER, "another1", PIN))


def trust(machine, transcript):
    transcript.title("Is a certificate to be trusted? Chain and revocation")
    ca = r"C:\demo\ca"
    for container, kind in ((LATIN_CONTAINER, "rsa"), (CHINESE_CONTAINER, "sm2")):
        arguments = [container, rf"{ca}\{kind}-chain.pem", rf"{ca}\{kind}-crl.pem"]
        transcript.step(f"check-certificate.js {container}",
                        lambda arguments=arguments: machine.sample("jscript/check-certificate.js", *arguments))
    transcript.step(f"check-certificate.js {FORMER_CONTAINER}: revoked",
                    lambda: machine.sample("jscript/check-certificate.js", FORMER_CONTAINER,
                                           rf"{ca}\sm2-chain.pem", rf"{ca}\sm2-crl.pem", code=1))
    transcript.step(f"check-certificate.js {FOREIGN_CONTAINER}, issued by nobody we know: not trusted",
                    lambda: machine.sample("jscript/check-certificate.js", FOREIGN_CONTAINER,
                                           rf"{ca}\rsa-chain.pem", rf"{ca}\rsa-crl.pem", code=1))


def signatures(machine, transcript):
    transcript.title("Signing and verifying: texts, messages, files, XML; a changed byte must fail")
    for container in (LATIN_CONTAINER, CHINESE_CONTAINER):
        folder = machine.work / container
        folder.mkdir(exist_ok=True)
        (folder / "contract.txt").write_text("Contract \u5408\u540c 42\n" * 4000, encoding="utf-8")
        here = machine.windows(folder)
        runs = (("sign-text.js", ["", here]),
                ("sign-message.js", ["", here]),
                ("sign-file.js", [rf"{here}\contract.txt"]),
                ("sign-xml.js", [here]))
        for name, rest in runs:
            transcript.step(f"{name} {container}",
                            lambda name=name, rest=rest, container=container:
                            machine.sample("jscript/" + name, container, PIN, *rest))


def secrets(machine, transcript):
    transcript.title("Encrypting: for a person, with a key of one's own, in shares")
    for container in (LATIN_CONTAINER, CHINESE_CONTAINER, FOREIGN_CONTAINER):
        (machine.work / container).mkdir(exist_ok=True)
        here = machine.windows(machine.work / container)
        transcript.step(f"seal-envelope.js {container}",
                        lambda container=container, here=here:
                        machine.sample("jscript/seal-envelope.js", container, PIN, "", here))
    for container in (LATIN_CONTAINER, CHINESE_CONTAINER):
        transcript.step(f"encrypt-for-certificate.js {container}",
                        lambda container=container:
                        machine.sample("jscript/encrypt-for-certificate.js", container, PIN))
    transcript.step("encrypt-text.js", lambda: machine.sample("jscript/encrypt-text.js", "a key of mine"))
    transcript.step("encrypt-file.js",
                    lambda: machine.sample("jscript/encrypt-file.js", "a key of mine",
                                           rf"C:\demo\{LATIN_CONTAINER}\contract.txt"))
    transcript.step("share-secret.js: five shares, three needed",
                    lambda: machine.sample("jscript/share-secret.js", "the combination is 7-12-40"))


def smaller_things(machine, transcript):
    transcript.title("Hashes, random data, files on a key, renaming a file")
    contract = rf"C:\demo\{LATIN_CONTAINER}\contract.txt"
    transcript.step("hash.js", lambda: machine.sample("jscript/hash.js", "abc", contract))
    transcript.step("random.js", lambda: machine.sample("jscript/random.js", "16"))
    transcript.step("key-files.js", lambda: machine.sample("jscript/key-files.js", CHINESE_CONTAINER, "note"))
    (machine.work / "old.txt").write_text("renamed\n", encoding="ascii")
    transcript.step("rename-file.js", lambda: machine.sample("jscript/rename-file.js", r"C:\demo\old.txt",
                                                             r"C:\demo\new.txt"))
    if not (machine.work / "new.txt").is_file():
        raise StepFailed("there is no new.txt")


def news_of_keys(machine, transcript):
    transcript.title("The control hears of keys: one is pulled and plugged while a window listens")

    def watch():
        host = machine.start([machine.products / "usbkeyhost.exe", "--on-event", "getUserList", "--events", "2",
                              "--seconds", "20"])
        host.wait_for("the control is ready")
        machine.product(["softkey.exe", "unplug", CHINESE])
        host.wait_for("event OnUSBKeyChange 1")
        machine.product(["softkey.exe", "plug", CHINESE])
        return host.finish()

    text = transcript.step(f"usbkeyhost, while softkey unplugs and plugs {CHINESE}", watch)
    if text.count("OnUSBKeyChange") < 2:
        raise StepFailed("the window did not hear of both changes")


def foreign_proofs(machine, transcript):
    transcript.title("The proof by others: openssl and xmlsec1 check what was made")
    proofs.show(machine, transcript, LATIN_CONTAINER, CHINESE_CONTAINER, FOREIGN_CONTAINER)


def support(machine, transcript):
    transcript.title("The support engineer's view")

    def count():
        files = sorted(log_folder(machine).glob("*.log"))
        lines = [line for file in files for line in file.read_text("gbk", errors="replace").splitlines()]
        # A few lines of success carry the level of errors, too; the code tells them apart.
        errors = [line for line in lines if "[error]" in line and "status(0)" not in line]
        if not lines or not errors:
            raise StepFailed(f"{len(lines)} lines and {len(errors)} errors in {log_folder(machine)}")
        return "\n".join([f"{len(files)} log files in {shown(log_folder(machine))}",
                          f"{len(lines)} lines, {len(errors)} of them with a code: what was refused on purpose. One "
                          "of them:", errors[0]])

    transcript.step("the log", count)


CHAPTERS = (preparation, keys, users, login, trust, signatures, secrets, smaller_things, news_of_keys, foreign_proofs,
            support)

"""What the samples are asked with real keys: the software key's, one RSA and one SM2, of users alice and zhang.

Here nothing is told what to answer, so the exit codes count, and a few lines that hold for any key.
"""

from cases import Case

PIN = "123456"
MESSAGE = "The message holds, gives its text back, and a changed one fails."


def of_container(name):
    """The samples that need a container, in an order that leaves the key as it was."""
    title = name.capitalize()
    return [
        Case(f"{title}LogsInWithAWrongPin", "jscript/log-in.js", [name, "999999"], code=1, lines=["    10", "    9"]),
        Case(f"{title}LogsIn", "jscript/log-in.js", [name, PIN], lines=["    9", "    0, logged in", "    10"]),
        Case(f"{title}ChangesThePin", "jscript/change-pin.js", [name, PIN, "654321"], lines=["    0, changed"]),
        Case(f"{title}HasAnotherPinNow", "jscript/change-pin.js", [name, PIN, "654321"], code=1),
        Case(f"{title}ChangesItBack", "jscript/change-pin.js", [name, "654321", PIN], lines=["    0, changed"]),
        Case(f"{title}ShowsTheCertificate", "jscript/show-certificate.js", [name], lines=["     1  version        3"]),
        Case(f"{title}SignsAText", "jscript/sign-text.js", [name, PIN, "hello", "."], lines=["    0", "    -1"],
             left=["text.txt", "signature.bin", "certificate.cer"]),
        Case(f"{title}SignsAMessage", "jscript/sign-message.js", [name, PIN, "hello", "."],
             lines=["    hello", MESSAGE], left=["message.p7b"]),
        Case(f"{title}SignsAFile", "jscript/sign-file.js", [name, PIN, "letter.txt"], lines=["    0", "    -1"],
             files={"letter.txt": "Dear all\n"}, left=["letter.txt.sig", "letter.txt.cer"]),
        Case(f"{title}SignsXml", "jscript/sign-xml.js", [name, PIN, "."], lines=["    0", "    -1"],
             left=["order-signed.xml"]),
        Case(f"{title}SealsAnEnvelope", "jscript/seal-envelope.js", [name, PIN, "hello"], lines=["    hello"]),
        Case(f"{title}EncryptsForTheCertificate", "jscript/encrypt-for-certificate.js", [name, PIN, "hello"],
             lines=["    hello"]),
        Case(f"{title}KeepsAFile", "jscript/key-files.js", [name, "notes", "hello"], lines=["    hello", "    "]),
        Case(f"{title}SignsInVbScript", "vbscript/sign-text.vbs", [name, PIN, "hello"]),
        Case(f"{title}IsNotCheckedWithoutAChain", "jscript/check-certificate.js", [name, "missing.pem"], code=1,
             lines=["    -1003, the chain or the list cannot be read"]),
    ]


WITHOUT_A_CONTAINER = [
    Case("UsersAreListed", "jscript/list-users.js", lines=["2 users on 2 keys"]),
    Case("UsersAreListedInVbScript", "vbscript/list-users.vbs", lines=["2 users"]),
    Case("TextsAreEncrypted", "jscript/encrypt-text.js", ["a key"],
         lines=["The text came back each time, and never with a wrong key."]),
    Case("AFileIsEncrypted", "jscript/encrypt-file.js", ["a key", "letter.txt"],
         lines=["The file came back, and not with a wrong key."], files={"letter.txt": "Dear all\n"},
         left=["letter.txt.enc", "letter.txt.dec"]),
    # The published digests of "abc": SHA-1, SHA-512.
    Case("DigestsArePublishedOnes", "jscript/hash.js", ["abc"],
         lines=["    qZk+NkcGgWq6PiVxeFDCbJzQ2J0=",
                "    3a81oZNherrMQXNJriBBMRLm+k6JqX6iCp7u5ktV05ohkpkqJ0/BqDa6PCOj/uu9RU1EI2Q86A4qmslPpUyknw=="]),
    Case("RandomIsNeverTheSame", "jscript/random.js", ["32"]),
    Case("ASecretIsShared", "jscript/share-secret.js", ["sesame", "5", "3", "1"], lines=["    sesame"]),
]

"""What the script samples are asked in the tests, what the backend answers then, and what must come of it.

A case's rules are those of the test backend (tests/fakes/BackendRules.h): two users, c1 and c2. Its lines have to
be among the script's, in this order. What the scripts do with real keys is left to the demonstration.
"""

from dataclasses import dataclass, field


@dataclass
class Case:
    name: str
    script: str
    arguments: list = field(default_factory=list)
    rules: str = ""
    code: int = 0
    lines: list = field(default_factory=list)
    # Files made in the case's folder, which is the working folder: name and text.
    files: dict = field(default_factory=dict)
    # Names that the folder holds at the end, beside those.
    left: list = field(default_factory=list)
    # Lines that come exactly once.
    once: list = field(default_factory=list)


CERTIFICATES = """
SOF_ExportUserCert(c1/SN01) = text SIGN1
SOF_ExportExChangeUserCert(c1/SN01) = text EXCH1
SOF_ExportUserCert = empty
SOF_ExportExChangeUserCert = empty
"""
PIN = """
SOF_Login(c1/SN01, 1234) = bool true
SOF_Login = bool false
SOF_GetPinRetryCount(c1/SN01) = i4 7
SOF_GetPinRetryCount = hresult 80004005
"""
FIELDS = CERTIFICATES + """
SOF_GetCertInfo(SIGN1, 2) = text 0A1B
SOF_GetCertInfo(SIGN1, 8) = text Some Authority
SOF_GetCertInfo(SIGN1, 11) = text 20230405101112Z
SOF_GetCertInfo(SIGN1, 12) = text 20301231120000Z
SOF_GetCertInfo(SIGN1, 20) = text CN=Alice
"""
TEXT = PIN + CERTIFICATES + """
SOF_SignData(c1/SN01, hello) = text SIGNATURE
SOF_VerifySignedData(SIGN1, hello, SIGNATURE) = bool true
SOF_VerifySignedData = bool false
"""
MESSAGE = PIN + """
SOF_SignMessage(0, c1/SN01, hello) = text MIIBsomethingAsignature==
SOF_VerifySignedMessage(MIIBsomethingAsignature==, ) = bool true
SOF_VerifySignedMessage = bool false
SOF_GetInfoFromSignedMessage(MIIBsomethingAsignature==, 1) = text hello
"""
FILE = PIN + CERTIFICATES + """
SOF_SignFile(c1/SN01, letter.txt) = text SIGNATURE
SOF_VerifySignedFile(SIGN1, letter.txt, SIGNATURE) = bool true
SOF_VerifySignedFile = bool false
"""
SIGNED = r'<order number="42"><buyer>\u5f20\u4e09</buyer><sum>1000</sum></order><signature/>'
XML = PIN + rf"""
SOF_SignDataXML = text {SIGNED}
SOF_VerifySignedDataXML({SIGNED.encode().decode("unicode_escape")}) = bool true
SOF_VerifySignedDataXML = bool false
"""
ENVELOPE = PIN + CERTIFICATES + """
SOF_EncryptDataEx(EXCH1, hello) = text ENVELOPE
SOF_DecryptData(c1/SN01, ENVELOPE) = text hello
SOF_DecryptData = empty
"""
SYMMETRIC = """
SOF_HashData(8, key) = text DIGEST
SOF_SymEncryptData(DIGEST, hello) = text SECRET1
SOF_SymDecryptData(DIGEST, SECRET1) = text hello
SOF_SymEncryptData(key, hello) = text SECRET2
SOF_SymDecryptData(key, SECRET2) = text hello
SOF_SymDecryptData = hresult 80004005
"""
SYMMETRIC_FILE = """
SOF_SymEncryptFile(key, letter.txt, letter.txt.enc) = bool true
SOF_SymDecryptFile(key, letter.txt.enc, letter.txt.dec) = bool true
SOF_SymDecryptFile = hresult 80004005
SOF_HashFile(2, letter.txt) = text DIGEST
SOF_HashFile(2, letter.txt.dec) = text DIGEST
SOF_HashFile = text ANOTHER
"""
SHARES = """
SOF_SecertSegment(abc, 5, 3, 0) = text s1;s2;s3;s4;s5
SOF_SecertRecovery(s1;s2;s3) = text abc
SOF_SecertRecovery = hresult 80004005
"""

LETTER = {"letter.txt": "Dear all\n"}

CASES = [
    Case("ListUsersShowsKeysAndUsers", "jscript/list-users.js", [],
         "GetAllDeviceSN = text SN01;SN02;\n" + FIELDS, 0,
         ["    CSP1||EXT1&&&CSP2||EXT2&&&", "    Alice||c1&&&Bob||c2&&&", "    c2&&&", "User Alice in container c1",
          "    key number    SN01", "    certificates  2", "    subject       CN=Alice", "User Bob in container c2",
          "    certificates  0", "2 users on 2 keys"]),
    Case("ListUsersAsksOnceForEachCspName", "jscript/list-users.js", [],
         "GetAllDeviceSN = text SN01;SN02;\nGetDeviceInfo(SN01, 9) = text ONE\nGetDeviceInfo(SN02, 9) = text ONE\n" +
         FIELDS, 0,
         ["    ONE||EXT1&&&ONE||EXT2&&&", "    Alice||c1&&&Bob||c2&&&", "    c1&&&c2&&&", "2 users on 2 keys"],
         once=["DeviceMgr.enumUserCertificates(\"ONE\"): its containers"]),
    Case("ListUsersSaysThatNothingIsPluggedIn", "jscript/list-users.js", [],
         "GetAllDeviceSN = empty\nSOF_GetUserList = empty", 1, ["0 users on 0 keys"]),
    Case("LogInWithTheRightPin", "jscript/log-in.js", ["c1", "1234"], PIN, 0, ["    7", "    0, logged in", "    7"]),
    Case("LogInWithAWrongPinShowsTheTriesLeft", "jscript/log-in.js", ["c1", "9999"], PIN, 1,
         ["    -1, refused", "    7",
          "Wrong PIN. Ask the user before another try: it is not to be had from a program."]),
    Case("LogInToALockedKeySaysSo", "jscript/log-in.js", ["c1", "9999"], "SOF_GetPinRetryCount = i4 0\n" + PIN, 1,
         ["The key is locked; its issuer can unblock it."]),
    Case("LogInToAnUnknownContainerSaysSo", "jscript/log-in.js", ["nobody", "1234"], PIN, 1,
         ["    -1011", "No plugged-in key has the container nobody."]),
    Case("ChangePin", "jscript/change-pin.js", ["c1", "1234", "4321"],
         "SOF_ChangePassWd(c1/SN01, 1234, 4321) = bool true\nSOF_ChangePassWd = bool false", 0, ["    0, changed"]),
    Case("ChangePinWithAWrongOne", "jscript/change-pin.js", ["c1", "9999", "4321"],
         "SOF_ChangePassWd(c1/SN01, 1234, 4321) = bool true\nSOF_ChangePassWd = bool false", 1, ["    -1, refused"]),
    Case("ShowCertificate", "jscript/show-certificate.js", ["c1", "2030/12/29"], FIELDS, 0,
         ["     2  serial number  0a1b", "     4  issuer         Some Authority", "     5  valid from     2023/04/05",
          "     6  valid to       2030/12/31", "     7  subject        CN=Alice", "    1"]),
    Case("ShowCertificateOfAnUnknownContainer", "jscript/show-certificate.js", ["nobody"], FIELDS, 1,
         ["No plugged-in key gives a certificate for nobody."]),
    Case("ShowCertificateOnADateThatIsNone", "jscript/show-certificate.js", ["c1", "2030-12-29"], FIELDS, 2,
         ["usage: cscript //nologo show-certificate.js CONTAINER [YYYY/MM/DD]"]),
    Case("CheckCertificate", "jscript/check-certificate.js", ["c1", "C:\\chain", "C:\\list"],
         CERTIFICATES + "Base64EncodeFile(C:\\chain) = text CHAIN\nSetUserConfig(6, CHAIN) = bool true\n"
         "Base64EncodeFile(C:\\list) = text LIST\nSetUserConfig(5, LIST) = bool true\n"
         "SOF_ValidateCert(SIGN1) = i4 0", 0, ["    0, valid"]),
    Case("CheckCertificateOfARevokedOne", "jscript/check-certificate.js", ["c1", "C:\\chain"],
         CERTIFICATES + "SOF_ValidateCert(SIGN1) = i4 -3", 1, ["    -3, revoked"]),
    Case("CheckCertificateWithoutItsChain", "jscript/check-certificate.js", ["c1", "C:\\chain"],
         CERTIFICATES + "Base64EncodeFile = empty", 1, ["    -1003, the chain or the list cannot be read"]),
    Case("SignText", "jscript/sign-text.js", ["c1", "1234", "hello"], TEXT, 0,
         ["    SIGNATURE", "    0", "    -1", "The signature holds, and holds for this text only."]),
    Case("SignTextNoticesASignatureThatHoldsForEveryText", "jscript/sign-text.js", ["c1", "1234", "hello"],
         "SOF_VerifySignedData = bool true\n" + TEXT, 1, ["The signature does not tell the texts apart."]),
    Case("SignTextEndsWithTheLogin", "jscript/sign-text.js", ["c1", "9999", "hello"], TEXT, 1, ["    -1"]),
    Case("SignMessage", "jscript/sign-message.js", ["c1", "1234", "hello"], MESSAGE, 0,
         ["    0", "    -1", "    hello", "The message holds, gives its text back, and a changed one fails."]),
    Case("SignMessageNoticesAMessageThatAlwaysHolds", "jscript/sign-message.js", ["c1", "1234", "hello"],
         "SOF_VerifySignedMessage = bool true\n" + MESSAGE, 1, ["The message does not hold what it promises."]),
    Case("SignFile", "jscript/sign-file.js", ["c1", "1234", "letter.txt"], FILE, 0,
         ["    0", "    -1", "The signature holds, and holds for this file only."], LETTER, ["letter.txt.changed"]),
    Case("SignFileSaysThatItCouldNotBeSaved", "jscript/sign-file.js", ["c1", "1234", "letter.txt"],
         "Base64DecodeFile = bool false\n" + FILE, 1, ["Could not be saved beside letter.txt"], LETTER),
    Case("SignFileNoticesASignatureThatHoldsForEveryFile", "jscript/sign-file.js", ["c1", "1234", "letter.txt"],
         "SOF_VerifySignedFile = bool true\n" + FILE, 1, ["The signature does not tell the files apart."], LETTER,
         ["letter.txt.changed"]),
    Case("SignXml", "jscript/sign-xml.js", ["c1", "1234"], XML, 0,
         ["    0", "    -1", "The signature holds, and holds for this document only."]),
    Case("SignXmlNoticesASignatureThatAlwaysHolds", "jscript/sign-xml.js", ["c1", "1234"],
         "SOF_VerifySignedDataXML = bool true\n" + XML, 1, ["The signature does not tell the documents apart."]),
    Case("SignXmlSaysThatItCouldNotBeSaved", "jscript/sign-xml.js", ["c1", "1234", "nowhere"],
         "Base64DecodeFile = bool false\n" + XML, 1, ["Could not be saved in nowhere\\"]),
    Case("SealEnvelope", "jscript/seal-envelope.js", ["c1", "1234", "hello"], ENVELOPE, 0,
         ["    ENVELOPE", "    hello", "The text came back."]),
    Case("SealEnvelopeForTheOnlyCertificate", "jscript/seal-envelope.js", ["c1", "1234", "hello"],
         "SOF_ExportExChangeUserCert = empty\nSOF_EncryptDataEx(SIGN1, hello) = text ENVELOPE\n" + ENVELOPE, 0,
         ["Certificate.importCert(\"c1\", 5): the only one", "The text came back."]),
    Case("SealEnvelopeNoticesAnotherText", "jscript/seal-envelope.js", ["c1", "1234", "hello"],
         "SOF_DecryptData = text another\n" + ENVELOPE, 1, ["The text did not come back."]),
    Case("SealEnvelopeSaysThatItCouldNotBeSaved", "jscript/seal-envelope.js", ["c1", "1234", "hello", "nowhere"],
         "Base64DecodeFile = bool false\n" + ENVELOPE, 1, ["Could not be saved in nowhere\\"]),
    Case("EncryptForCertificate", "jscript/encrypt-for-certificate.js", ["c1", "1234", "hello"],
         PIN + CERTIFICATES + "SOF_PubKeyEncrypt(EXCH1, hello) = text SECRET\n"
         "SOF_PriKeyDecrypt(c1/SN01, SECRET) = text hello", 0, ["    SECRET", "    hello", "The text came back."]),
    Case("EncryptForCertificateNoticesAnotherText", "jscript/encrypt-for-certificate.js", ["c1", "1234", "hello"],
         PIN + CERTIFICATES, 1, ["The text did not come back."]),
    Case("EncryptText", "jscript/encrypt-text.js", ["key", "hello"], SYMMETRIC, 0,
         ["    SECRET1", "    hello", "    SECRET2", "    hello",
          "The text came back each time, and never with a wrong key."]),
    Case("EncryptTextNoticesThatAnyKeyFits", "jscript/encrypt-text.js", ["key", "hello"],
         "SOF_HashData = text DIGEST\n" + SYMMETRIC, 1, ["Only 5 of 6 answers are as they should be."]),
    Case("EncryptFile", "jscript/encrypt-file.js", ["key", "letter.txt"], SYMMETRIC_FILE, 0,
         ["    0", "    0", "    -1", "The file came back, and not with a wrong key."], LETTER),
    Case("EncryptFileNoticesThatAnyKeyFits", "jscript/encrypt-file.js", ["key", "letter.txt"],
         "SOF_SymDecryptFile = bool true\n" + SYMMETRIC_FILE, 1, ["The file did not come back as it was."], LETTER),
    Case("Hash", "jscript/hash.js", ["abc", "letter.txt"],
         "SOF_HashData(2, abc) = text D1\nSOF_HashData(8, abc) = text D2\nSOF_HashFile(2, letter.txt) = text D3", 0,
         ["    D1", "    D2", "    D3"]),
    Case("HashOfAFileThatIsNotThere", "jscript/hash.js", ["abc", "letter.txt"], "SOF_HashFile = hresult 80004005", 1,
         ["A digest is empty: the log says why."]),
    Case("RandomNoticesTheSameTwice", "jscript/random.js", ["8"], "", 1, ["    SOF_GenRandom(8)"]),
    Case("RandomOfMoreThanAShortHolds", "jscript/random.js", ["32768"], "", 2,
         ["usage: cscript //nologo random.js [BYTES]"]),
    Case("RandomOfOneByteMayRepeat", "jscript/random.js", ["1"], "", 0, ["    SOF_GenRandom(1)"]),
    Case("ShareSecret", "jscript/share-secret.js", ["abc"], SHARES, 0,
         ["    s1;s2;s3;s4;s5", "    abc", "    ", "Enough shares give the secret back, fewer do not."]),
    Case("ShareSecretNoticesThatTooFewAreEnough", "jscript/share-secret.js", ["abc"],
         "SOF_SecertRecovery = text abc\n" + SHARES, 1, ["The shares do not keep the secret."]),
    Case("KeyFiles", "jscript/key-files.js", ["c1", "notes", "hello"],
         "ReadFile(SN01, notes) = text hello\nReadFile = empty", 0,
         ["    SN01", "    0", "    0", "    hello", "The key gave back what was written."]),
    Case("KeyFilesNoticesAnotherText", "jscript/key-files.js", ["c1", "notes", "hello"], "ReadFile = text other", 1,
         ["The key gave back something else."]),
    Case("RenameFile", "jscript/rename-file.js", ["letter.txt", "moved.txt"], "", 0, ["    0, renamed"], LETTER,
         ["moved.txt"]),
    Case("RenameFileThatIsNotThere", "jscript/rename-file.js", ["letter.txt", "moved.txt"], "", 1,
         ["    -1, refused"]),

    Case("ListUsersInVbScript", "vbscript/list-users.vbs", [], CERTIFICATES, 0,
         ["Alice in container c1", "    CSP name      CSP1", "    certificates  2", "Bob in container c2",
          "    certificates  0", "2 users"]),
    Case("ListUsersInVbScriptOfNone", "vbscript/list-users.vbs", [], "SOF_GetUserList = empty", 1, ["0 users"]),
    Case("LogInInVbScript", "vbscript/log-in.vbs", ["c1", "1234"], PIN, 0, ["    0", "    7"]),
    Case("LogInInVbScriptWithAWrongPin", "vbscript/log-in.vbs", ["c1", "9999"], PIN, 1, ["    -1", "    7"]),
    Case("ShowCertificateInVbScript", "vbscript/show-certificate.vbs", ["c1"], FIELDS, 0,
         ["subject        CN=Alice", "serial number  0a1b", "valid to       2030/12/31"]),
    Case("ShowCertificateInVbScriptOfNobody", "vbscript/show-certificate.vbs", ["nobody"], FIELDS, 1,
         ["No plugged-in key gives a certificate for nobody"]),
    Case("SignTextInVbScript", "vbscript/sign-text.vbs", ["c1", "1234", "hello"], TEXT, 0,
         ["signature       SIGNATURE", "the text        0", "a changed text  -1"]),
    Case("SignTextInVbScriptNoticesASignatureThatAlwaysHolds", "vbscript/sign-text.vbs", ["c1", "1234", "hello"],
         "SOF_VerifySignedData = bool true\n" + TEXT, 1, ["a changed text  0"]),
    Case("EncryptFileInVbScript", "vbscript/encrypt-file.vbs", ["encrypt", "key", "letter.txt", "letter.txt.enc"],
         SYMMETRIC_FILE, 0, ["encrypt letter.txt to letter.txt.enc", "    0"]),
    Case("EncryptFileInVbScriptWithAWrongKey", "vbscript/encrypt-file.vbs", ["decrypt", "no", "letter.txt.enc", "x"],
         SYMMETRIC_FILE, 1, ["    -1"]),
    Case("HashInVbScript", "vbscript/hash.vbs", ["text", "abc"], "SOF_HashData(2, abc) = text D1", 0, ["D1"]),
    Case("HashInVbScriptOfAMissingFile", "vbscript/hash.vbs", ["file", "x"], "SOF_HashFile = hresult 80004005", 1),
    Case("RenameFileInVbScript", "vbscript/rename-file.vbs", ["letter.txt", "moved.txt"], "", 0, ["    0"], LETTER,
         ["moved.txt"]),
    Case("RenameFileInVbScriptThatIsNotThere", "vbscript/rename-file.vbs", ["letter.txt", "moved.txt"], "", 1,
         ["    -1"]),
]

# Called with no arguments these do their work; all others say how they are used.
WITHOUT_ARGUMENTS = ("list-users", "random")

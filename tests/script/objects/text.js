// Text outside ASCII in arguments and results. What stays wide passes under every code page; containers went
// through the ANSI page when the user list was read, so a page without their characters has lost their names.
// Code pages: 936, 1252, 65001
var checks = 0, failed = 0;

function escaped(text) { return escape(String(text)); }

function same(name, expected, actual) {
    checks++;
    var good = expected === actual;
    if (!good) failed++;
    WScript.Echo(good ? "ok - " + name
                      : "not ok - " + name + ": expected <" + escaped(expected) + "> but got <" +
                            escaped(actual) + ">");
}

var chinese = "\u4e2d\u6587", accented = "caf\u00e9", rare = "\ud83d\udd11\u0e01\u05d0";

function wideText(certificate, crypto, util) {
    same("a Chinese argument", "matched", crypto.HashData(chinese));
    same("an accented argument", "matched", crypto.HashData(accented));
    same("an argument from three scripts", "matched", crypto.HashData(rare));
    same("Chinese both ways", "SOF_HashData(8," + chinese + ")", crypto.Hash(chinese));
    same("three scripts both ways", "SOF_HashData(8," + rare + ")", crypto.Hash(rare));
    same("a Chinese result", chinese, util.base64DecodeString("chinese"));
    same("a result from three scripts", rare, util.base64DecodeString("rare"));
    same("three Chinese arguments in their order", 0,
         crypto.verifySignedData("\u7b7e\u540d", "\u8bc1\u4e66", "\u539f\u6587"));
    same("the same in another order", -1, crypto.verifySignedData("\u539f\u6587", "\u8bc1\u4e66", "\u7b7e\u540d"));
    same("a Chinese recipient", "SOF_EncryptDataEx(" + chinese + ",x)", crypto.envelopedData("x", 1, chinese));
    same("a Chinese file name", "SOF_HashFile(2,C:\\" + chinese + ")", crypto.HashFile("C:\\" + chinese));
    same("a certificate that is Chinese", 0, certificate.importCert(chinese + rare, 1));
    same("and comes back as it is", chinese + rare, certificate.exportCert(1));
    certificate.importCert("\u8bc1\u4e66", 1);
    same("only ASCII letters are made small", "ab\u00c9\u4e2d", certificate.getBasicCertInfoByOID(2));
    same("a Chinese field", "\u5f20\u4e09", certificate.getBasicCertInfoByOID(41));
}

// Outside its locale's own page the platform may not be able to make such a name; the component can then do no
// more than the host's own file object.
function renamedFiles(util, mustWork) {
    var files = new ActiveXObject("Scripting.FileSystemObject");
    var folder = files.GetSpecialFolder(2) + "\\" + files.GetTempName();
    var plain = folder + "\\plain.txt", from = folder + "\\" + chinese + ".txt";
    var to = folder + "\\" + rare + accented + ".txt", works = true;
    files.CreateFolder(folder);
    try {
        files.CreateTextFile(from).Close();
        files.DeleteFile(from);
    } catch (e) {
        works = false;
    }
    files.CreateTextFile(plain).Close();
    same("the platform makes Chinese file names", true, works || !mustWork);
    same("a file gets a Chinese name", works ? 0 : -1, util.RenameFile(plain, from));
    same("and one from three scripts", works ? 0 : -1, util.RenameFile(from, to));
    same("it has its last name only", !works + " false " + works,
         [files.FileExists(plain), files.FileExists(from), files.FileExists(to)].join(" "));
    files.DeleteFolder(folder);
}

// Of the pages here 936 and 65001 have Chinese characters; all three have the accented letter.
function containers(certificate, crypto, manager, util, kept) {
    same("an accented container", "SOF_SignData(caf\u00e9/SN02,x)", crypto.signedData("x", accented));
    same("a Chinese container", kept ? "SOF_SignData(" + chinese + "/SN01,x)" : "SOF_SignData(,x)",
         crypto.signedData("x", chinese + "/any"));
    same("its device", kept ? "SN01" : "", manager.getKeySNEx(chinese, ""));
    same("its user", kept ? "\u5f20\u4e09" : "", util.getUserInfoByContainer(chinese, 1));
    same("its library", kept ? "\u5bc6\u94a5" : "", util.getUserInfoByContainer(chinese, 14));
    same("its extension", kept ? "\u6269\u5c55" : "", util.getUserInfoByContainer(chinese, 15));
    same("a login to it", kept ? 0 : -1, manager.userLoginEx("", chinese, "", "\u53e3\u4ee4"));
    same("a login by the Chinese library", kept ? 0 : -1, manager.userLogin("\u5bc6\u94a5", "\u53e3\u4ee4"));
    same("its certificate", kept ? 0 : -1, certificate.importCert(chinese, 5));
    same("the containers of the library", kept ? chinese + "&&&" : "??&&&",
         manager.enumUserCertificates("\u5bc6\u94a5"));
    same("the device of the Chinese extension", "SN01", manager.getKeySN("\u6269\u5c55"));
}

try {
    var certificate = new ActiveXObject("TOLVSecCOM.Certificate");
    var crypto = new ActiveXObject("TOLVSecCOM.Crypto");
    var manager = new ActiveXObject("TOLVSecCOM.DeviceMgr");
    var util = new ActiveXObject("TOLVSecCOM.Util");
    var shell = new ActiveXObject("WScript.Shell");
    var page = parseInt(shell.ExpandEnvironmentStrings("%KZR_TEST_CODE_PAGE%"), 10);
    same("the page is one of three", true, page === 936 || page === 1252 || page === 65001);
    wideText(certificate, crypto, util);
    renamedFiles(util, page === 1252);
    containers(certificate, crypto, manager, util, page !== 1252);
    same("no check was passed over", 31, checks);
    WScript.Echo("END");
} catch (e) {
    WScript.Echo("not ok - the script: " + (e.number >>> 0).toString(16) + " " + e.message);
    failed++;
}
WScript.Quit(failed ? 1 : 0);

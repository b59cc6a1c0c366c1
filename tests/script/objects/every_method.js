// Every method of the four objects from JScript, one row a call: method, arguments, what the page receives.
// every_method.rules says what the backend answers; where it says nothing, a call's own text comes back.
// Code pages: 936, 1252, 65001
var checks = 0, failed = 0, called = {}, methods = 0;

function report(name, good, why) {
    checks++;
    if (!good) failed++;
    WScript.Echo(good ? "ok - " + name : "not ok - " + name + ": " + why);
}

function same(name, expected, actual) {
    report(name, expected === actual,
           "expected <" + expected + "> but got <" + actual + "> (" + typeof actual + ")");
}

// A host's method takes no apply().
function invoke(object, method, a) {
    switch (a.length) {
        case 0: return object[method]();
        case 1: return object[method](a[0]);
        case 2: return object[method](a[0], a[1]);
        case 3: return object[method](a[0], a[1], a[2]);
        case 4: return object[method](a[0], a[1], a[2], a[3]);
        case 5: return object[method](a[0], a[1], a[2], a[3], a[4]);
    }
    throw new Error("too many arguments in a row");
}

function run(title, object, rows) {
    for (var i = 0; i < rows.length; i++) {
        var row = rows[i], name = title + "." + row[0] + "(" + row[1].join(", ") + ")";
        if (!called[title + "." + row[0]]) methods++;
        called[title + "." + row[0]] = true;
        try {
            same(name, row[2], invoke(object, row[0], row[1]));
        } catch (e) {
            report(name, false, "error " + (e.number >>> 0).toString(16) + " " + e.message);
        }
    }
}

function certificateRows(certificate) {
    run("Certificate", certificate, [
        ["exportCert", [1], "Cert_No_Load"],
        ["getBasicCertInfoByOID", [1], ""],
        ["checkValidaty", [], 0],
        ["getExtCertInfoByOID", ["1.2.3"], ""],
        ["validateCert", [""], -1],
        ["importCert", ["abc", 0], -1000],
        ["importCert", ["abc", 1], 0],
        ["exportCert", [1], "abc"],
        ["exportCert", [0], "Cert_No_Load"],
        ["importCert", ["file", 3], 0],
        ["importCert", ["absent", 5], -1],
        ["importCert", ["absent", 6], -1],
        ["exportCert", [1], "abc"],
        ["checkValidaty", ["2025/01/09"], 0],  // an expiry of four characters ends the call
        ["validateCert", [""], -1],
        ["importCert", ["c1", 6, "unused"], 0],
        ["exportCert", [1], "EXCH1"],
        ["getBasicCertInfoByOID", [1], ""],
        ["validateCert", ["", ""], 0],
        ["importCert", ["c1/SN01", 5], 0],
        ["exportCert", [1, "C:\\nowhere"], "SIGN1"],
        ["exportCert", [2, "C:\\nowhere"], ""],
        ["getBasicCertInfoByOID", [1], "SOF_GetCertInfo(SIGN1,1)"],
        ["getBasicCertInfoByOID", [2], "0a1bff"],
        ["getBasicCertInfoByOID", [4], "SOF_GetCertInfo(SIGN1,8)"],
        ["getBasicCertInfoByOID", [5], "2023/04/05"],
        ["getBasicCertInfoByOID", [6], "2025/01/10"],
        ["getBasicCertInfoByOID", [46], "SOF_GetCertInfo(SIGN1,15)"],
        ["getBasicCertInfoByOID", [47], ""],
        ["getBasicCertInfoByOID", [301], ""],
        ["checkValidaty", ["2025/01/08"], 1],
        ["checkValidaty", ["2025/01/09"], 0],
        ["checkValidaty", ["2025/01/11"], -1],
        ["checkValidaty", ["2024/12/01"], 39],
        ["checkValidaty", ["2024-12-01"], 0],
        ["checkValidaty", ["1850/01/01"], 0],  // no date: the call ends, the page sees the empty answer
        ["getExtCertInfoByOID", ["1.2.3"], "SOF_GetCertInfoByOid(SIGN1,1.2.3)"],
        ["getExtCertInfoByOID", ["9.9.9"], ""],
        ["getExtCertInfoByOID", [""], ""],
        ["validateCert", [""], 4464],  // 70000 in 16 bits
        ["validateCert", ["C:\\chain", "C:\\list"], 4464],
        ["validateCert", ["C:\\absent"], -1003],
        ["validateCert", ["C:\\chain", "C:\\absent"], -1003],
        ["modifyPFXPwd", ["a", "b", "c"], -1],
        ["modifyPFXPwd2", ["a", "b", "c", "d"], -1],
        ["SavePFXToCBIEx", ["a", 1, "c"], -1],
        ["ParseCBIToPFXEx", ["a"], ""],
        ["ClearConfig", ["a"], 0]
    ]);
}

function sharedCertificate(first) {
    var second = new ActiveXObject("TOLVSecCOM.Certificate");
    same("a second object has the first one's certificate", "SIGN1", second.exportCert(1));
    second.importCert("other", 1);
    same("the first object has the second one's certificate", "other", first.exportCert(1));
    second = null;
    CollectGarbage();
    same("a certificate outlives its object", "other", first.exportCert(1));

    first.importCert("c1", 6);
    var expiry = new Date(2050, 0, 1).getTime();
    var before = Math.floor((expiry - new Date().getTime()) / 86400000);
    var days = first.checkValidaty();
    var after = Math.floor((expiry - new Date().getTime()) / 86400000);
    report("without a date the days count from now", days === before || days === after,
           "expected <" + before + "> but got <" + days + ">");
}

function cryptoRows(crypto) {
    run("Crypto", crypto, [
        ["setUserCfg", [-1, "v"], 0],
        ["setUserCfg", [1, "v", "x", "y"], 0],
        ["setUserCfgEx", [1, "v", "x", "y", "c1"], 0],
        ["setAlgFlag", [-32768, 32767], 0],
        ["setOnceCfg", [9, ""], 0],
        ["SetPinFlag", [70000], 0],
        ["signedDataByP7", ["text", "c1"], "SOF_SignMessage(0,c1/SN01,text)"],
        ["signedDataByP7", ["text"], "SOF_SignMessage(0,,text)"],
        ["verifySignedDataByP7", ["good"], 0],
        ["verifySignedDataByP7", ["bad"], -1],
        ["signedData", ["text", "c1"], "SOF_SignData(c1/SN01,text)"],
        ["signedData", ["text", "c2/other"], "SOF_SignData(c2/SN02,text)"],
        ["signedData", ["text"], "SOF_SignData(,text)"],
        ["verifySignedData", ["good", "cert", "text"], 0],
        ["verifySignedData", ["text", "cert", "good"], -1],
        ["generateRandom", [16], "SOF_GenRandom(16)"],
        ["generateRandom", [-1], "SOF_GenRandom(-1)"],
        ["envelopedData", ["text", 1, "c1"], "SOF_EncryptDataEx(c1,text)"],
        ["envelopedData", ["text", 0, "c1"], "SOF_DecryptData(c1/SN01,text)"],
        ["envelopedData", ["text", 0], "SOF_DecryptData(,text)"],
        ["envelopedData", ["text", 2, "c1"], ""],
        ["authUser", ["text", "c1"], "SOF_SignData(c1/SN01,text)"],
        ["authUser", ["text"], "SOF_SignData(,text)"],
        ["checkUser", ["good", "cert", "text"], 0],
        ["checkUser", ["bad", "cert", "text"], -1],
        ["decodeP7Data", ["message", 3], "SOF_GetInfoFromSignedMessage(message,3)"],
        ["encryptFile", ["in", "out", "key"], 0],  // the backend's "no" does not count
        ["encryptFile", ["in", "out", "locked"], -1],
        ["decryptFile", ["in", "out", "key"], 0],
        ["decryptFile", ["in", "out", "locked"], -1],
        ["ReadPfxToQmr", ["c1", 1, "p", "f"], -1],
        ["Hash", ["text"], "SOF_HashData(8,text)"],
        ["HashData", ["text"], "SOF_HashData(2,text)"],
        ["HashFile", ["C:\\a b"], "SOF_HashFile(2,C:\\a b)"],
        ["signFile", ["C:\\f", "c1"], "SOF_SignFile(c1/SN01,C:\\f)"],
        ["verifySignFile", ["file", "cert", "good"], 0],
        ["verifySignFile", ["file", "cert", "bad"], -1],
        ["signedDataXML", ["<a/>", "c2"], "SOF_SignDataXML(c2/SN02,<a/>)"],
        ["verifySignedDataXML", ["<good/>"], 0],
        ["verifySignedDataXML", ["<bad/>"], -1],
        ["getXMLSignatureInfo", ["<a/>", 70000], "SOF_GetXMLSignatureInfo(<a/>,70000)"],
        ["EncStr", ["key", "text"], "SOF_SymEncryptData(SOF_HashData(8,key),text)"],
        ["EncStr", ["unhashable", "text"], ""],
        ["DecStr", ["key", "text"], "SOF_SymDecryptData(SOF_HashData(8,key),text)"],
        ["SetSessionKey", ["key", "c1"], -1],
        ["GetSessionKey", ["c1"], ""],
        ["SecertSegment", ["secret", 3, 2, 1], "SOF_SecertSegment(secret,3,2,1)"],
        ["SecertRecovery", ["shares"], "SOF_SecertRecovery(shares)"],
        ["EncDataByCert", ["cert", "text"], "SOF_PubKeyEncrypt(cert,text)"],
        ["DecDataByRSA", ["c1", "text"], "SOF_PriKeyDecrypt(c1/SN01,text)"],
        ["encryptData", ["key", "text"], "SOF_SymEncryptData(key,text)"],
        ["decryptData", ["key", "text"], "SOF_SymDecryptData(key,text)"],
        ["pubKeyEncrypt", ["cert", "text"], "SOF_PubKeyEncrypt(cert,text)"],
        ["priKeyDecrypt", ["c2", "text"], "SOF_PriKeyDecrypt(c2/SN02,text)"],
        ["GenTSReq", ["hash"], ""],
        ["EncData", ["key", "text"], "SOF_SymEncryptData(key,text)"],
        ["DecData", ["key", "text"], "SOF_SymDecryptData(key,text)"]
    ]);
}

function managerRows(manager) {
    run("DeviceMgr", manager, [
        ["userLogin", ["CSP1", "1234"], 0],
        ["userLogin", ["csp1", "1234"], -1],
        ["userLogin", ["CSP1", "wrong"], -1],
        ["changeUserPin", ["", "EXT1", "old", "new"], 0],
        ["changeUserPin", ["", "absent", "old", "new"], -1],
        ["enumUserCertificates", ["CSP1"], "c1&&&"],
        ["enumUserCertificates", ["absent"], ""],
        ["getKeyRetrys", ["EXT1"], 7],
        ["getKeyRetrys", ["absent"], -1011],
        ["getOldKeyInfo", ["c1", "p", "t", 1], ""],
        ["changeOldKeyPwd", ["c1", "t", 1, "old", "new"], -1],
        ["getKeyData", ["EXT1", "file"], "ReadFile(SN01,file)"],
        ["getKeyData", ["EXT1", "absent"], ""],
        ["getKeySN", ["EXT2"], "SN02"],
        ["getKeySN", ["absent"], ""],
        ["getKeySavedPass", ["SN01"], ""],
        ["setKeyData", ["EXT1", "file", "data"], 0],
        ["setKeyData", ["EXT1", "full", "data"], -1],
        ["creatKeyFile", ["EXT1", "nothing", 4], 0],
        ["creatKeyFile", ["EXT1", "nothing", 0], -1],
        ["creatKeyFile", ["EXT1", "nothing", -1], 0],  // no such length: the call ends, the answer is empty
        ["changeUserPin2", ["", "EXT1", "old", "new", "new"], -1],
        ["userLoginEx", ["", "c2/x", "", "1234"], 0],
        ["userLoginEx", ["CSP1", "absent", "EXT1", "1234"], -1],
        ["changeUserPinEx", ["", "c2", "", "old", "new"], 0],
        ["changeUserPinEx", ["", "c2", "", "new", "old"], -1],
        ["getKeyRetrysEx", ["c2", ""], -3],
        ["getKeyRetrysEx", ["absent", "EXT1"], -1011],
        ["getKeyDataEx", ["c2", "", "file"], "ReadFile(SN02,file)"],
        ["getKeySNEx", ["c1/more", ""], "SN01"],
        ["setKeyDataEx", ["c2", "", "file", "data"], 0],
        ["creatKeyFileEx", ["c2", "", "nothing", 4], 0],
        ["creatKeyFileEx", ["c2", "", "nothing", 0], -1]
    ]);
}

function utilRows(util) {
    run("Util", util, [
        ["base64EncodeString", ["text"], "SOF_Base64Encode(text)"],
        ["base64EncodeString", [""], "SOF_Base64Encode()"],
        ["base64EncodeFile", ["C:\\f"], "Base64EncodeFile(C:\\f)"],
        ["base64EncodeFile", ["C:\\absent"], ""],
        ["getUserList", [], ""],
        ["getUserList2", [], ""],
        ["getUserInfoByContainer", ["c1", 1], "SOF_GetCertInfo(SIGN1,17)"],
        ["getUserInfoByContainer", ["c1", 2], "SOF_GetCertEntity(SIGN1)"],
        ["getUserInfoByContainer", ["c1", 3], "SOF_GetCertInfo(SIGN1,15)"],
        ["getUserInfoByContainer", ["c1", 4], "SOF_GetCertInfo(SIGN1,8)"],
        ["getUserInfoByContainer", ["absent", 1], ""],
        ["getUserInfoByContainer", ["c1", 5], ""],
        ["getUserInfoByContainer", ["c1", 10], "2"],
        ["getUserInfoByContainer", ["c2", 10], "1"],
        ["getUserInfoByContainer", ["absent", 10], "0"],
        ["getUserInfoByContainer", ["c1", 11], "0a1bff"],
        ["getUserInfoByContainer", ["c1", 12], "0e2cdd"],
        ["getUserInfoByContainer", ["c2/any", 13], "SN02"],
        ["getUserInfoByContainer", ["c2", 14], "CSP2"],
        ["getUserInfoByContainer", ["c2", 41], "EXT2"],
        ["getUserInfoByContainer", ["absent", 23], "1"],
        ["getUserInfoByContainer", ["c1", -1], ""],
        ["getUserInfoByContainer", ["c1", 1000], ""],
        ["base64DecodeFile", ["data", "file"], 0],
        ["base64DecodeFile", ["data", "full"], -1],
        ["base64DecodeString", ["dGV4dA=="], "SOF_Base64Decode(dGV4dA==)"],
        ["GetContainerNameByUniqueId", ["c1/SN01", "x"], ""]
    ]);
}

function renamedFiles(util) {
    var files = new ActiveXObject("Scripting.FileSystemObject");
    var folder = files.GetSpecialFolder(2) + "\\" + files.GetTempName();
    var a = folder + "\\a.txt", b = folder + "\\b c.txt", moved = folder + "\\sub\\a.txt";
    files.CreateFolder(folder);
    files.CreateFolder(folder + "\\sub");
    files.CreateTextFile(a).Close();
    run("Util", util, [
        ["RenameFile", [a, b], 0],
        ["RenameFile", [a, b], -1],
        ["RenameFile", [b, moved], 0],
        ["RenameFile", ["", ""], -1]
    ]);
    same("the file has its new place only", "false false true",
         [files.FileExists(a), files.FileExists(b), files.FileExists(moved)].join(" "));
    files.CreateTextFile(b).Close();
    run("Util", util, [["RenameFile", [moved, b], -1], ["RenameFile", [folder + "\\sub", folder + "\\new"], 0]]);
    same("nothing was overwritten and the folder renamed", "true true",
         [files.FileExists(b), files.FileExists(folder + "\\new\\a.txt")].join(" "));
    files.DeleteFolder(folder);
}

try {
    var certificate = new ActiveXObject("TOLVSecCOM.Certificate");
    certificateRows(certificate);
    sharedCertificate(certificate);
    cryptoRows(new ActiveXObject("TOLVSecCOM.Crypto"));
    managerRows(new ActiveXObject("TOLVSecCOM.DeviceMgr"));
    var util = new ActiveXObject("TOLVSecCOM.Util");
    utilRows(util);
    renamedFiles(util);
    same("all methods were called", 79, methods);
    same("no row was passed over", 178, checks);
    WScript.Echo("END");
} catch (e) {
    WScript.Echo("not ok - the script: " + (e.number >>> 0).toString(16) + " " + e.message);
    failed++;
}
WScript.Quit(failed ? 1 : 0);

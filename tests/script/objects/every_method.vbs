' Every method of the four objects from VBScript, one row a call: method, answer, what the page receives, its
' type included. every_method.rules says what the backend answers; where it says nothing, a call's own text
' comes back.
' Code pages: 936, 1252, 65001
Option Explicit
On Error Resume Next
Dim checks, failed, called
checks = 0
failed = 0
Set called = CreateObject("Scripting.Dictionary")

Sub Report(name, good, why)
    checks = checks + 1
    If good Then
        WScript.Echo "ok - " & name
    Else
        failed = failed + 1
        WScript.Echo "not ok - " & name & ": " & why
    End If
End Sub

' A call that raises an error skips its whole row, so the next one reports it.
Sub Same(name, actual, expected)
    If Err.Number <> 0 Then
        Report "the row before " & name, False, "error " & Err.Number & " " & Err.Description
        Err.Clear
    End If
    Report name, VarType(expected) = VarType(actual) And expected = actual, _
        "expected <" & expected & "> but got <" & actual & "> (" & TypeName(actual) & ")"
End Sub

Sub Row(method, actual, expected)
    called(method) = True
    Same method, actual, expected
End Sub

Dim certificate, crypto, manager, util
Set certificate = CreateObject("TOLVSecCOM.Certificate")
Set crypto = CreateObject("TOLVSecCOM.Crypto")
Set manager = CreateObject("TOLVSecCOM.DeviceMgr")
Set util = CreateObject("TOLVSecCOM.Util")

' Variables travel as references, literals by value.
Dim text, key, cert, c1, c2, file, data
text = "text"
key = "key"
cert = "cert"
c1 = "c1"
c2 = "c2"
file = "file"
data = "data"

Row "exportCert", certificate.exportCert(1), "Cert_No_Load"
Row "getBasicCertInfoByOID", certificate.getBasicCertInfoByOID(1), ""
Row "checkValidaty", certificate.checkValidaty(), 0
Row "getExtCertInfoByOID", certificate.getExtCertInfoByOID("1.2.3"), ""
Row "validateCert", certificate.validateCert(""), -1
Row "importCert", certificate.importCert("abc", 0), -1000
Row "importCert", certificate.importCert("abc", 1), 0
Row "exportCert", certificate.exportCert(1), "abc"
Row "exportCert", certificate.exportCert(0), "Cert_No_Load"
Row "importCert", certificate.importCert(file, 3), 0
Row "importCert", certificate.importCert("absent", 5), -1
Row "importCert", certificate.importCert("absent", 6), -1
Row "exportCert", certificate.exportCert(1), "abc"
Row "checkValidaty", certificate.checkValidaty("2025/01/09"), 0  ' an expiry of four characters ends the call
Row "validateCert", certificate.validateCert(""), -1
Row "importCert", certificate.importCert(c1, 6, "unused"), 0
Row "exportCert", certificate.exportCert(1), "EXCH1"
Row "getBasicCertInfoByOID", certificate.getBasicCertInfoByOID(1), ""
Row "validateCert", certificate.validateCert("", ""), 0
Row "importCert", certificate.importCert("c1/SN01", 5), 0
Row "exportCert", certificate.exportCert(1, "C:\nowhere"), "SIGN1"
Row "exportCert", certificate.exportCert(2, "C:\nowhere"), ""
Row "getBasicCertInfoByOID", certificate.getBasicCertInfoByOID(1), "SOF_GetCertInfo(SIGN1,1)"
Row "getBasicCertInfoByOID", certificate.getBasicCertInfoByOID(2), "0a1bff"
Row "getBasicCertInfoByOID", certificate.getBasicCertInfoByOID(4), "SOF_GetCertInfo(SIGN1,8)"
Row "getBasicCertInfoByOID", certificate.getBasicCertInfoByOID(5), "2023/04/05"
Row "getBasicCertInfoByOID", certificate.getBasicCertInfoByOID(6), "2025/01/10"
Row "getBasicCertInfoByOID", certificate.getBasicCertInfoByOID(46), "SOF_GetCertInfo(SIGN1,15)"
Row "getBasicCertInfoByOID", certificate.getBasicCertInfoByOID(47), ""
Row "getBasicCertInfoByOID", certificate.getBasicCertInfoByOID(301), ""
Row "checkValidaty", certificate.checkValidaty("2025/01/08"), 1
Row "checkValidaty", certificate.checkValidaty("2025/01/09"), 0
Row "checkValidaty", certificate.checkValidaty("2025/01/11"), -1
Row "checkValidaty", certificate.checkValidaty("2024/12/01"), 39
Row "checkValidaty", certificate.checkValidaty("2024-12-01"), 0
Row "checkValidaty", certificate.checkValidaty("1850/01/01"), 0  ' no date: the call ends, the page sees the empty answer
Row "getExtCertInfoByOID", certificate.getExtCertInfoByOID("1.2.3"), "SOF_GetCertInfoByOid(SIGN1,1.2.3)"
Row "getExtCertInfoByOID", certificate.getExtCertInfoByOID("9.9.9"), ""
Row "getExtCertInfoByOID", certificate.getExtCertInfoByOID(""), ""
Row "validateCert", certificate.validateCert(""), 4464  ' 70000 in 16 bits
Row "validateCert", certificate.validateCert("C:\chain", "C:\list"), 4464
Row "validateCert", certificate.validateCert("C:\absent"), -1003
Row "validateCert", certificate.validateCert("C:\chain", "C:\absent"), -1003
Row "modifyPFXPwd", certificate.modifyPFXPwd("a", "b", "c"), -1
Row "modifyPFXPwd2", certificate.modifyPFXPwd2("a", "b", "c", "d"), -1
Row "SavePFXToCBIEx", certificate.SavePFXToCBIEx("a", 1, "c"), CLng(-1)
Row "ParseCBIToPFXEx", certificate.ParseCBIToPFXEx("a"), ""
Row "ClearConfig", certificate.ClearConfig("a"), CLng(0)

' The current certificate is the process's, not the object's.
Dim second, before, days, after
Set second = CreateObject("TOLVSecCOM.Certificate")
Same "a second object has the first one's certificate", second.exportCert(1), "SIGN1"
second.importCert "other", 1
Same "the first object has the second one's certificate", certificate.exportCert(1), "other"
Set second = Nothing
Same "a certificate outlives its object", certificate.exportCert(1), "other"
certificate.importCert c1, 6
before = Int(DateSerial(2050, 1, 1) - Now)
days = certificate.checkValidaty
after = Int(DateSerial(2050, 1, 1) - Now)
Same "without a date the days count from now", days = before Or days = after, True

Row "setUserCfg", crypto.setUserCfg(-1, "v"), 0
Row "setUserCfg", crypto.setUserCfg(1, "v", "x", "y"), 0
Row "setUserCfgEx", crypto.setUserCfgEx(1, "v", "x", "y", c1), 0
Row "setAlgFlag", crypto.setAlgFlag(-32768, 32767), 0
Row "setOnceCfg", crypto.setOnceCfg(9, ""), 0
Row "SetPinFlag", crypto.SetPinFlag(70000), CLng(0)
Row "signedDataByP7", crypto.signedDataByP7(text, c1), "SOF_SignMessage(0,c1/SN01,text)"
Row "signedDataByP7", crypto.signedDataByP7(text), "SOF_SignMessage(0,,text)"
Row "verifySignedDataByP7", crypto.verifySignedDataByP7("good"), 0
Row "verifySignedDataByP7", crypto.verifySignedDataByP7("bad"), -1
Row "signedData", crypto.signedData(text, c1), "SOF_SignData(c1/SN01,text)"
Row "signedData", crypto.signedData(text, "c2/other"), "SOF_SignData(c2/SN02,text)"
Row "signedData", crypto.signedData(text), "SOF_SignData(,text)"
Row "verifySignedData", crypto.verifySignedData("good", cert, text), 0
Row "verifySignedData", crypto.verifySignedData(text, cert, "good"), -1
Row "generateRandom", crypto.generateRandom(16), "SOF_GenRandom(16)"
Row "generateRandom", crypto.generateRandom(-1), "SOF_GenRandom(-1)"
Row "envelopedData", crypto.envelopedData(text, 1, c1), "SOF_EncryptDataEx(c1,text)"
Row "envelopedData", crypto.envelopedData(text, 0, c1), "SOF_DecryptData(c1/SN01,text)"
Row "envelopedData", crypto.envelopedData(text, 0), "SOF_DecryptData(,text)"
Row "envelopedData", crypto.envelopedData(text, 2, c1), ""
Row "authUser", crypto.authUser(text, c1), "SOF_SignData(c1/SN01,text)"
Row "authUser", crypto.authUser(text), "SOF_SignData(,text)"
Row "checkUser", crypto.checkUser("good", cert, text), 0
Row "checkUser", crypto.checkUser("bad", cert, text), -1
Row "decodeP7Data", crypto.decodeP7Data("message", 3), "SOF_GetInfoFromSignedMessage(message,3)"
Row "encryptFile", crypto.encryptFile("in", "out", key), 0  ' the backend's "no" does not count
Row "encryptFile", crypto.encryptFile("in", "out", "locked"), -1
Row "decryptFile", crypto.decryptFile("in", "out", key), 0
Row "decryptFile", crypto.decryptFile("in", "out", "locked"), -1
Row "ReadPfxToQmr", crypto.ReadPfxToQmr(c1, 1, "p", "f"), -1
Row "Hash", crypto.Hash(text), "SOF_HashData(8,text)"
Row "HashData", crypto.HashData(text), "SOF_HashData(2,text)"
Row "HashFile", crypto.HashFile("C:\a b"), "SOF_HashFile(2,C:\a b)"
Row "signFile", crypto.signFile("C:\f", c1), "SOF_SignFile(c1/SN01,C:\f)"
Row "verifySignFile", crypto.verifySignFile(file, cert, "good"), 0
Row "verifySignFile", crypto.verifySignFile(file, cert, "bad"), -1
Row "signedDataXML", crypto.signedDataXML("<a/>", c2), "SOF_SignDataXML(c2/SN02,<a/>)"
Row "verifySignedDataXML", crypto.verifySignedDataXML("<good/>"), CLng(0)
Row "verifySignedDataXML", crypto.verifySignedDataXML("<bad/>"), CLng(-1)
Row "getXMLSignatureInfo", crypto.getXMLSignatureInfo("<a/>", 70000), "SOF_GetXMLSignatureInfo(<a/>,70000)"
Row "EncStr", crypto.EncStr(key, text), "SOF_SymEncryptData(SOF_HashData(8,key),text)"
Row "EncStr", crypto.EncStr("unhashable", text), ""
Row "DecStr", crypto.DecStr(key, text), "SOF_SymDecryptData(SOF_HashData(8,key),text)"
Row "SetSessionKey", crypto.SetSessionKey(key, c1), CLng(-1)
Row "GetSessionKey", crypto.GetSessionKey(c1), ""
Row "SecertSegment", crypto.SecertSegment("secret", 3, 2, 1), "SOF_SecertSegment(secret,3,2,1)"
Row "SecertRecovery", crypto.SecertRecovery("shares"), "SOF_SecertRecovery(shares)"
Row "EncDataByCert", crypto.EncDataByCert(cert, text), "SOF_PubKeyEncrypt(cert,text)"
Row "DecDataByRSA", crypto.DecDataByRSA(c1, text), "SOF_PriKeyDecrypt(c1/SN01,text)"
Row "encryptData", crypto.encryptData(key, text), "SOF_SymEncryptData(key,text)"
Row "decryptData", crypto.decryptData(key, text), "SOF_SymDecryptData(key,text)"
Row "pubKeyEncrypt", crypto.pubKeyEncrypt(cert, text), "SOF_PubKeyEncrypt(cert,text)"
Row "priKeyDecrypt", crypto.priKeyDecrypt(c2, text), "SOF_PriKeyDecrypt(c2/SN02,text)"
Row "GenTSReq", crypto.GenTSReq("hash"), ""
Row "EncData", crypto.EncData(key, text), "SOF_SymEncryptData(key,text)"
Row "DecData", crypto.DecData(key, text), "SOF_SymDecryptData(key,text)"

Row "userLogin", manager.userLogin("CSP1", "1234"), 0
Row "userLogin", manager.userLogin("csp1", "1234"), -1
Row "userLogin", manager.userLogin("CSP1", "wrong"), -1
Row "changeUserPin", manager.changeUserPin("", "EXT1", "old", "new"), 0
Row "changeUserPin", manager.changeUserPin("", "absent", "old", "new"), -1
Row "enumUserCertificates", manager.enumUserCertificates("CSP1"), "c1&&&"
Row "enumUserCertificates", manager.enumUserCertificates("absent"), ""
Row "getKeyRetrys", manager.getKeyRetrys("EXT1"), 7
Row "getKeyRetrys", manager.getKeyRetrys("absent"), -1011
Row "getOldKeyInfo", manager.getOldKeyInfo(c1, "p", "t", 1), ""
Row "changeOldKeyPwd", manager.changeOldKeyPwd(c1, "t", 1, "old", "new"), -1
Row "getKeyData", manager.getKeyData("EXT1", file), "ReadFile(SN01,file)"
Row "getKeyData", manager.getKeyData("EXT1", "absent"), ""
Row "getKeySN", manager.getKeySN("EXT2"), "SN02"
Row "getKeySN", manager.getKeySN("absent"), ""
Row "getKeySavedPass", manager.getKeySavedPass("SN01"), ""
Row "setKeyData", manager.setKeyData("EXT1", file, data), 0
Row "setKeyData", manager.setKeyData("EXT1", "full", data), -1
Row "creatKeyFile", manager.creatKeyFile("EXT1", "nothing", 4), 0
Row "creatKeyFile", manager.creatKeyFile("EXT1", "nothing", 0), -1
Row "creatKeyFile", manager.creatKeyFile("EXT1", "nothing", -1), 0  ' no such length: the call ends, the answer is empty
Row "changeUserPin2", manager.changeUserPin2("", "EXT1", "old", "new", "new"), -1
Row "userLoginEx", manager.userLoginEx("", "c2/x", "", "1234"), 0
Row "userLoginEx", manager.userLoginEx("CSP1", "absent", "EXT1", "1234"), -1
Row "changeUserPinEx", manager.changeUserPinEx("", c2, "", "old", "new"), 0
Row "changeUserPinEx", manager.changeUserPinEx("", c2, "", "new", "old"), -1
Row "getKeyRetrysEx", manager.getKeyRetrysEx(c2, ""), -3
Row "getKeyRetrysEx", manager.getKeyRetrysEx("absent", "EXT1"), -1011
Row "getKeyDataEx", manager.getKeyDataEx(c2, "", file), "ReadFile(SN02,file)"
Row "getKeySNEx", manager.getKeySNEx("c1/more", ""), "SN01"
Row "setKeyDataEx", manager.setKeyDataEx(c2, "", file, data), 0
Row "creatKeyFileEx", manager.creatKeyFileEx(c2, "", "nothing", 4), 0
Row "creatKeyFileEx", manager.creatKeyFileEx(c2, "", "nothing", 0), -1

Row "base64EncodeString", util.base64EncodeString(text), "SOF_Base64Encode(text)"
Row "base64EncodeString", util.base64EncodeString(""), "SOF_Base64Encode()"
Row "base64EncodeFile", util.base64EncodeFile("C:\f"), "Base64EncodeFile(C:\f)"
Row "base64EncodeFile", util.base64EncodeFile("C:\absent"), ""
Row "getUserList", util.getUserList(), ""
Row "getUserList2", util.getUserList2(), ""
Row "getUserInfoByContainer", util.getUserInfoByContainer(c1, 1), "SOF_GetCertInfo(SIGN1,17)"
Row "getUserInfoByContainer", util.getUserInfoByContainer(c1, 2), "SOF_GetCertEntity(SIGN1)"
Row "getUserInfoByContainer", util.getUserInfoByContainer(c1, 3), "SOF_GetCertInfo(SIGN1,15)"
Row "getUserInfoByContainer", util.getUserInfoByContainer(c1, 4), "SOF_GetCertInfo(SIGN1,8)"
Row "getUserInfoByContainer", util.getUserInfoByContainer("absent", 1), ""
Row "getUserInfoByContainer", util.getUserInfoByContainer(c1, 5), ""
Row "getUserInfoByContainer", util.getUserInfoByContainer(c1, 10), "2"
Row "getUserInfoByContainer", util.getUserInfoByContainer(c2, 10), "1"
Row "getUserInfoByContainer", util.getUserInfoByContainer("absent", 10), "0"
Row "getUserInfoByContainer", util.getUserInfoByContainer(c1, 11), "0a1bff"
Row "getUserInfoByContainer", util.getUserInfoByContainer(c1, 12), "0e2cdd"
Row "getUserInfoByContainer", util.getUserInfoByContainer("c2/any", 13), "SN02"
Row "getUserInfoByContainer", util.getUserInfoByContainer(c2, 14), "CSP2"
Row "getUserInfoByContainer", util.getUserInfoByContainer(c2, 41), "EXT2"
Row "getUserInfoByContainer", util.getUserInfoByContainer("absent", 23), "1"
Row "getUserInfoByContainer", util.getUserInfoByContainer(c1, -1), ""
Row "getUserInfoByContainer", util.getUserInfoByContainer(c1, 1000), ""
Row "base64DecodeFile", util.base64DecodeFile(data, file), 0
Row "base64DecodeFile", util.base64DecodeFile(data, "full"), -1
Row "base64DecodeString", util.base64DecodeString("dGV4dA=="), "SOF_Base64Decode(dGV4dA==)"
Row "GetContainerNameByUniqueId", util.GetContainerNameByUniqueId("c1/SN01", "x"), ""
Row "RenameFile", util.RenameFile("", ""), -1

' Real files.
Dim files, folder, a, b, moved
Set files = CreateObject("Scripting.FileSystemObject")
folder = files.GetSpecialFolder(2) & "\" & files.GetTempName
a = folder & "\a.txt"
b = folder & "\b c.txt"
moved = folder & "\sub\a.txt"
files.CreateFolder folder
files.CreateFolder folder & "\sub"
files.CreateTextFile(a).Close
Row "RenameFile", util.RenameFile(a, b), 0
Row "RenameFile", util.RenameFile(a, b), -1
Row "RenameFile", util.RenameFile(b, moved), 0
Row "RenameFile", util.RenameFile("", ""), -1
Same "the file has its new place only", _
    files.FileExists(moved) And Not files.FileExists(a) And Not files.FileExists(b), True
files.CreateTextFile(b).Close
Row "RenameFile", util.RenameFile(moved, b), -1
Same "nothing is overwritten", files.FileExists(moved) And files.FileExists(b), True
Row "RenameFile", util.RenameFile(folder & "\sub", folder & "\new"), 0
Same "a folder is renamed with what it holds", files.FileExists(folder & "\new\a.txt"), True
files.DeleteFolder folder

Same "all methods were called", called.Count, CLng(79)
Same "no row was passed over", checks, 180
Same "nothing went wrong at the end", Err.Number, CLng(0)
WScript.Echo "END"
If failed > 0 Then WScript.Quit 1

' Text outside ASCII in variables and results, as text.js has it. This host makes no such characters by itself, so
' they come from the backend first; what it says of them when they come back tells that they were whole.
' Code pages: 936, 1252, 65001
Option Explicit
On Error Resume Next
Dim checks, failed
checks = 0
failed = 0

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

Dim certificate, crypto, manager, util
Set certificate = CreateObject("TOLVSecCOM.Certificate")
Set crypto = CreateObject("TOLVSecCOM.Crypto")
Set manager = CreateObject("TOLVSecCOM.DeviceMgr")
Set util = CreateObject("TOLVSecCOM.Util")

Dim chinese, accented, rare, library, extension
chinese = util.base64DecodeString("chinese")
accented = util.base64DecodeString("accented")
rare = util.base64DecodeString("rare")
library = util.base64DecodeString("csp")
extension = util.base64DecodeString("extension")
Same "two Chinese characters", Len(chinese), CLng(2)
Same "four characters of three scripts", Len(rare), CLng(4)
Same "they are whole", crypto.HashData(chinese), "matched"
Same "so is the accented one", crypto.HashData(accented), "matched"
Same "so are the three scripts", crypto.HashData(rare), "matched"
Same "a part of one is another text", crypto.HashData(Left(chinese, 1)), "SOF_HashData(2," & Left(chinese, 1) & ")"
Same "in a text of more", crypto.Hash("<" & rare & ">"), "SOF_HashData(8,<" & rare & ">)"
Same "as a recipient", crypto.envelopedData("x", 1, chinese), "SOF_EncryptDataEx(" & chinese & ",x)"
Same "as a certificate", certificate.importCert(chinese & rare, 1), 0
Same "and back", certificate.exportCert(1), chinese & rare

' Of the pages here 936 and 65001 have Chinese characters; all three have the accented letter.
Dim page, kept, found, listed
page = CreateObject("WScript.Shell").ExpandEnvironmentStrings("%KZR_TEST_CODE_PAGE%")
kept = InStr(page, "1252") <> 1
Same "the page is one of three", InStr(page, "936") = 1 Or InStr(page, "1252") = 1 Or InStr(page, "65001") = 1, True
found = ""
listed = "??&&&"
If kept Then
    found = chinese & "/SN01"
    listed = chinese & "&&&"
End If
Same "an accented container", crypto.signedData("x", accented), "SOF_SignData(" & accented & "/SN02,x)"
Same "a Chinese container", crypto.signedData("x", chinese), "SOF_SignData(" & found & ",x)"
Same "its device", manager.getKeySNEx(chinese & "/any", ""), Mid(found, 4)
Same "the containers of the Chinese library", manager.enumUserCertificates(library), listed
Same "the device of the Chinese extension", manager.getKeySN(extension), "SN01"
If kept Then
    Same "its library", util.getUserInfoByContainer(chinese, 40), library
    Same "its certificate", certificate.importCert(chinese, 5), 0
Else
    Same "no library", util.getUserInfoByContainer(chinese, 40), ""
    Same "no certificate", certificate.importCert(chinese, 5), -1
End If

Same "no row was passed over", checks, 18
WScript.Echo "END"
If failed > 0 Then WScript.Quit 1

' All four objects in VBScript, whose variables arrive as references.
Option Explicit
Dim failed
failed = 0

Sub Same(name, expected, actual)
    If VarType(expected) = VarType(actual) And expected = actual Then
        WScript.Echo "ok - " & name
    Else
        failed = failed + 1
        WScript.Echo "not ok - " & name & ": expected <" & expected & "> but got <" & actual & ">"
    End If
End Sub

Sub Raises(name)
    If Err.Number <> 0 Then
        WScript.Echo "ok - " & name
    Else
        failed = failed + 1
        WScript.Echo "not ok - " & name & ": no error came"
    End If
    Err.Clear
End Sub

On Error Resume Next
Dim certificate, crypto, manager, util, text, container, kind, i
Set certificate = CreateObject("TOLVSecCOM.Certificate")
Same "Certificate is made by its name", 0, CInt(Err.Number <> 0)
Set crypto = CreateObject("TOLVSecCOM.Crypto.1")
Same "Crypto is made by its versioned name", 0, CInt(Err.Number <> 0)
Set manager = CreateObject("TOLVSecCOM.DeviceMgr")
Same "DeviceMgr is made by its name", 0, CInt(Err.Number <> 0)
Set util = CreateObject("TOLVSecCOM.Util.1")
Same "Util is made by its versioned name", 0, CInt(Err.Number <> 0)

text = "hello"
container = "c2/anything"
kind = 1
Same "a certificate is taken from variables", CInt(0), certificate.importCert(text, kind)
Same "a certificate is given back", "hello", certificate.exportCert(kind)
Same "a text is signed from variables", "SOF_SignData(c2/SN02,hello)", crypto.signedData(text, container)
Same "an optional text left out is the empty one", "SOF_SignData(,hello)", crypto.signedData(text)
Same "containers of a device", "c2&&&", manager.enumUserCertificates("CSP2")
Same "a login by the library's name", CInt(0), manager.userLoginEx("", container, "", "1234")
Same "a fact about a user", "SN02", util.getUserInfoByContainer(container, 13)
Same "a text is encoded", "SOF_Base64Encode(hello)", util.base64EncodeString(text)
Same "no error so far", 0, CInt(Err.Number <> 0)
If Err.Number <> 0 Then WScript.Echo Err.Description

text = util.noSuchMethod("x")
Raises "a method that is none raises an error"
text = util.base64EncodeString()
Raises "a required argument left out raises an error"

' Many objects, each given back: nothing runs out.
For i = 1 To 200
    Set util = Nothing
    Set util = CreateObject("TOLVSecCOM.Util")
Next
Same "two hundred objects one after the other", "SOF_Base64Encode(z)", util.base64EncodeString("z")
WScript.Echo "END"
If failed > 0 Then WScript.Quit 1

' Signs a text with the key of a container, verifies the signature, and shows that a changed text fails.
'     cscript //nologo sign-text.vbs CONTAINER PIN TEXT
Option Explicit

Function Main(given)
    Main = 2
    If given.Count <> 3 Then
        WScript.Echo "usage: cscript //nologo sign-text.vbs CONTAINER PIN TEXT"
        Exit Function
    End If
    Dim manager, crypto, certificate, signature, signer, good, changed
    Set manager = CreateObject("TOLVSecCOM.DeviceMgr")
    Set crypto = CreateObject("TOLVSecCOM.Crypto")
    Set certificate = CreateObject("TOLVSecCOM.Certificate")

    Main = 1
    If manager.userLoginEx("", given(0), "", given(1)) <> 0 Then
        WScript.Echo "the login was refused"
        Exit Function
    End If
    signature = crypto.signedData(given(2), given(0))
    WScript.Echo "signature       " & signature
    certificate.importCert given(0), 5
    signer = certificate.exportCert(1)
    good = crypto.verifySignedData(signature, signer, given(2))
    WScript.Echo "the text        " & good
    changed = crypto.verifySignedData(signature, signer, given(2) & ".")
    WScript.Echo "a changed text  " & changed
    If signature <> "" And good = 0 And changed <> 0 Then Main = 0
End Function

On Error Resume Next
Dim code
code = 1
code = Main(WScript.Arguments)
If Err.Number <> 0 Then
    WScript.Echo "error " & Hex(Err.Number) & ": " & Err.Description
    code = 1
End If
WScript.Echo "END"
WScript.Quit code

' Gives the digest of a text or, with "file", of a file.
'     cscript //nologo hash.vbs text|file TEXT-OR-FILE
Option Explicit

Function Main(given)
    Main = 2
    If given.Count <> 2 Then
        WScript.Echo "usage: cscript //nologo hash.vbs text|file TEXT-OR-FILE"
        Exit Function
    End If
    Dim crypto, digest
    Set crypto = CreateObject("TOLVSecCOM.Crypto")
    If given(0) = "file" Then
        digest = crypto.HashFile(given(1))
    Else
        digest = crypto.HashData(given(1))
    End If
    WScript.Echo digest
    Main = 0
    If digest = "" Then Main = 1
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

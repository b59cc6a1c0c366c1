' Encrypts a file with a key of the caller's, or decrypts it.
'     cscript //nologo encrypt-file.vbs encrypt|decrypt KEY FROM TO
Option Explicit

Function Main(given)
    Main = 2
    If given.Count <> 4 Then
        WScript.Echo "usage: cscript //nologo encrypt-file.vbs encrypt|decrypt KEY FROM TO"
        Exit Function
    End If
    Dim crypto, answer
    Set crypto = CreateObject("TOLVSecCOM.Crypto")
    If given(0) = "encrypt" Then
        answer = crypto.encryptFile(given(2), given(3), given(1))
    ElseIf given(0) = "decrypt" Then
        answer = crypto.decryptFile(given(2), given(3), given(1))
    Else
        WScript.Echo "encrypt or decrypt, not " & given(0)
        Exit Function
    End If
    WScript.Echo given(0) & " " & given(2) & " to " & given(3)
    WScript.Echo "    " & answer
    Main = 0
    If answer <> 0 Then Main = 1
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

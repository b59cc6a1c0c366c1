' Renames or moves a file; an existing one is never overwritten.
'     cscript //nologo rename-file.vbs OLD-NAME NEW-NAME
Option Explicit

Function Main(given)
    Main = 2
    If given.Count <> 2 Then
        WScript.Echo "usage: cscript //nologo rename-file.vbs OLD-NAME NEW-NAME"
        Exit Function
    End If
    Dim util, answer
    Set util = CreateObject("TOLVSecCOM.Util")
    answer = util.RenameFile(given(0), given(1))
    WScript.Echo "Util.RenameFile(""" & given(0) & """, """ & given(1) & """)"
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

' Logs in to the key that holds a container, and says how many tries are left.
'     cscript //nologo log-in.vbs CONTAINER PIN
' Ends with 0 when the PIN was right and with 1 when it was not.
Option Explicit

Function Main(given)
    Main = 2
    If given.Count <> 2 Then
        WScript.Echo "usage: cscript //nologo log-in.vbs CONTAINER PIN"
        Exit Function
    End If
    Dim manager, answer
    Set manager = CreateObject("TOLVSecCOM.DeviceMgr")
    ' The other names of the key may stay empty: the container is enough.
    answer = manager.userLoginEx("", given(0), "", given(1))
    WScript.Echo "DeviceMgr.userLoginEx("""", """ & given(0) & """, """", PIN)"
    WScript.Echo "    " & answer
    WScript.Echo "DeviceMgr.getKeyRetrysEx(""" & given(0) & """, """"): tries left"
    WScript.Echo "    " & manager.getKeyRetrysEx(given(0), "")
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

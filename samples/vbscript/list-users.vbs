' Lists the users of all plugged-in keys with their containers.
'     cscript //nologo list-users.vbs
Option Explicit

Function Main(given)
    Dim control, util, users, i, user, container
    Set control = CreateObject("USBKEYPNPACTIVEX.USBKeyPnPActiveXCtrl.1")
    Set util = CreateObject("TOLVSecCOM.Util")

    ' "name||container&&&name||container&&&"
    users = Split(control.getUserList(), "&&&")
    For i = 0 To UBound(users) - 1
        user = Split(users(i), "||")
        container = user(1)
        WScript.Echo user(0) & " in container " & container
        WScript.Echo "    CSP name      " & util.getUserInfoByContainer(container, 14)
        WScript.Echo "    library       " & util.getUserInfoByContainer(container, 15)
        WScript.Echo "    key number    " & util.getUserInfoByContainer(container, 13)
        WScript.Echo "    certificates  " & util.getUserInfoByContainer(container, 10)
    Next
    WScript.Echo CStr(i) & " users"
    Main = 0
    If i = 0 Then Main = 1
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

' Shows the main fields of a container's signing certificate, and for how many days it stays valid.
'     cscript //nologo show-certificate.vbs CONTAINER
Option Explicit

Function Main(given)
    Main = 2
    If given.Count <> 1 Then
        WScript.Echo "usage: cscript //nologo show-certificate.vbs CONTAINER"
        Exit Function
    End If
    Dim certificate
    Set certificate = CreateObject("TOLVSecCOM.Certificate")
    Main = 1
    If certificate.importCert(given(0), 5) <> 0 Then
        WScript.Echo "No plugged-in key gives a certificate for " & given(0)
        Exit Function
    End If
    WScript.Echo "subject        " & certificate.getBasicCertInfoByOID(7)
    WScript.Echo "issuer         " & certificate.getBasicCertInfoByOID(4)
    WScript.Echo "serial number  " & certificate.getBasicCertInfoByOID(2)
    WScript.Echo "valid from     " & certificate.getBasicCertInfoByOID(5)
    WScript.Echo "valid to       " & certificate.getBasicCertInfoByOID(6)
    WScript.Echo "days left      " & certificate.checkValidaty()
    Main = 0
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

' What VBScript passes for a number, a text and nothing at all, from literals, variables and elements, and which
' of it is refused before the method runs.
' Code pages: 936, 1252, 65001
Option Explicit
On Error Resume Next
Dim checks, failed, a
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

Sub NoError(name)
    If Err.Number <> 0 Then
        Report "the row before " & name, False, "error " & Err.Number & " " & Err.Description
        Err.Clear
    End If
End Sub

' A call that raises an error skips its whole row, so the next one reports it.
Sub Same(name, actual, expected)
    NoError name
    Report name, VarType(expected) = VarType(actual) And expected = actual, _
        "expected <" & expected & "> but got <" & actual & "> (" & TypeName(actual) & ")"
End Sub

' Stands after "Start" and the call that must raise the error.
Const kOverflow = 6, kMismatch = 13, kUnknown = 438, kArgumentCount = 450
Sub Refused(number)
    If Err.Number = number Then
        Report started & " is refused", True, ""
    Else
        Report started & " is refused", False, "expected error " & number & " but got " & Err.Number
    End If
    Err.Clear
End Sub
Dim started
Sub Start(name)
    NoError name
    started = name
End Sub

Dim certificate, crypto, util
Set certificate = CreateObject("TOLVSecCOM.Certificate")
Set crypto = CreateObject("TOLVSecCOM.Crypto")
Set util = CreateObject("TOLVSecCOM.Util")

' Numbers.
Dim whole, wide, fraction, money, small, flag, digits, nothingYet, unknown, big
whole = 8
wide = CLng(9)
fraction = CDbl(1000)
money = CCur(7)
small = CByte(6)
flag = True
digits = "12"
unknown = Null
big = 40000
Same "a 16-bit literal", crypto.generateRandom(8), "SOF_GenRandom(8)"
Same "a 32-bit literal", crypto.generateRandom(CLng(-9)), "SOF_GenRandom(-9)"
Same "a double literal", crypto.generateRandom(16.0), "SOF_GenRandom(16)"
Same "a fraction goes to the nearest", crypto.generateRandom(7.75), "SOF_GenRandom(8)"
Same "a half goes to the even one", crypto.generateRandom(8.5), "SOF_GenRandom(8)"
Same "a 16-bit variable", crypto.generateRandom(whole), "SOF_GenRandom(8)"
Same "a 32-bit variable", crypto.generateRandom(wide), "SOF_GenRandom(9)"
Same "a double variable", crypto.generateRandom(fraction), "SOF_GenRandom(1000)"
Same "a currency variable", crypto.generateRandom(money), "SOF_GenRandom(7)"
Same "a byte variable", crypto.generateRandom(small), "SOF_GenRandom(6)"
Same "a boolean variable", crypto.generateRandom(flag), "SOF_GenRandom(-1)"
Same "a text variable that is a number", crypto.generateRandom(digits), "SOF_GenRandom(12)"
Same "Empty for a number", crypto.generateRandom(Empty), "SOF_GenRandom(0)"
Same "a variable without a value for a number", crypto.generateRandom(nothingYet), "SOF_GenRandom(0)"
Same "the largest", crypto.generateRandom(32767), "SOF_GenRandom(32767)"
Same "the smallest", crypto.generateRandom(-32768), "SOF_GenRandom(-32768)"
Same "32 bits where the method takes them", crypto.SecertSegment("s", 2147483647, wide, big), _
    "SOF_SecertSegment(s,2147483647,9,40000)"
Start "32768" : a = crypto.generateRandom(32768) : Refused kOverflow
Start "-32769" : a = crypto.generateRandom(-32769) : Refused kOverflow
Start "a variable of 40000" : a = crypto.generateRandom(big) : Refused kOverflow
Start "a double of 1e10" : a = crypto.generateRandom(1e10) : Refused kOverflow
Start "Null for a number" : a = crypto.generateRandom(Null) : Refused kMismatch
Start "a variable of Null for a number" : a = crypto.generateRandom(unknown) : Refused kMismatch
Start "a word for a number" : a = crypto.generateRandom("eight") : Refused kMismatch

' Texts.
Dim text, container, list(2), many
text = "hello"
container = "c1"
list(1) = "element"
Same "variables", crypto.signedData(text, container), "SOF_SignData(c1/SN01,hello)"
Same "variables by value", crypto.signedData((text), (container)), "SOF_SignData(c1/SN01,hello)"
Same "the variables are as before", text & container, "helloc1"
Same "an element of an array", crypto.Hash(list(1)), "SOF_HashData(8,element)"
Same "a number for a text", crypto.signedData(12, container), "SOF_SignData(c1/SN01,12)"
Same "a variable number for a text", crypto.Hash(big), "SOF_HashData(8,40000)"
Same "Empty for a text", crypto.signedData(Empty, container), "SOF_SignData(c1/SN01,)"
Same "a variable without a value for a text", crypto.signedData(nothingYet, container), "SOF_SignData(c1/SN01,)"
Same "Empty for an optional text", crypto.signedData(text, Empty), "SOF_SignData(,hello)"
Same "an empty text", crypto.HashData(""), "SOF_HashData(2,)"
Same "a null text", crypto.HashData(vbNullString), "SOF_HashData(2,)"
Same "quotes, line ends and tabs", crypto.HashData("""a""" & vbCrLf & vbTab & "'b'"), _
    "SOF_HashData(2,""a""" & vbCrLf & vbTab & "'b')"
Same "percent signs", crypto.HashData("%s%n%d%"), "SOF_HashData(2,%s%n%d%)"
many = String(100000, "x")
Same "a long text", crypto.HashData(many), "SOF_HashData(2," & many & ")"
Start "Null for a text" : a = crypto.signedData(Null, container) : Refused kMismatch
Start "Null for an optional text" : a = crypto.signedData(text, Null) : Refused kMismatch
Start "a variable of Null for a text" : a = crypto.signedData(unknown) : Refused kMismatch
Start "a whole array" : a = crypto.Hash(list) : Refused kMismatch

' Arguments left out.
Same "signedData without a container", crypto.signedData(text), "SOF_SignData(,hello)"
Same "authUser without a container", crypto.authUser(text), "SOF_SignData(,hello)"
Same "signedDataByP7 without a container", crypto.signedDataByP7(text), "SOF_SignMessage(0,,hello)"
Same "envelopedData without a container", crypto.envelopedData(text, 1), "SOF_EncryptDataEx(,hello)"
Same "setUserCfg with two arguments", crypto.setUserCfg(1, "v"), 0
Same "setUserCfg with a gap", crypto.setUserCfg(1, "v", , "w"), 0
Same "setOnceCfg with two arguments", crypto.setOnceCfg(1, "v"), 0
Same "importCert with two arguments", certificate.importCert("xyz", 1), 0
Same "exportCert with one argument", certificate.exportCert(1), "xyz"
Same "validateCert with one argument", certificate.validateCert(""), 0
' The stand-in's expiry is no date, so that the call ends early, with the answer empty.
Same "checkValidaty without an argument", certificate.checkValidaty(), 0
Same "checkValidaty without brackets", certificate.checkValidaty, 0
Same "getUserList without brackets", util.getUserList, ""
Start "a required text left out" : a = crypto.Hash() : Refused kArgumentCount
Start "a required number left out" : a = certificate.importCert("xyz") : Refused kArgumentCount
Start "an argument too many" : a = crypto.Hash("a", "b") : Refused kArgumentCount
certificate.importCert "as a statement", 1
Same "a call as a statement", certificate.exportCert(1), "as a statement"
Call certificate.importCert("with Call", 1)
Same "a call with Call", certificate.exportCert(1), "with Call"

' Names.
Same "all small letters", crypto.hash("a"), "SOF_HashData(8,a)"
Same "all capitals", crypto.SIGNEDDATA("a", "c1"), "SOF_SignData(c1/SN01,a)"
Same "mixed letters", util.BASE64encodeSTRING("a"), "SOF_Base64Encode(a)"
Start "an unknown method" : a = crypto.signedDatum("a") : Refused kUnknown
Start "another object's method" : a = util.signedData("a") : Refused kUnknown
Start "a method of the backend" : a = crypto.SOF_SignData("c1", "a") : Refused kUnknown
Start "setting a method as a property" : crypto.Hash = "a" : Refused kUnknown
Same "after all that a call goes as before", crypto.Hash("a"), "SOF_HashData(8,a)"

Same "no row was passed over", checks, 68
WScript.Echo "END"
If failed > 0 Then WScript.Quit 1

// Gives the digests of a text and of a file.
//     cscript //nologo hash.js TEXT [FILE]
// Hash makes the digest that EncStr and DecStr take as key; HashData and HashFile are for data. All are Base64.

function show(asked, answer) {
    WScript.Echo(asked);
    WScript.Echo("    " + answer);
    return answer;
}

function main(given) {
    if (given.length < 1 || given.length > 2) {
        WScript.Echo("usage: cscript //nologo hash.js TEXT [FILE]");
        return 2;
    }
    var crypto = new ActiveXObject("TOLVSecCOM.Crypto"), made = 0, asked = given.length + 1;
    if (show("Crypto.HashData(\"" + given(0) + "\")", crypto.HashData(given(0)))) made++;
    if (show("Crypto.Hash(\"" + given(0) + "\")", crypto.Hash(given(0)))) made++;
    if (given.length > 1 && show("Crypto.HashFile(\"" + given(1) + "\")", crypto.HashFile(given(1)))) made++;
    if (made !== asked) WScript.Echo("A digest is empty: the log says why.");
    return made === asked ? 0 : 1;
}

var code = 1;
try {
    code = main(WScript.Arguments);
} catch (e) {
    WScript.Echo("error " + (e.number >>> 0).toString(16) + ": " + e.message);
}
WScript.Echo("END");
WScript.Quit(code);

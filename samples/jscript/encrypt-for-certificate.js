// Encrypts a short text with the public key of a certificate, and decrypts it with the container's private key.
//     cscript //nologo encrypt-for-certificate.js CONTAINER PIN [TEXT]
// For more than a key or a password take an envelope (seal-envelope.js): a public key encrypts little at a time.

function show(asked, answer) {
    WScript.Echo(asked);
    WScript.Echo("    " + (String(answer).length > 100 ? answer.substr(0, 100) + "..." : answer));
    return answer;
}

function main(given) {
    if (given.length < 2 || given.length > 3) {
        WScript.Echo("usage: cscript //nologo encrypt-for-certificate.js CONTAINER PIN [TEXT]");
        return 2;
    }
    var container = given(0), text = given.length > 2 ? given(2) : "Password \u53e3\u4ee4 42";
    var crypto = new ActiveXObject("TOLVSecCOM.Crypto");
    var certificate = new ActiveXObject("TOLVSecCOM.Certificate");
    var manager = new ActiveXObject("TOLVSecCOM.DeviceMgr");

    if (certificate.importCert(container, 6) !== 0 && certificate.importCert(container, 5) !== 0) {
        WScript.Echo("No plugged-in key gives a certificate for " + container + ".");
        return 1;
    }
    var secret = show("Crypto.pubKeyEncrypt(certificate, \"" + text + "\")",
                      crypto.pubKeyEncrypt(certificate.exportCert(1), text));
    if (!secret) return 1;
    if (show("DeviceMgr.userLoginEx(\"\", \"" + container + "\", \"\", PIN)",
             manager.userLoginEx("", container, "", given(1))) !== 0) return 1;
    var back = show("Crypto.priKeyDecrypt(\"" + container + "\", secret)",
                    crypto.priKeyDecrypt(container, secret));
    WScript.Echo(back === text ? "The text came back." : "The text did not come back.");
    return back === text ? 0 : 1;
}

var code = 1;
try {
    code = main(WScript.Arguments);
} catch (e) {
    WScript.Echo("error " + (e.number >>> 0).toString(16) + ": " + e.message);
}
WScript.Echo("END");
WScript.Quit(code);

// Signs a text with the key of a container, verifies the signature, and shows that a changed text fails.
//     cscript //nologo sign-text.js CONTAINER PIN [TEXT [FOLDER]]
// With a folder it leaves text.txt, signature.bin and certificate.cer there, for other programs to verify.
// An empty text stands for the sample's own.

function show(asked, answer) {
    WScript.Echo(asked);
    WScript.Echo("    " + (String(answer).length > 100 ? answer.substr(0, 100) + "..." : answer));
    return answer;
}

// What the objects give as Base64, as a file.
function save(util, base64, path) {
    return show("Util.base64DecodeFile(..., \"" + path + "\")", util.base64DecodeFile(base64, path)) === 0;
}

function main(given) {
    if (given.length < 2 || given.length > 4) {
        WScript.Echo("usage: cscript //nologo sign-text.js CONTAINER PIN [TEXT [FOLDER]]");
        return 2;
    }
    var container = given(0), text = given.length > 2 && given(2) ? given(2) : "Contract \u5408\u540c 42";
    var crypto = new ActiveXObject("TOLVSecCOM.Crypto");
    var certificate = new ActiveXObject("TOLVSecCOM.Certificate");
    var manager = new ActiveXObject("TOLVSecCOM.DeviceMgr");

    if (show("DeviceMgr.userLoginEx(\"\", \"" + container + "\", \"\", PIN)",
             manager.userLoginEx("", container, "", given(1))) !== 0) return 1;
    var signature = show("Crypto.signedData(\"" + text + "\", \"" + container + "\")",
                         crypto.signedData(text, container));
    if (!signature) return 1;

    // Whoever verifies has the text, the signature and the signer's certificate.
    certificate.importCert(container, 5);
    var signer = certificate.exportCert(1);
    var good = show("Crypto.verifySignedData(signature, certificate, text)",
                    crypto.verifySignedData(signature, signer, text));
    var changed = show("Crypto.verifySignedData(signature, certificate, changed text)",
                       crypto.verifySignedData(signature, signer, text + "."));

    if (given.length > 3) {
        var util = new ActiveXObject("TOLVSecCOM.Util"), folder = given(3) + "\\";
        if (!save(util, util.base64EncodeString(text), folder + "text.txt")) return 1;
        if (!save(util, signature, folder + "signature.bin")) return 1;
        if (!save(util, signer, folder + "certificate.cer")) return 1;
    }
    WScript.Echo(good === 0 && changed !== 0 ? "The signature holds, and holds for this text only."
                                             : "The signature does not tell the texts apart.");
    return good === 0 && changed !== 0 ? 0 : 1;
}

var code = 1;
try {
    code = main(WScript.Arguments);
} catch (e) {
    WScript.Echo("error " + (e.number >>> 0).toString(16) + ": " + e.message);
}
WScript.Echo("END");
WScript.Quit(code);

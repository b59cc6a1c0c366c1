// Seals a text for the owner of a container, who alone can open it, and opens it again.
//     cscript //nologo seal-envelope.js CONTAINER PIN [TEXT [FOLDER]]
// With a folder it leaves envelope.p7m and recipient.cer there.
// An empty text stands for the sample's own.

function show(asked, answer) {
    WScript.Echo(asked);
    WScript.Echo("    " + (String(answer).length > 100 ? answer.substr(0, 100) + "..." : answer));
    return answer;
}

function main(given) {
    if (given.length < 2 || given.length > 4) {
        WScript.Echo("usage: cscript //nologo seal-envelope.js CONTAINER PIN [TEXT [FOLDER]]");
        return 2;
    }
    var container = given(0), text = given.length > 2 && given(2) ? given(2) : "Secret \u79d8\u5bc6 42";
    var crypto = new ActiveXObject("TOLVSecCOM.Crypto");
    var certificate = new ActiveXObject("TOLVSecCOM.Certificate");
    var manager = new ActiveXObject("TOLVSecCOM.DeviceMgr");

    // Sealing needs the recipient's certificate only, the one for encryption where there are two.
    if (show("Certificate.importCert(\"" + container + "\", 6): for encryption",
             certificate.importCert(container, 6)) !== 0 &&
        show("Certificate.importCert(\"" + container + "\", 5): the only one",
             certificate.importCert(container, 5)) !== 0) return 1;
    var recipient = certificate.exportCert(1);
    var envelope = show("Crypto.envelopedData(\"" + text + "\", 1, certificate)",
                        crypto.envelopedData(text, 1, recipient));
    if (!envelope) return 1;

    // Opening needs the key, and so a login.
    if (show("DeviceMgr.userLoginEx(\"\", \"" + container + "\", \"\", PIN)",
             manager.userLoginEx("", container, "", given(1))) !== 0) return 1;
    var opened = show("Crypto.envelopedData(envelope, 0, \"" + container + "\")",
                      crypto.envelopedData(envelope, 0, container));

    if (given.length > 3) {
        var util = new ActiveXObject("TOLVSecCOM.Util"), folder = given(3) + "\\";
        if (util.base64DecodeFile(envelope, folder + "envelope.p7m") !== 0 ||
            util.base64DecodeFile(recipient, folder + "recipient.cer") !== 0) {
            WScript.Echo("Could not be saved in " + folder);
            return 1;
        }
        WScript.Echo("Saved as " + folder + "envelope.p7m");
    }
    WScript.Echo(opened === text ? "The text came back." : "The text did not come back.");
    return opened === text ? 0 : 1;
}

var code = 1;
try {
    code = main(WScript.Arguments);
} catch (e) {
    WScript.Echo("error " + (e.number >>> 0).toString(16) + ": " + e.message);
}
WScript.Echo("END");
WScript.Quit(code);

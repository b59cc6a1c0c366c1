// Signs a text as a PKCS #7 message, which carries text and certificate with it, and takes it apart again.
//     cscript //nologo sign-message.js CONTAINER PIN [TEXT [FOLDER]]
// With a folder it leaves message.p7b there, for other programs to verify.
// An empty text stands for the sample's own.

function show(asked, answer) {
    WScript.Echo(asked);
    WScript.Echo("    " + (String(answer).length > 100 ? answer.substr(0, 100) + "..." : answer));
    return answer;
}

// One character of the signature, which stands last in a message, replaced by another one.
function tampered(message) {
    var at = message.length - 16, other = message.charAt(at) === "A" ? "B" : "A";
    return message.substr(0, at) + other + message.substr(at + 1);
}

function main(given) {
    if (given.length < 2 || given.length > 4) {
        WScript.Echo("usage: cscript //nologo sign-message.js CONTAINER PIN [TEXT [FOLDER]]");
        return 2;
    }
    var container = given(0), text = given.length > 2 && given(2) ? given(2) : "Contract \u5408\u540c 42";
    var crypto = new ActiveXObject("TOLVSecCOM.Crypto");
    var manager = new ActiveXObject("TOLVSecCOM.DeviceMgr");

    if (show("DeviceMgr.userLoginEx(\"\", \"" + container + "\", \"\", PIN)",
             manager.userLoginEx("", container, "", given(1))) !== 0) return 1;
    var message = show("Crypto.signedDataByP7(\"" + text + "\", \"" + container + "\")",
                       crypto.signedDataByP7(text, container));
    if (!message) return 1;

    var good = show("Crypto.verifySignedDataByP7(message)", crypto.verifySignedDataByP7(message));
    var changed = show("Crypto.verifySignedDataByP7(changed message)",
                       crypto.verifySignedDataByP7(tampered(message)));
    var content = show("Crypto.decodeP7Data(message, 1): its text", crypto.decodeP7Data(message, 1));
    show("Crypto.decodeP7Data(message, 2): the signer's certificate", crypto.decodeP7Data(message, 2));
    show("Crypto.decodeP7Data(message, 3): the signature", crypto.decodeP7Data(message, 3));

    if (given.length > 3) {
        var util = new ActiveXObject("TOLVSecCOM.Util"), path = given(3) + "\\message.p7b";
        if (show("Util.base64DecodeFile(message, \"" + path + "\")", util.base64DecodeFile(message, path)) !== 0)
            return 1;
    }
    var ok = good === 0 && changed !== 0 && content === text;
    WScript.Echo(ok ? "The message holds, gives its text back, and a changed one fails."
                    : "The message does not hold what it promises.");
    return ok ? 0 : 1;
}

var code = 1;
try {
    code = main(WScript.Arguments);
} catch (e) {
    WScript.Echo("error " + (e.number >>> 0).toString(16) + ": " + e.message);
}
WScript.Echo("END");
WScript.Quit(code);

// Signs a file and verifies it; then one byte more is written to a copy, which must fail.
//     cscript //nologo sign-file.js CONTAINER PIN FILE
// It leaves FILE.sig and FILE.cer, for other programs to verify, and FILE.changed.

function show(asked, answer) {
    WScript.Echo(asked);
    WScript.Echo("    " + (String(answer).length > 100 ? answer.substr(0, 100) + "..." : answer));
    return answer;
}

function main(given) {
    if (given.length !== 3) {
        WScript.Echo("usage: cscript //nologo sign-file.js CONTAINER PIN FILE");
        return 2;
    }
    var container = given(0), file = given(2);
    var crypto = new ActiveXObject("TOLVSecCOM.Crypto");
    var certificate = new ActiveXObject("TOLVSecCOM.Certificate");
    var manager = new ActiveXObject("TOLVSecCOM.DeviceMgr");
    var util = new ActiveXObject("TOLVSecCOM.Util");
    var files = new ActiveXObject("Scripting.FileSystemObject");

    if (show("DeviceMgr.userLoginEx(\"\", \"" + container + "\", \"\", PIN)",
             manager.userLoginEx("", container, "", given(1))) !== 0) return 1;
    var signature = show("Crypto.signFile(\"" + file + "\", \"" + container + "\")",
                         crypto.signFile(file, container));
    if (!signature) return 1;

    certificate.importCert(container, 5);
    var signer = certificate.exportCert(1);
    var good = show("Crypto.verifySignFile(file, certificate, signature)",
                    crypto.verifySignFile(file, signer, signature));

    files.CopyFile(file, file + ".changed");
    var more = files.OpenTextFile(file + ".changed", 8);
    more.Write(".");
    more.Close();
    var changed = show("Crypto.verifySignFile(changed file, certificate, signature)",
                       crypto.verifySignFile(file + ".changed", signer, signature));

    if (util.base64DecodeFile(signature, file + ".sig") !== 0 || util.base64DecodeFile(signer, file + ".cer") !== 0) {
        WScript.Echo("Could not be saved beside " + file);
        return 1;
    }
    WScript.Echo(good === 0 && changed !== 0 ? "The signature holds, and holds for this file only."
                                             : "The signature does not tell the files apart.");
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

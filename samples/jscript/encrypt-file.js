// Encrypts a file with a key of the caller's and decrypts it; a wrong key must fail and leave no file.
//     cscript //nologo encrypt-file.js KEY FILE
// It leaves FILE.enc and FILE.dec. No login is needed.

function show(asked, answer) {
    WScript.Echo(asked);
    WScript.Echo("    " + answer);
    return answer;
}

function main(given) {
    if (given.length !== 2) {
        WScript.Echo("usage: cscript //nologo encrypt-file.js KEY FILE");
        return 2;
    }
    var key = given(0), file = given(1), secret = file + ".enc", back = file + ".dec", none = file + ".none";
    var crypto = new ActiveXObject("TOLVSecCOM.Crypto");
    var files = new ActiveXObject("Scripting.FileSystemObject");

    if (show("Crypto.encryptFile(\"" + file + "\", \"" + secret + "\", key)",
             crypto.encryptFile(file, secret, key)) !== 0) return 1;
    if (show("Crypto.decryptFile(\"" + secret + "\", \"" + back + "\", key)",
             crypto.decryptFile(secret, back, key)) !== 0) return 1;
    var wrong = show("Crypto.decryptFile(\"" + secret + "\", \"" + none + "\", wrong key)",
                     crypto.decryptFile(secret, none, key + "x"));

    var before = show("Crypto.HashFile(\"" + file + "\")", crypto.HashFile(file));
    var after = show("Crypto.HashFile(\"" + back + "\")", crypto.HashFile(back));
    var right = before && before === after && before !== crypto.HashFile(secret) && wrong !== 0 &&
        !files.FileExists(none);
    WScript.Echo(right ? "The file came back, and not with a wrong key." : "The file did not come back as it was.");
    return right ? 0 : 1;
}

var code = 1;
try {
    code = main(WScript.Arguments);
} catch (e) {
    WScript.Echo("error " + (e.number >>> 0).toString(16) + ": " + e.message);
}
WScript.Echo("END");
WScript.Quit(code);

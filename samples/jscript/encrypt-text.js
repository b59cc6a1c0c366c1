// Encrypts a text with a key of the caller's and decrypts it, by each of the three pairs of methods; a wrong
// key must give nothing.
//     cscript //nologo encrypt-text.js KEY [TEXT]
// What one pair has encrypted only the same pair decrypts. No login is needed.

function show(asked, answer) {
    WScript.Echo(asked);
    WScript.Echo("    " + (String(answer).length > 100 ? answer.substr(0, 100) + "..." : answer));
    return answer;
}

function main(given) {
    if (given.length < 1 || given.length > 2) {
        WScript.Echo("usage: cscript //nologo encrypt-text.js KEY [TEXT]");
        return 2;
    }
    var key = given(0), text = given.length > 1 ? given(1) : "Letter \u4fe1 42";
    var crypto = new ActiveXObject("TOLVSecCOM.Crypto");
    var secret, back, right = 0;

    // The key is hashed first.
    secret = show("Crypto.EncStr(key, \"" + text + "\")", crypto.EncStr(key, text));
    back = show("Crypto.DecStr(key, secret)", crypto.DecStr(key, secret));
    if (secret && secret !== text && back === text) right++;
    if (show("Crypto.DecStr(wrong key, secret)", crypto.DecStr(key + "x", secret)) === "") right++;

    secret = show("Crypto.EncData(key, \"" + text + "\")", crypto.EncData(key, text));
    back = show("Crypto.DecData(key, secret)", crypto.DecData(key, secret));
    if (secret && secret !== text && back === text) right++;
    if (show("Crypto.DecData(wrong key, secret)", crypto.DecData(key + "x", secret)) === "") right++;

    // The oldest pair, for what was encrypted long ago.
    secret = show("Crypto.encryptData(key, \"" + text + "\")", crypto.encryptData(key, text));
    back = show("Crypto.decryptData(key, secret)", crypto.decryptData(key, secret));
    if (secret && secret !== text && back === text) right++;
    if (show("Crypto.decryptData(wrong key, secret)", crypto.decryptData(key + "x", secret)) === "") right++;

    WScript.Echo(right === 6 ? "The text came back each time, and never with a wrong key."
                             : "Only " + right + " of 6 answers are as they should be.");
    return right === 6 ? 0 : 1;
}

var code = 1;
try {
    code = main(WScript.Arguments);
} catch (e) {
    WScript.Echo("error " + (e.number >>> 0).toString(16) + ": " + e.message);
}
WScript.Echo("END");
WScript.Quit(code);

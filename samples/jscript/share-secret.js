// Splits a secret into shares and rebuilds it from enough of them; with one share fewer it must not come back.
//     cscript //nologo share-secret.js SECRET [SHARES NEEDED [INDISPENSABLE]]
// The first INDISPENSABLE shares have to be among the NEEDED. Without numbers: 5 shares, 3 needed, 0 indispensable.

function show(asked, answer) {
    WScript.Echo(asked);
    WScript.Echo("    " + (String(answer).length > 100 ? answer.substr(0, 100) + "..." : answer));
    return answer;
}

function main(given) {
    var n = given.length > 2 ? parseInt(given(1), 10) : 5, needed = given.length > 2 ? parseInt(given(2), 10) : 3;
    var must = given.length > 3 ? parseInt(given(3), 10) : 0;
    if (given.length < 1 || given.length === 2 || given.length > 4 || !(n >= needed && needed >= must && needed > 1)) {
        WScript.Echo("usage: cscript //nologo share-secret.js SECRET [SHARES NEEDED [INDISPENSABLE]]");
        return 2;
    }
    var secret = given(0), crypto = new ActiveXObject("TOLVSecCOM.Crypto");
    var text = show("Crypto.SecertSegment(secret, " + n + ", " + needed + ", " + must + ")",
                    crypto.SecertSegment(secret, n, needed, must));
    if (!text) return 1;

    // The shares stand in one text; what parts them is the backend's choice, so it is taken from there.
    var between = /[\s;,&|]+/.exec(text);
    if (!between) return 1;
    var shares = text.split(between[0]);
    var enough = shares.slice(0, needed).join(between[0]), few = shares.slice(0, needed - 1).join(between[0]);
    var back = show("Crypto.SecertRecovery(" + needed + " shares)", crypto.SecertRecovery(enough));
    var none = show("Crypto.SecertRecovery(" + (needed - 1) + " shares)", crypto.SecertRecovery(few));
    var right = back === secret && none !== secret;
    WScript.Echo(right ? "Enough shares give the secret back, fewer do not." : "The shares do not keep the secret.");
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

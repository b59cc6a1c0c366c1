// Gives random data, as Base64, twice.
//     cscript //nologo random.js [BYTES]
// The number is a short: 1 to 32767.

function main(given) {
    var bytes = given.length === 0 ? 16 : parseInt(given(0), 10);
    if (given.length > 1 || !(bytes > 0 && bytes <= 32767)) {
        WScript.Echo("usage: cscript //nologo random.js [BYTES]");
        return 2;
    }
    var crypto = new ActiveXObject("TOLVSecCOM.Crypto"), drawn = [];
    for (var i = 0; i < 2; i++) {
        drawn[i] = crypto.generateRandom(bytes);
        WScript.Echo("Crypto.generateRandom(" + bytes + ")");
        WScript.Echo("    " + drawn[i]);
    }
    if (!drawn[0] || !drawn[1]) return 1;
    // Of one byte the same may well come twice.
    return bytes < 8 || drawn[0] !== drawn[1] ? 0 : 1;
}

var code = 1;
try {
    code = main(WScript.Arguments);
} catch (e) {
    WScript.Echo("error " + (e.number >>> 0).toString(16) + ": " + e.message);
}
WScript.Echo("END");
WScript.Quit(code);

// A backend that dies inside a call: the page sees success and an empty answer, and goes on.
var failed = 0;
function same(name, expected, actual) {
    var good = expected === actual;
    if (!good) failed++;
    WScript.Echo(good ? "ok - " + name : "not ok - " + name + ": expected <" + expected + "> but got <" + actual + ">");
}
try {
    var crypto = new ActiveXObject("TOLVSecCOM.Crypto");
    var util = new ActiveXObject("TOLVSecCOM.Util");
    for (var i = 1; i <= 5; i++) {
        same("a fault in Crypto, time " + i, "", crypto.Hash("x") || "");
        same("a fault in Util, time " + i, "", util.base64EncodeString("x") || "");
        same("the next call, time " + i, "SOF_GenRandom(8)", crypto.generateRandom(8));
    }
    same("a refused call", "", crypto.signedData("x", "c1"));
    same("an unknown method", "", crypto.signFile("x", "c1"));
    WScript.Echo("END");
} catch (e) {
    WScript.Echo("not ok - the script: " + e.message);
    failed++;
}
WScript.Quit(failed ? 1 : 0);

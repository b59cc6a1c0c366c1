// What JScript passes for a number, a text and nothing at all, and which of it is refused before the method runs.
// Code pages: 936, 1252, 65001
var checks = 0, failed = 0;

function report(name, good, why) {
    checks++;
    if (!good) failed++;
    WScript.Echo(good ? "ok - " + name : "not ok - " + name + ": " + why);
}

function same(name, expected, body) {
    var actual;
    try {
        actual = body();
    } catch (e) {
        actual = "error " + (e.number >>> 0).toString(16);
    }
    report(name, expected === actual,
           "expected <" + expected + "> but got <" + actual + "> (" + typeof actual + ")");
}

// Each host has a number of its own for an automation error or takes the platform's.
var overflow = ["8002000a", "800a0006"], mismatch = ["80020005", "800a000d", "800a005e"],
    count = ["8002000e", "800a01c2"], unknown = ["80020003", "800a01b6"];

function refused(name, codes, body) {
    var caught = "no error";
    try {
        caught = "an answer <" + body() + ">";
    } catch (e) {
        caught = (e.number >>> 0).toString(16);
    }
    var good = false;
    for (var i = 0; i < codes.length; i++) good = good || caught === codes[i];
    report(name + " is refused", good, "expected " + codes.join(" or ") + " but got " + caught);
}

function numbers(crypto, certificate) {
    same("a 32-bit integer for a 16-bit one", "SOF_GenRandom(8)", function() { return crypto.generateRandom(8); });
    same("a double without a fraction", "SOF_GenRandom(1000)", function() { return crypto.generateRandom(1e3); });
    same("a quotient", "SOF_GenRandom(4)", function() { return crypto.generateRandom(20 / 5); });
    same("a fraction goes to the nearest", "SOF_GenRandom(8)", function() { return crypto.generateRandom(7.75); });
    same("a half goes to the even one", "SOF_GenRandom(8)", function() { return crypto.generateRandom(8.5); });
    same("the largest", "SOF_GenRandom(32767)", function() { return crypto.generateRandom(32767); });
    same("the smallest", "SOF_GenRandom(-32768)", function() { return crypto.generateRandom(-32768); });
    same("a text that is a number", "SOF_GenRandom(12)", function() { return crypto.generateRandom("12"); });
    same("true", "SOF_GenRandom(-1)", function() { return crypto.generateRandom(true); });
    same("undefined", "SOF_GenRandom(0)", function() { return crypto.generateRandom(undefined); });
    same("32 bits where the method takes them", "SOF_SecertSegment(s,2147483647,-2147483648,70000)",
         function() { return crypto.SecertSegment("s", 2147483647, -2147483648, 7e4); });
    same("a double for a kind", "0 abc",
         function() { return certificate.importCert("abc", 1.0) + " " + certificate.exportCert(Math.sqrt(1)); });
    refused("32768", overflow, function() { return crypto.generateRandom(32768); });
    refused("-32769", overflow, function() { return crypto.generateRandom(-32769); });
    refused("1e10", overflow, function() { return crypto.generateRandom(1e10); });
    refused("a kind of 65537", overflow, function() { return certificate.importCert("x", 65537); });
    refused("2147483648", overflow, function() { return crypto.SecertSegment("s", 2147483648, 1, 1); });
    refused("null for a number", mismatch, function() { return crypto.generateRandom(null); });
    refused("a word for a number", mismatch, function() { return crypto.generateRandom("eight"); });
    same("what was refused has changed nothing", "abc", function() { return certificate.exportCert(1); });
}

function texts(crypto) {
    same("a number for a text", "SOF_SignData(c1/SN01,12345)", function() { return crypto.signedData(12345, "c1"); });
    same("a fraction for a text", "SOF_SignData(c1/SN01,1.5)", function() { return crypto.signedData(1.5, "c1"); });
    same("undefined for a text", "SOF_SignData(c1/SN01,)", function() { return crypto.signedData(undefined, "c1"); });
    same("a String object", "SOF_SignData(c1/SN01,hello)",
         function() { return crypto.signedData(new String("hello"), new String("c1")); });
    same("an object with a toString", "SOF_HashData(2,named)",
         function() { return crypto.HashData({ toString: function() { return "named"; } }); });
    same("an empty text", "SOF_HashData(2,)", function() { return crypto.HashData(""); });
    same("quotes, line ends and tabs", 'SOF_HashData(2,"a"\r\n\t\'b\')',
         function() { return crypto.HashData('"a"\r\n\t\'b\''); });
    same("percent signs", "SOF_HashData(2,%s%n%d%)", function() { return crypto.HashData("%s%n%d%"); });
    var many = "0123456789";
    while (many.length < 100000) many += many;
    same("a long text", "SOF_HashData(2," + many + ")", function() { return crypto.HashData(many); });
    refused("null for a text", mismatch, function() { return crypto.signedData(null, "c1"); });
    refused("null for an optional text", mismatch, function() { return crypto.signedData("a", null); });
}

function omissions(certificate, crypto) {
    same("signedData without a container", "SOF_SignData(,a)", function() { return crypto.signedData("a"); });
    same("an undefined container", "SOF_SignData(,a)", function() { return crypto.signedData("a", undefined); });
    same("authUser without a container", "SOF_SignData(,a)", function() { return crypto.authUser("a"); });
    same("signedDataByP7 without a container", "SOF_SignMessage(0,,a)",
         function() { return crypto.signedDataByP7("a"); });
    same("envelopedData without a container", "SOF_EncryptDataEx(,a)",
         function() { return crypto.envelopedData("a", 1); });
    same("setUserCfg with two arguments", 0, function() { return crypto.setUserCfg(1, "v"); });
    same("setUserCfg with three arguments", 0, function() { return crypto.setUserCfg(1, "v", "w"); });
    same("setOnceCfg with two arguments", 0, function() { return crypto.setOnceCfg(1, "v"); });
    same("importCert with two arguments", 0, function() { return certificate.importCert("xyz", 1); });
    same("exportCert with one argument", "xyz", function() { return certificate.exportCert(1); });
    same("validateCert with one argument", 0, function() { return certificate.validateCert(""); });
    // The stand-in's expiry is no date, so that the call ends early, with the answer empty.
    same("checkValidaty without an argument", 0, function() { return certificate.checkValidaty(); });
    refused("a required text left out", count, function() { return crypto.Hash(); });
    refused("a required number left out", count, function() { return certificate.importCert("xyz"); });
    refused("an argument too many", count, function() { return crypto.Hash("a", "b"); });
}

function names(crypto, util) {
    same("all small letters", "SOF_HashData(8,a)", function() { return crypto.hash("a"); });
    same("all capitals", "SOF_SignData(c1/SN01,a)", function() { return crypto.SIGNEDDATA("a", "c1"); });
    same("mixed letters", "SOF_Base64Encode(a)", function() { return util.BASE64encodeSTRING("a"); });
    same("a name in brackets", "SOF_Base64Encode(a)", function() { return util["Base64EncodeString"]("a"); });
    refused("an unknown method", unknown, function() { return crypto.signedDatum("a"); });
    refused("another object's method", unknown, function() { return util.signedData("a"); });
    refused("a method of the backend", unknown, function() { return crypto.SOF_SignData("c1", "a"); });
    refused("reading a method as a property", unknown, function() { return crypto.Hash + ""; });
    refused("setting a method as a property", unknown, function() { crypto.Hash = "a"; });
    same("after all that a call goes as before", "SOF_HashData(8,a)", function() { return crypto.Hash("a"); });
}

try {
    var certificate = new ActiveXObject("TOLVSecCOM.Certificate");
    var crypto = new ActiveXObject("TOLVSecCOM.Crypto");
    numbers(crypto, certificate);
    texts(crypto);
    omissions(certificate, crypto);
    names(crypto, new ActiveXObject("TOLVSecCOM.Util"));
    report("no check was passed over", checks === 56, "there were " + checks);
    WScript.Echo("END");
} catch (e) {
    WScript.Echo("not ok - the script: " + (e.number >>> 0).toString(16) + " " + e.message);
    failed++;
}
WScript.Quit(failed ? 1 : 0);

// All four objects by both of their names in JScript, and one forwarded call of each.
var failed = 0;

function check(name, body) {
    var why = "";
    try {
        why = body();
    } catch (e) {
        why = "error " + (e.number >>> 0).toString(16) + " " + e.message;
    }
    if (why) failed++;
    WScript.Echo(why ? "not ok - " + name + ": " + why : "ok - " + name);
}

function same(expected, actual) {
    return expected === actual ? "" : "expected <" + expected + "> but got <" + actual + "> (" + typeof actual + ")";
}

function make(name) { return new ActiveXObject("TOLVSecCOM." + name); }

try {
    var names = ["Certificate", "Crypto", "DeviceMgr", "Util"];
    for (var i = 0; i < names.length; i++) {
        (function(name) {
            check(name + " is made by its name", function() { return same("object", typeof make(name)); });
            check(name + " is made by its versioned name", function() {
                return same("object", typeof make(name + ".1"));
            });
        })(names[i]);
    }
    check("Certificate keeps and gives a certificate", function() {
        return same("0 MIIB", make("Certificate").importCert("MIIB", 1) + " " + make("Certificate").exportCert(1));
    });
    check("Crypto signs with the key's whole name", function() {
        return same("SOF_SignData(c1/SN01,hello)", make("Crypto").signedData("hello", "c1"));
    });
    check("an optional text left out is the empty one", function() {
        return same("SOF_SignData(,hello)", make("Crypto").signedData("hello"));
    });
    check("letter case does not count", function() {
        return same("SOF_SignData(c2/SN02,hello)", make("Crypto").SIGNEDDATA("hello", "c2"));
    });
    check("DeviceMgr lists the containers of a device", function() {
        return same("c1&&&", make("DeviceMgr").enumUserCertificates("CSP1"));
    });
    check("DeviceMgr gives a number", function() { return same(0, make("DeviceMgr").userLogin("CSP2", "1234")); });
    check("Util encodes a text", function() {
        return same("SOF_Base64Encode(abc)", make("Util").base64EncodeString("abc"));
    });
    check("Chinese text passes both ways", function() {
        return same("SOF_Base64Encode(\u4e2d\u6587)", make("Util").base64EncodeString("\u4e2d\u6587"));
    });
    check("a method that is none raises an error", function() {
        try {
            make("Util").noSuchMethod("x");
        } catch (e) {
            return "";
        }
        return "no error came";
    });
    check("a required argument left out raises an error", function() {
        try {
            make("Util").base64EncodeString();
        } catch (e) {
            return "";
        }
        return "no error came";
    });
    WScript.Echo("END");
} catch (e) {
    WScript.Echo("not ok - the script: " + e.message);
    failed++;
}
WScript.Quit(failed ? 1 : 0);

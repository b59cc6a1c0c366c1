// Shows the fields of a container's signing certificate, and for how many days it stays valid.
//     cscript //nologo show-certificate.js CONTAINER [YYYY/MM/DD]
// With a date the days count from the end of that day, else from now.

function main(given) {
    if (given.length < 1 || given.length > 2 || (given.length > 1 && !/^\d{4}\/\d\d\/\d\d$/.test(given(1)))) {
        WScript.Echo("usage: cscript //nologo show-certificate.js CONTAINER [YYYY/MM/DD]");
        return 2;
    }
    var container = given(0), date = given.length > 1 ? given(1) : "";
    var certificate = new ActiveXObject("TOLVSecCOM.Certificate");

    // 5 takes the signing certificate, 6 the one for encryption, 1 a certificate as Base64 text.
    var imported = certificate.importCert(container, 5);
    WScript.Echo("Certificate.importCert(\"" + container + "\", 5)");
    WScript.Echo("    " + imported);
    if (imported !== 0) {
        WScript.Echo("No plugged-in key gives a certificate for " + container + ".");
        return 1;
    }

    var fields = [[1, "version"], [2, "serial number"], [3, "algorithm"], [4, "issuer"], [5, "valid from"],
                  [6, "valid to"], [7, "subject"], [8, "e-mail"], [41, "common name"], [42, "country"],
                  [43, "town"], [44, "province"], [45, "organisation"], [46, "unit"]];
    WScript.Echo("Certificate.getBasicCertInfoByOID(N)");
    for (var i = 0; i < fields.length; i++) {
        var number = Number(fields[i][0]), name = String(fields[i][1]);
        WScript.Echo("    " + (number < 10 ? " " : "") + number + "  " + (name + "               ").substr(0, 15) +
                     certificate.getBasicCertInfoByOID(number));
    }
    WScript.Echo("Certificate.getExtCertInfoByOID(\"2.5.29.15\"): key usage");
    WScript.Echo("    " + certificate.getExtCertInfoByOID("2.5.29.15"));

    // A failure also gives 0, so a program that must know looks at "valid to" as well.
    var days = date ? certificate.checkValidaty(date) : certificate.checkValidaty();
    WScript.Echo("Certificate.checkValidaty(" + (date ? "\"" + date + "\"" : "") + "): days left");
    WScript.Echo("    " + days);
    return 0;
}

var code = 1;
try {
    code = main(WScript.Arguments);
} catch (e) {
    WScript.Echo("error " + (e.number >>> 0).toString(16) + ": " + e.message);
}
WScript.Echo("END");
WScript.Quit(code);

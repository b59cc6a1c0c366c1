// Checks a container's certificate against the chain of its issuers and a revocation list.
//     cscript //nologo check-certificate.js CONTAINER CHAIN-FILE [CRL-FILE]
// Ends with 0 when the certificate is valid and with 1 when it is not.

var MEANING = {
    "0": "valid",
    "-1": "not trusted: the chain does not lead to its issuer",
    "-2": "expired, or not valid yet",
    "-3": "revoked",
    "-4": "not readable as a certificate",
    "-1003": "the chain or the list cannot be read"
};

function main(given) {
    if (given.length < 2 || given.length > 3) {
        WScript.Echo("usage: cscript //nologo check-certificate.js CONTAINER CHAIN-FILE [CRL-FILE]");
        return 2;
    }
    var container = given(0), chain = given(1), list = given.length > 2 ? given(2) : "";
    var certificate = new ActiveXObject("TOLVSecCOM.Certificate");
    var imported = certificate.importCert(container, 5);
    WScript.Echo("Certificate.importCert(\"" + container + "\", 5)");
    WScript.Echo("    " + imported);
    if (imported !== 0) return 1;

    var answer = certificate.validateCert(chain, list);
    WScript.Echo("Certificate.validateCert(\"" + chain + "\", \"" + list + "\")");
    WScript.Echo("    " + answer + ", " + (MEANING[String(answer)] || "the backend's own code"));
    return answer === 0 ? 0 : 1;
}

var code = 1;
try {
    code = main(WScript.Arguments);
} catch (e) {
    WScript.Echo("error " + (e.number >>> 0).toString(16) + ": " + e.message);
}
WScript.Echo("END");
WScript.Quit(code);

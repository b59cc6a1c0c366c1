// Signs an XML document, verifies it, reads its parts, and shows that a changed document fails.
//     cscript //nologo sign-xml.js CONTAINER PIN [FOLDER]
// With a folder it leaves order.xml and order-signed.xml there, for other programs to verify.

var DOCUMENT = "<order number=\"42\"><buyer>\u5f20\u4e09</buyer><sum>1000</sum></order>";

function show(asked, answer) {
    WScript.Echo(asked);
    WScript.Echo("    " + (String(answer).length > 100 ? answer.substr(0, 100) + "..." : answer));
    return answer;
}

function main(given) {
    if (given.length < 2 || given.length > 3) {
        WScript.Echo("usage: cscript //nologo sign-xml.js CONTAINER PIN [FOLDER]");
        return 2;
    }
    var container = given(0);
    var crypto = new ActiveXObject("TOLVSecCOM.Crypto");
    var manager = new ActiveXObject("TOLVSecCOM.DeviceMgr");

    if (show("DeviceMgr.userLoginEx(\"\", \"" + container + "\", \"\", PIN)",
             manager.userLoginEx("", container, "", given(1))) !== 0) return 1;
    var signed = show("Crypto.signedDataXML(" + DOCUMENT + ", \"" + container + "\")",
                      crypto.signedDataXML(DOCUMENT, container));
    if (!signed) return 1;

    var good = show("Crypto.verifySignedDataXML(signed document)", crypto.verifySignedDataXML(signed));
    var changed = show("Crypto.verifySignedDataXML(the same with another sum)",
                       crypto.verifySignedDataXML(signed.replace("<sum>1000<", "<sum>9000<")));
    var parts = ["the document", "digest", "signature", "certificate", "digest algorithm", "signature algorithm"];
    for (var i = 0; i < parts.length; i++)
        show("Crypto.getXMLSignatureInfo(signed document, " + (i + 1) + "): " + parts[i],
             crypto.getXMLSignatureInfo(signed, i + 1));

    if (given.length > 2) {
        var util = new ActiveXObject("TOLVSecCOM.Util"), folder = given(2) + "\\";
        // Text to Base64 and from there to a file is the way to a file in UTF-8.
        if (util.base64DecodeFile(util.base64EncodeString(DOCUMENT), folder + "order.xml") !== 0 ||
            util.base64DecodeFile(util.base64EncodeString(signed), folder + "order-signed.xml") !== 0) {
            WScript.Echo("Could not be saved in " + folder);
            return 1;
        }
        WScript.Echo("Saved as " + folder + "order-signed.xml");
    }
    WScript.Echo(good === 0 && changed !== 0 ? "The signature holds, and holds for this document only."
                                             : "The signature does not tell the documents apart.");
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

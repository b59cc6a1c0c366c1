// Lists what is plugged in: keys, and on each key its users with their containers and certificates.
//     cscript //nologo list-users.js
// The list is to be had from the control; Util.getUserList is an old name that always gives "".

function show(asked, answer) {
    WScript.Echo(asked);
    WScript.Echo("    " + answer);
    return answer;
}

// "a||b&&&c||d&&&" as [["a", "b"], ["c", "d"]].
function parts(list) {
    var items = list.split("&&&"), found = [];
    for (var i = 0; i < items.length; i++)
        if (items[i]) found.push(items[i].split("||"));
    return found;
}

function main() {
    var control = new ActiveXObject("USBKEYPNPACTIVEX.USBKeyPnPActiveXCtrl.1");
    var manager = new ActiveXObject("TOLVSecCOM.DeviceMgr");
    var util = new ActiveXObject("TOLVSecCOM.Util");
    var certificate = new ActiveXObject("TOLVSecCOM.Certificate");

    var keys = parts(show("control.GetUSBKeyList(): CSP name and extension library of each key",
                          control.GetUSBKeyList()));
    var users = parts(show("control.getUserList(): name and container of each user", control.getUserList()));
    var asked = {};
    for (var i = 0; i < keys.length; i++) {
        // Several keys may have one CSP name; the answer is for all of them.
        if (asked[keys[i][0]]) continue;
        asked[keys[i][0]] = true;
        show("DeviceMgr.enumUserCertificates(\"" + keys[i][0] + "\"): its containers",
             manager.enumUserCertificates(keys[i][0]));
    }
    for (var u = 0; u < users.length; u++) {
        var name = users[u][0], container = users[u][1];
        WScript.Echo("");
        WScript.Echo("User " + name + " in container " + container);
        WScript.Echo("    key number    " + manager.getKeySNEx(container, ""));
        WScript.Echo("    CSP name      " + util.getUserInfoByContainer(container, 14));
        WScript.Echo("    library       " + util.getUserInfoByContainer(container, 15));
        WScript.Echo("    certificates  " + util.getUserInfoByContainer(container, 10));
        if (certificate.importCert(container, 5) === 0)
            WScript.Echo("    subject       " + certificate.getBasicCertInfoByOID(7));
    }
    WScript.Echo("");
    WScript.Echo(users.length + " users on " + keys.length + " keys");
    return users.length ? 0 : 1;
}

var code = 1;
try {
    code = main();
} catch (e) {
    WScript.Echo("error " + (e.number >>> 0).toString(16) + ": " + e.message);
}
WScript.Echo("END");
WScript.Quit(code);

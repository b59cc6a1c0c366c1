// Changes the PIN of the key that holds a container.
//     cscript //nologo change-pin.js CONTAINER OLD-PIN NEW-PIN
// Ends with 0 when the PIN was changed and with 1 when it was not. A wrong old PIN costs one try.

function show(asked, answer) {
    WScript.Echo(asked);
    WScript.Echo("    " + answer);
    return answer;
}

function main(given) {
    if (given.length !== 3) {
        WScript.Echo("usage: cscript //nologo change-pin.js CONTAINER OLD-PIN NEW-PIN");
        return 2;
    }
    var container = given(0);
    var manager = new ActiveXObject("TOLVSecCOM.DeviceMgr");
    var answer = manager.changeUserPinEx("", container, "", given(1), given(2));
    show("DeviceMgr.changeUserPinEx(\"\", \"" + container + "\", \"\", OLD-PIN, NEW-PIN)",
         answer === 0 ? "0, changed" : answer + ", refused");
    show("DeviceMgr.getKeyRetrysEx(\"" + container + "\", \"\"): tries left",
         manager.getKeyRetrysEx(container, ""));
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

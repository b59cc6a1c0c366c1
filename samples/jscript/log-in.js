// Logs in to the key that holds a container, and says how many tries are left.
//     cscript //nologo log-in.js CONTAINER PIN
// Ends with 0 when the PIN was right and with 1 when it was not.

function show(asked, answer) {
    WScript.Echo(asked);
    WScript.Echo("    " + answer);
    return answer;
}

function main(given) {
    if (given.length !== 2) {
        WScript.Echo("usage: cscript //nologo log-in.js CONTAINER PIN");
        return 2;
    }
    var container = given(0), pin = given(1);
    var manager = new ActiveXObject("TOLVSecCOM.DeviceMgr");

    // The other names of the key may stay empty: the container is enough.
    show("DeviceMgr.getKeyRetrysEx(\"" + container + "\", \"\"): tries left",
         manager.getKeyRetrysEx(container, ""));
    var answer = manager.userLoginEx("", container, "", pin);
    show("DeviceMgr.userLoginEx(\"\", \"" + container + "\", \"\", PIN)",
         answer === 0 ? "0, logged in" : answer + ", refused");
    var left = show("DeviceMgr.getKeyRetrysEx(\"" + container + "\", \"\"): tries left",
                    manager.getKeyRetrysEx(container, ""));
    if (answer === 0) return 0;

    if (left === -1011) WScript.Echo("No plugged-in key has the container " + container + ".");
    else if (left <= 0) WScript.Echo("The key is locked; its issuer can unblock it.");
    else WScript.Echo("Wrong PIN. Ask the user before another try: it is not to be had from a program.");
    return 1;
}

var code = 1;
try {
    code = main(WScript.Arguments);
} catch (e) {
    WScript.Echo("error " + (e.number >>> 0).toString(16) + ": " + e.message);
}
WScript.Echo("END");
WScript.Quit(code);

// Without a backend no object can be made, and the host learns it by an error.
var failed = 0;
try {
    var names = ["Certificate", "Crypto", "DeviceMgr", "Util"];
    for (var i = 0; i < names.length; i++) {
        var caught = "";
        try {
            new ActiveXObject("TOLVSecCOM." + names[i]);
        } catch (e) {
            caught = (e.number >>> 0).toString(16);
        }
        // The host's own "cannot create object".
        if (caught === "800a01ad") {
            WScript.Echo("ok - " + names[i] + " is refused");
        } else {
            failed++;
            WScript.Echo("not ok - " + names[i] + " is refused: got <" + caught + ">");
        }
    }
    WScript.Echo("END");
} catch (e) {
    WScript.Echo("not ok - the script: " + e.message);
    failed++;
}
WScript.Quit(failed ? 1 : 0);

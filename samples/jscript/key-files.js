// Keeps a file on the key that holds a container: reserves room, writes, reads back.
//     cscript //nologo key-files.js CONTAINER NAME [TEXT]

function show(asked, answer) {
    WScript.Echo(asked);
    WScript.Echo("    " + answer);
    return answer;
}

function main(given) {
    if (given.length < 2 || given.length > 3) {
        WScript.Echo("usage: cscript //nologo key-files.js CONTAINER NAME [TEXT]");
        return 2;
    }
    var container = given(0), name = given(1), text = given.length > 2 ? given(2) : "Note \u5907\u5fd8 42";
    var manager = new ActiveXObject("TOLVSecCOM.DeviceMgr");
    var of = "(\"" + container + "\", \"\", \"" + name + "\"";

    show("DeviceMgr.getKeySNEx(\"" + container + "\", \"\"): the key's number", manager.getKeySNEx(container, ""));
    // Room is reserved by writing blanks.
    if (show("DeviceMgr.creatKeyFileEx" + of + ", 64)", manager.creatKeyFileEx(container, "", name, 64)) !== 0)
        return 1;
    if (show("DeviceMgr.setKeyDataEx" + of + ", \"" + text + "\")",
             manager.setKeyDataEx(container, "", name, text)) !== 0) return 1;
    var back = show("DeviceMgr.getKeyDataEx" + of + ")", manager.getKeyDataEx(container, "", name));
    show("DeviceMgr.getKeyDataEx of a file that is not there",
         manager.getKeyDataEx(container, "", name + "-missing"));
    WScript.Echo(back === text ? "The key gave back what was written." : "The key gave back something else.");
    return back === text ? 0 : 1;
}

var code = 1;
try {
    code = main(WScript.Arguments);
} catch (e) {
    WScript.Echo("error " + (e.number >>> 0).toString(16) + ": " + e.message);
}
WScript.Echo("END");
WScript.Quit(code);

// Renames or moves a file; an existing one is never overwritten.
//     cscript //nologo rename-file.js OLD-NAME NEW-NAME

function main(given) {
    if (given.length !== 2) {
        WScript.Echo("usage: cscript //nologo rename-file.js OLD-NAME NEW-NAME");
        return 2;
    }
    var util = new ActiveXObject("TOLVSecCOM.Util");
    var answer = util.RenameFile(given(0), given(1));
    WScript.Echo("Util.RenameFile(\"" + given(0) + "\", \"" + given(1) + "\")");
    WScript.Echo("    " + answer + (answer === 0 ? ", renamed" : ", refused"));
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

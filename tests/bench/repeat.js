// One call of the component's, again and again for as many seconds as are asked for: what tests/bench/profile looks
// at. Prints the nanoseconds of one.
var seconds = parseInt(WScript.Arguments(0), 10);

try {
    var crypto = new ActiveXObject("TOLVSecCOM.Crypto");
    if (crypto.Hash("a text of some thirty-two units.") === "") throw new Error(1, "no answer");
    var start = new Date().getTime(), times = 0;
    for (; new Date().getTime() - start < seconds * 1000; times += 1000) {
        for (var i = 0; i < 1000; ++i) crypto.Hash("a text of some thirty-two units.");
    }
    WScript.Echo("time Hash.script " + (new Date().getTime() - start) / times * 1000000);
    WScript.Echo("END");
} catch (error) {
    WScript.Echo("failed: " + error.number + " " + error.message);
    WScript.Quit(1);
}

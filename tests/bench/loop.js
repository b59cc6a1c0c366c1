// The same loop over the component and over the platform's dictionary, in turns; prints the tenth percentile of
// the turns of each, in nanoseconds for one call.
var turns = parseInt(WScript.Arguments(0), 10);
var times = parseInt(WScript.Arguments(1), 10);
var device, dictionary, answer;

function OverDevice() {
    for (var i = 0; i < times; ++i) answer = device.getKeySNEx("c1", "EXT1");
}
function OverDictionary() {
    for (var i = 0; i < times; ++i) answer = dictionary.Item("c1");
}
function TimeOf(loop) {
    var start = new Date().getTime();
    loop();
    return new Date().getTime() - start;
}
function Tell(name, all) {
    all.sort(function (a, b) { return a - b; });
    WScript.Echo("time " + name + " " + all[Math.floor(all.length / 10)] / times * 1000000);
}

try {
    device = new ActiveXObject("TOLVSecCOM.DeviceMgr");
    dictionary = new ActiveXObject("Scripting.Dictionary");
    dictionary.Add("c1", "SN01");
    answer = device.getKeySNEx("c1", "EXT1");
    if (answer !== "SN01") throw new Error(1, "another answer: " + answer);
    var ours = [], theirs = [];
    for (var turn = 0; turn < turns; ++turn) {
        if (turn % 2) ours.push(TimeOf(OverDevice));
        theirs.push(TimeOf(OverDictionary));
        if (turn % 2 == 0) ours.push(TimeOf(OverDevice));
    }
    Tell("getKeySNEx.script", ours);
    Tell("dictionary.script", theirs);
    WScript.Echo("END");
} catch (error) {
    WScript.Echo("failed: " + error.number + " " + error.message);
    WScript.Quit(1);
}

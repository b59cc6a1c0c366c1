// As much of a browser's document as the sample pages use, around a page's scripts, for the script host.
var elements = {};

function Options() { this.length = 0; }
Options.prototype.add = function(option) { this[this.length++] = option; };
Options.prototype.remove = function(index) {
    for (var i = index; i < this.length - 1; i++) this[i] = this[i + 1];
    delete this[--this.length];
};

var document = {
    getElementById: function(id) {
        if (!elements[id]) {
            elements[id] = id === "keys" ? new ActiveXObject("USBKEYPNPACTIVEX.USBKeyPnPActiveXCtrl.1")
                                         : {value: "", innerText: "", options: new Options()};
        }
        return elements[id];
    },
    createElement: function(tag) { return {tag: tag}; }
};

function say2(name, text) { WScript.Echo(name + " " + text); }

var code = 1;
try {
    /* the page */
    code = 0;
} catch (e) {
    WScript.Echo("error " + (e.number >>> 0).toString(16) + ": " + e.message);
}
WScript.Echo("END");
WScript.Quit(code);

// What must not compile. Each line with a remark "error" is one, and no other line.
const crypto1 = new ActiveXObject("TOLVSecCOM.Crypto");
const control1 = new ActiveXObject("USBKEYPNPACTIVEX.USBKeyPnPActiveXCtrl.1");
const element1 = document.getElementById("keys") as unknown as KzrSecX.USBKeyPnPActiveXElement;
crypto1.signedData();  // error: the text is required
crypto1.signedData("text", "c1", "more");  // error: there is no third argument
crypto1.signData("text");  // error: a name of the backend's
crypto1.generateRandom("16");  // error: a number
const n1: number = crypto1.HashData("text");  // error: it gives a text
const t1: string = crypto1.verifySignedDataByP7("message");  // error: it gives a number
const c1: KzrSecX.Crypto = new ActiveXObject("TOLVSecCOM.Util");  // error: another object
const v1: string = control1.AboutBox();  // error: it gives nothing
control1.getUserInfoByContainer("c1");  // error: the type is required
element1.attachEvent("OnKeyChange", () => undefined);  // error: there is no such event
element1.attachEvent("OnUSBKeyChange", (key: string) => key);  // error: the event has no argument

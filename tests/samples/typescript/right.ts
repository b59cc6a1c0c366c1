// What has to compile: optional texts, results of each type, both names of an object, the control and its event.
const certificate: KzrSecX.Certificate = new ActiveXObject("TOLVSecCOM.Certificate.1");
const imported: number = certificate.importCert("c1", 5);
const again: number = certificate.importCert("c1", 5, "");
const days: number = certificate.checkValidaty();
const text: string = new ActiveXObject("TOLVSecCOM.Crypto").signedData("text");
const renamed: number = new ActiveXObject("TOLVSecCOM.Util").RenameFile("a", "b");
const tries: number = new ActiveXObject("TOLVSecCOM.DeviceMgr").getKeyRetrys("library");
const control: KzrSecX.USBKeyPnPActiveX = new ActiveXObject("USBKEYPNPACTIVEX.USBKeyPnPActiveXCtrl.1");
const users: string = control.getUserList();
const nothing: void = control.AboutBox();
const element = document.getElementById("keys") as unknown as KzrSecX.USBKeyPnPActiveXElement;
const attached: boolean = element.attachEvent("OnUSBKeyChange", () => undefined);
const keys: string = element.GetUSBKeyList();

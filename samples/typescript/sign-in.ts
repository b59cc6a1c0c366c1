// Signs the user of a container in, as samples/html/sign-in.html does, with types.
//     tsc --strict --target ES5 --lib es5,dom,scripthost kzrsecx.d.ts sign-in.ts
interface SignedIn {
    signature: string;
    certificate: string;
}

// What a form sends to the server; when the key refuses, the number of tries that are left.
function signIn(container: string, pin: string, challenge: string): SignedIn | number {
    const manager = new ActiveXObject("TOLVSecCOM.DeviceMgr");
    if (manager.userLoginEx("", container, "", pin) !== 0) return manager.getKeyRetrysEx(container, "");

    const crypto = new ActiveXObject("TOLVSecCOM.Crypto");
    const certificate = new ActiveXObject("TOLVSecCOM.Certificate");
    certificate.importCert(container, 5);
    return { signature: crypto.authUser(challenge, container), certificate: certificate.exportCert(1) };
}

// The users of the keys, now and whenever a key comes or goes.
function watchUsers(keys: KzrSecX.USBKeyPnPActiveXElement, show: (names: string[]) => void): void {
    const tell = (): void => {
        const users = keys.getUserList().split("&&&").filter((user) => user !== "");
        show(users.map((user) => user.split("||")[0]));
    };
    keys.attachEvent("OnUSBKeyChange", tell);
    tell();
}

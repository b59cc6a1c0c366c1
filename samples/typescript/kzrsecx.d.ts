// The scripted objects of KzrSecX for TypeScript and for checked JavaScript. Generated from the type library's IDL by
// docs/generator; do not edit.
//
// With the compiler's library "scripthost" (tsconfig: "lib": ["es5", "dom", "scripthost"]) the names of the objects
// give their types: new ActiveXObject("TOLVSecCOM.Crypto") is a KzrSecX.Crypto.

declare namespace KzrSecX {
    /** TOLVSecCOM.Certificate */
    interface Certificate {
        /** Loads the current certificate from a Base64 text or from a container. */
        importCert(sCertSrc: string, SrcType: number, sPwd?: string): number;
        /** Gives the current certificate as a Base64 text. */
        exportCert(DstType: number, sCertPath?: string): string;
        /** Gives a basic field of the current certificate. */
        getBasicCertInfoByOID(OID: number): string;
        /** Gives the days from a date (YYYY/MM/DD, or now) to the end of validity. */
        checkValidaty(sDate?: string): number;
        /** Gives an extension field of the current certificate by its object identifier. */
        getExtCertInfoByOID(sOID: string): string;
        /** Validates the current certificate against a chain file and a revocation list file. */
        validateCert(sCertChain: string, sCRL?: string): number;
        /** Kept for old pages; always refused. */
        modifyPFXPwd(sPFXPath: string, sOldPwd: string, sNewPwd: string): number;
        /** Kept for old pages; always refused. */
        modifyPFXPwd2(sPFXPath: string, sOldPwd: string, sNewPwd1: string, sNewPwd2: string): number;
        /** Kept for old pages; always refused. */
        SavePFXToCBIEx(sCBIFilePath: string, type: number, sContainName: string): number;
        /** Kept for old pages; always gives an empty text. */
        ParseCBIToPFXEx(sCBIFilePath: string): string;
        /** Kept for old pages; does nothing. */
        ClearConfig(username: string): number;
    }

    /** TOLVSecCOM.Crypto */
    interface Crypto {
        /** Accepted for old pages; changes nothing. */
        setUserCfg(CfgFlag: number, sCfgValue: string, sExt1CfgValue?: string, sExt2CfgValue?: string): number;
        /** Accepted for old pages; changes nothing. */
        setAlgFlag(AlgType: number, AlgFlag: number): number;
        /** Signs a text as a PKCS #7 message that carries its content. */
        signedDataByP7(sInData: string, sContainerName?: string): string;
        /** Verifies a PKCS #7 message that carries its content. */
        verifySignedDataByP7(sInData: string): number;
        /** Signs a text. */
        signedData(sInData: string, sContainerName?: string): string;
        /** Verifies the signature of a text. */
        verifySignedData(sInData: string, sCert: string, sOriData: string): number;
        /** Gives random data of a length. */
        generateRandom(RandomLen: number): string;
        /** Seals a text for a certificate (flag 1) or opens it with a container (flag 0). */
        envelopedData(sInData: string, flag: number, sContainerName?: string): string;
        /** Signs a text for a login. */
        authUser(sInData: string, sContainerName?: string): string;
        /** Verifies the signature of a login. */
        checkUser(sInData: string, sCert: string, sOriData: string): number;
        /** Gives a part of a PKCS #7 message. */
        decodeP7Data(sInData: string, type: number): string;
        /** Encrypts a file with a key. */
        encryptFile(sInFileName: string, sOutFileName: string, sKey: string): number;
        /** Decrypts a file with a key. */
        decryptFile(sInFileName: string, sOutFileName: string, sKey: string): number;
        /** Accepted for old pages; changes nothing. */
        setOnceCfg(CfgFlag: number, sCfgValue: string, sExt1CfgValue?: string, sExt2CfgValue?: string): number;
        /** Kept for old pages; always refused. */
        ReadPfxToQmr(sContainerName: string, KeyUsage: number, sPassword: string, sPfxFile: string): number;
        /** Gives the digest of a text that EncStr and DecStr use as key. */
        Hash(sInData: string): string;
        /** Signs a file. */
        signFile(sFileName: string, sContainerName: string): string;
        /** Verifies the signature of a file. */
        verifySignFile(sFileName: string, sCert: string, SignData: string): number;
        /** Signs an XML document. */
        signedDataXML(sInDataXML: string, sContainnerName: string): string;
        /** Verifies a signed XML document. */
        verifySignedDataXML(sInDataXML: string): number;
        /** Gives a part of the signature of an XML document. */
        getXMLSignatureInfo(sInDataXML: string, type: number): string;
        /** Encrypts a text with the digest of a key. */
        EncStr(sKey: string, instr: string): string;
        /** Decrypts a text with the digest of a key. */
        DecStr(sKey: string, instr: string): string;
        /** Kept for old pages; always refused. */
        SetSessionKey(sKey: string, sContainerName: string): number;
        /** Kept for old pages; always gives an empty text. */
        GetSessionKey(sContainerName: string): string;
        /** Accepted for old pages; changes nothing. */
        SetPinFlag(flag: number): number;
        /** Splits a secret into shares. */
        SecertSegment(Secert: string, n: number, d: number, Mustn: number): string;
        /** Rebuilds a secret from its shares. */
        SecertRecovery(sInData: string): string;
        /** Encrypts a text with the public key of a certificate. */
        EncDataByCert(sCert: string, src: string): string;
        /** Decrypts a text with the private key of a container. */
        DecDataByRSA(sContainerName: string, EncStr: string): string;
        /** Encrypts a text with a key. */
        encryptData(sKey: string, inData: string): string;
        /** Decrypts a text with a key. */
        decryptData(sKey: string, inData: string): string;
        /** Encrypts a text with the public key of a certificate. */
        pubKeyEncrypt(Cert: string, inData: string): string;
        /** Decrypts a text with the private key of a container. */
        priKeyDecrypt(sContainerName: string, inData: string): string;
        /** Gives the digest of a text. */
        HashData(inData: string): string;
        /** Kept for old pages; always gives an empty text. */
        GenTSReq(HashValue: string): string;
        /** Encrypts a text with a key. */
        EncData(sKey: string, sInData: string): string;
        /** Decrypts a text with a key. */
        DecData(sKey: string, sInData: string): string;
        /** Gives the digest of a file. */
        HashFile(sInFile: string): string;
        /** Accepted for old pages; changes nothing. */
        setUserCfgEx(
            CfgFlag: number, sCfgValue: string, sExt1CfgValue: string, sExt2CfgValue: string, sContainerName: string): number;
    }

    /** TOLVSecCOM.DeviceMgr */
    interface DeviceMgr {
        /** Logs in to the key of a CSP name. */
        userLogin(sCSPName: string, sUserPin: string): number;
        /** Changes the PIN of the key of an extension library. */
        changeUserPin(sCSPName: string, sExtLib: string, sOldPin: string, sNewPin: string): number;
        /** Lists the containers of a CSP name. */
        enumUserCertificates(sCSPName: string): string;
        /** Gives the PIN retries that the key of an extension library has left. */
        getKeyRetrys(sExtLib: string): number;
        /** Kept for old pages; always gives an empty text. */
        getOldKeyInfo(sContainerName: string, sPwd: string, sDeviceType: string, TypeID: number): string;
        /** Kept for old pages; always refused. */
        changeOldKeyPwd(
            sContainerName: string, sDeviceType: string, Port: number, sOldPwd: string, sNewPwd: string): number;
        /** Reads a file of the key of an extension library. */
        getKeyData(sExtLib: string, sKeyFile: string): string;
        /** Gives the serial number of the key of an extension library. */
        getKeySN(sExtLib: string): string;
        /** Kept for old pages; always gives an empty text. */
        getKeySavedPass(keySN: string): string;
        /** Writes a file of the key of an extension library. */
        setKeyData(sExtLib: string, sKeyFile: string, sData: string): number;
        /** Creates a file of blanks on the key of an extension library. */
        creatKeyFile(sExtLib: string, sKeyFile: string, nMaxLen: number): number;
        /** Kept for old pages; always refused. */
        changeUserPin2(
            sCSPName: string, sExtLib: string, sOldPin: string, sNewPin1: string, sNewPin2: string): number;
        /** Logs in to the key of a container. */
        userLoginEx(sCSPName: string, sContainerName: string, sExtLib: string, sUserPin: string): number;
        /** Changes the PIN of the key of a container. */
        changeUserPinEx(
            sCSPName: string, sContainerName: string, sExtLib: string, sOldPin: string, sNewPin: string): number;
        /** Gives the PIN retries that the key of a container has left. */
        getKeyRetrysEx(sContainerName: string, sExtLib: string): number;
        /** Reads a file of the key of a container. */
        getKeyDataEx(sContainerName: string, sExtLib: string, sKeyFile: string): string;
        /** Gives the serial number of the key of a container. */
        getKeySNEx(sContainerName: string, sExtLib: string): string;
        /** Writes a file of the key of a container. */
        setKeyDataEx(sContainerName: string, sExtLib: string, sKeyFile: string, sData: string): number;
        /** Creates a file of blanks on the key of a container. */
        creatKeyFileEx(sContainerName: string, sExtLib: string, sKeyFile: string, nMaxLen: number): number;
    }

    /** TOLVSecCOM.Util */
    interface Util {
        /** Gives the Base64 text of a text. */
        base64EncodeString(sInData: string): string;
        /** Gives the Base64 text of a file. */
        base64EncodeFile(sFilePath: string): string;
        /** Kept for old pages; always gives an empty text. */
        getUserList(): string;
        /** Gives a fact about the user whose certificates a container holds. */
        getUserInfoByContainer(sContainerName: string, TypeID: number): string;
        /** Writes what a Base64 text stands for to a file. */
        base64DecodeFile(sInData: string, sFilePath: string): number;
        /** Gives the text that a Base64 text stands for. */
        base64DecodeString(sInData: string): string;
        /** Kept for old pages; always gives an empty text. */
        getUserList2(): string;
        /** Kept for old pages; always gives an empty text. */
        GetContainerNameByUniqueId(UniqueId: string, AppNameAndOid: string): string;
        /** Renames or moves a file or a folder. */
        RenameFile(oldname: string, newname: string): number;
    }

    /** USBKEYPNPACTIVEX.USBKeyPnPActiveXCtrl.1 */
    interface USBKeyPnPActiveX {
        /** Kept for old pages; always gives an empty text. */
        EnumUsbKey(): string;
        /** Gives a fact about the user whose certificates a container holds. */
        getUserInfoByContainer(strContainerName: string, type: number): string;
        /** Reads the user list from the keys and gives it. */
        getUserList(): string;
        /** Kept for old pages; does nothing. */
        RegisterDeviceInterface(): void;
        /** Kept for old pages; does nothing. */
        SetLoginState(strContainerName: string, strUserName: string): number;
        /** Kept for old pages; always gives an empty text. */
        GetSavedPass(strUserName: string): string;
        /** Lists the plugged-in keys. */
        GetUSBKeyList(): string;
        /** Kept for old pages; does nothing. */
        GetPassSaveState(strUserName: string): number;
        /** Kept for old pages; does nothing. */
        SaveUserPass(strUserName: string, strPass: string): number;
        /** Kept for old pages; does nothing. */
        DelUserPass(strUserName: string): number;
        /** Shows the About box. */
        AboutBox(): void;
    }

    /** The control's events, by name. */
    interface USBKeyPnPActiveXEvents {
        /** A key was plugged in or pulled out. */
        OnUSBKeyChange(): void;
    }

    /** The element that holds the control on a page; events come through attachEvent. */
    interface USBKeyPnPActiveXElement extends HTMLObjectElement, USBKeyPnPActiveX {
        attachEvent<K extends keyof USBKeyPnPActiveXEvents>(event: K, handler: USBKeyPnPActiveXEvents[K]): boolean;
        detachEvent<K extends keyof USBKeyPnPActiveXEvents>(event: K, handler: USBKeyPnPActiveXEvents[K]): void;
    }
}

interface ActiveXObject {
    new (name: "TOLVSecCOM.Certificate"): KzrSecX.Certificate;
    new (name: "TOLVSecCOM.Certificate.1"): KzrSecX.Certificate;
    new (name: "TOLVSecCOM.Crypto"): KzrSecX.Crypto;
    new (name: "TOLVSecCOM.Crypto.1"): KzrSecX.Crypto;
    new (name: "TOLVSecCOM.DeviceMgr"): KzrSecX.DeviceMgr;
    new (name: "TOLVSecCOM.DeviceMgr.1"): KzrSecX.DeviceMgr;
    new (name: "TOLVSecCOM.Util"): KzrSecX.Util;
    new (name: "TOLVSecCOM.Util.1"): KzrSecX.Util;
    new (name: "USBKEYPNPACTIVEX.USBKeyPnPActiveXCtrl.1"): KzrSecX.USBKeyPnPActiveX;
}

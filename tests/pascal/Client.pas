{ Calls a method of every scripted object in the three ways that an imported library offers, from both kinds
  of apartment: through the vtable, through the dispatch interface by number, and by name. }
program Client;

{$mode objfpc}{$H+}

uses
  ActiveX, Classes, ComObj, SysUtils, Variants, TOLVSECCOMLib_1_0_TLB;

type
  TApartment = class(TThread)
  private
    FModel: DWORD;
    FName: string;
    procedure Check(const What: string; const Expected, Found: WideString);
    procedure EarlyBound;
    procedure ByNumber;
    procedure ByName;
    procedure Refusals;
  protected
    procedure Execute; override;
  public
    Failures: Integer;
    constructor Create(Model: DWORD; const Name: string);
  end;

constructor TApartment.Create(Model: DWORD; const Name: string);
begin
  FModel := Model;
  FName := Name;
  inherited Create(False);
end;

procedure TApartment.Check(const What: string; const Expected, Found: WideString);
begin
  if Expected = Found then
    WriteLn('ok - ', FName, ' ', What)
  else
  begin
    Inc(Failures);
    WriteLn('not ok - ', FName, ' ', What, ': expected <', string(Expected), '> but got <', string(Found), '>');
  end;
  Flush(Output);
end;

procedure TApartment.EarlyBound;
var
  Certificate: ICertificate;
begin
  Certificate := CoCertificate.Create;
  Check('imports a certificate through the vtable', '0',
    WideString(IntToStr(Certificate.importCert('MIIB', 1, ''))));
  Check('exports it through the vtable', 'MIIB', Certificate.exportCert(1, ''));
  Check('signs through the vtable', 'SOF_SignData(c1/SN01,hello)', CoCrypto.Create.signedData('hello', 'c1'));
  Check('logs in through the vtable', '0',
    WideString(IntToStr(CoDeviceMgr.Create.userLogin('CSP2', '1234'))));
  Check('encodes through the vtable', 'SOF_Base64Encode(abc)', CoUtil.Create.base64EncodeString('abc'));
end;

procedure TApartment.ByNumber;
begin
  Check('exports through the dispatch interface', 'MIIB', (CoCertificate.Create as ICertificateDisp).exportCert(1, ''));
  Check('signs through the dispatch interface', 'SOF_SignData(c2/SN02,hello)',
    (CoCrypto.Create as ICryptoDisp).signedData('hello', 'c2'));
  Check('lists through the dispatch interface', 'c1&&&',
    (CoDeviceMgr.Create as IDeviceMgrDisp).enumUserCertificates('CSP1'));
  Check('gives a fact through the dispatch interface', 'SN01',
    (CoUtil.Create as IUtilDisp).getUserInfoByContainer('c1', 13));
end;

procedure TApartment.ByName;
var
  Certificate, Crypto, Manager, Util: OleVariant;
begin
  Certificate := CreateOleObject('TOLVSecCOM.Certificate');
  Check('exports by name', 'MIIB', WideString(Certificate.exportCert(1)));
  Crypto := CreateOleObject('TOLVSecCOM.Crypto');
  Check('signs by name', 'SOF_SignData(,hello)', WideString(Crypto.signedData('hello')));
  Manager := CreateOleObject('TOLVSecCOM.DeviceMgr.1');
  Check('reads a file by name', 'ReadFile(SN02,file)', WideString(Manager.getKeyData('EXT2', 'file')));
  Util := CreateOleObject('TOLVSecCOM.Util.1');
  Check('decodes by name', 'SOF_Base64Decode(YWJj)', WideString(Util.base64DecodeString('YWJj')));
end;

procedure TApartment.Refusals;
var
  Crypto: OleVariant;
  Refused: string;
begin
  Refused := 'nothing';
  Crypto := CreateOleObject('TOLVSecCOM.Crypto');
  try
    Crypto.noSuchMethod('text');
  except
    on E: EOleError do Refused := 'an error';
  end;
  Check('is refused a method that is none', 'an error', WideString(Refused));
end;

procedure TApartment.Execute;
begin
  if Failed(CoInitializeEx(nil, FModel)) then
  begin
    Check('begins', 'an apartment', 'none');
    Exit;
  end;
  try
    EarlyBound;
    ByNumber;
    ByName;
    Refusals;
  except
    on E: Exception do Check('ends', 'no error', WideString(E.ClassName + ': ' + E.Message));
  end;
  CoUninitialize;
end;

procedure Run(Model: DWORD; const Name: string; var Failures: Integer);
var
  Apartment: TApartment;
begin
  Apartment := TApartment.Create(Model, Name);
  Apartment.WaitFor;
  Inc(Failures, Apartment.Failures);
  Apartment.Free;
end;

var
  Failures: Integer;

begin
  Failures := 0;
  Run(COINIT_APARTMENTTHREADED, 'a single-threaded apartment', Failures);
  Run(COINIT_MULTITHREADED, 'a multi-threaded apartment', Failures);
  WriteLn('END');
  if Failures > 0 then Halt(1);
end.

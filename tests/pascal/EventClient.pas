{ Receives the control's event through the sink class that the importer generates, and calls the control
  through its dispatch interface, from both kinds of apartment. The backend raises its event when it is asked for
  the devices. }
program EventClient;

{$mode objfpc}{$H+}

uses
  ActiveX, Classes, SysUtils, Windows, TOLVSECCOMLib_1_0_TLB;

type
  TListener = class
  public
    Events: Integer;
    procedure KeyChange(Sender: TObject);
  end;

var
  Failures: Integer = 0;
  Apartment: string;

procedure TListener.KeyChange(Sender: TObject);
begin
  Inc(Events);
end;

procedure Check(const What: string; const Expected, Found: string);
begin
  if Expected = Found then
    WriteLn('ok - ', Apartment, ' ', What)
  else
  begin
    Inc(Failures);
    WriteLn('not ok - ', Apartment, ' ', What, ': expected <', Expected, '> but got <', Found, '>');
  end;
  Flush(Output);
end;

{ A single-threaded apartment hears through its messages, a multi-threaded one on threads of the system. }
procedure Await(Listener: TListener; Wanted: Integer);
var
  Message: TMsg;
  Tries: Integer;
begin
  for Tries := 1 to 200 do
  begin
    while PeekMessage(Message, 0, 0, 0, PM_REMOVE) do
      DispatchMessage(Message);
    if Listener.Events >= Wanted then Exit;
    Sleep(25);
  end;
end;

procedure Listen;
var
  Control: TEvsUSBKeyPnPActiveX;
  Listener: TListener;
begin
  Listener := TListener.Create;
  Control := TEvsUSBKeyPnPActiveX.Create(nil);
  try
    Control.OnOnUSBKeyChange := @Listener.KeyChange;
    Check('calls the control through its dispatch interface', 'Alice||c1&&&Bob||c2&&&',
      string(Control.ComServer.getUserList));
    Check('passes arguments', 'TOLV_AUTO_USBKEY', string(Control.ComServer.getUserInfoByContainer('c1', 8)));
    Control.ComServer.GetUSBKeyList;
    Await(Listener, 1);
    Check('hears the event once', '1', IntToStr(Listener.Events));
    Control.ComServer.GetUSBKeyList;
    Control.ComServer.GetUSBKeyList;
    Await(Listener, 3);
    Check('hears every further event', '3', IntToStr(Listener.Events));
  finally
    Control.Free;
  end;
  Listener.Free;
end;

procedure Run(Model: DWORD; const Name: string);
begin
  Apartment := Name;
  CoInitializeEx(nil, Model);
  try
    Listen;
  except
    on E: Exception do Check('ends', 'no error', E.ClassName + ': ' + E.Message);
  end;
  CoUninitialize;
end;

begin
  Run(COINIT_APARTMENTTHREADED, 'a single-threaded apartment');
  Run(COINIT_MULTITHREADED, 'a multi-threaded apartment');
  WriteLn('END');
  if Failures > 0 then Halt(1);
end.

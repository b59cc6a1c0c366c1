{ Receives the control's event through the sink class that the importer generates, and calls the control
  through its dispatch interface. The backend raises its event when it is asked for the devices. }
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

procedure TListener.KeyChange(Sender: TObject);
begin
  Inc(Events);
end;

procedure Check(const What: string; const Expected, Found: string);
begin
  if Expected = Found then
    WriteLn('ok - ', What)
  else
  begin
    Inc(Failures);
    WriteLn('not ok - ', What, ': expected <', Expected, '> but got <', Found, '>');
  end;
  Flush(Output);
end;

procedure Pump;
var
  Message: TMsg;
begin
  while PeekMessage(Message, 0, 0, 0, PM_REMOVE) do
    DispatchMessage(Message);
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
    Check('hears nothing before its messages are dispatched', '0', IntToStr(Listener.Events));
    Pump;
    Check('hears the event once', '1', IntToStr(Listener.Events));
    Control.ComServer.GetUSBKeyList;
    Control.ComServer.GetUSBKeyList;
    Pump;
    Check('hears every further event', '3', IntToStr(Listener.Events));
  finally
    Control.Free;
  end;
  Listener.Free;
end;

begin
  CoInitializeEx(nil, COINIT_APARTMENTTHREADED);
  try
    Listen;
  except
    on E: Exception do Check('ends', 'no error', E.ClassName + ': ' + E.Message);
  end;
  WriteLn('END');
  if Failures > 0 then Halt(1);
end.

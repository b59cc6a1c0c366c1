{ Writes the Pascal unit of a type library: ImportLibrary LIBRARY-FILE OUTPUT-FOLDER
  The importer is Free Pascal's own; what it makes of the library is what its users get. }
program ImportLibrary;

{$mode objfpc}{$H+}

uses
  ActiveX, Classes, SysUtils, TypeLib;

var
  UnitName, Source, PackageSource, RegUnitSource: string;
  Dependencies: TStringList;
  Output: TStringList;

begin
  CoInitializeEx(nil, COINIT_APARTMENTTHREADED);
  try
    UnitName := '';
    Dependencies := TStringList.Create;
    Source := ImportTypelib(WideString(ParamStr(1)), UnitName, Dependencies, False, False, False,
      PackageSource, RegUnitSource);
    Output := TStringList.Create;
    Output.Text := Source;
    Output.SaveToFile(IncludeTrailingPathDelimiter(ParamStr(2)) + UnitName + '.pas');
    WriteLn('unit ', UnitName);
  except
    on E: Exception do
    begin
      WriteLn('not imported: ', E.Message);
      Halt(1);
    end;
  end;
end.

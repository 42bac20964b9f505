{ Reads and changes a record from Delphi or Free Pascal, late bound, with an event sink.
  NOT RUN HERE: there is no Pascal compiler on the build machine. For Delphi 2009 or later, or
  Free Pascal 3 with -Mdelphi.

    Country ACCOUNT }
program Country;

{$APPTYPE CONSOLE}

uses
  Windows, ActiveX, ComObj, Variants, SysUtils;

const
  { The event interface of a session and the numbers of its members, as the type library has them. }
  IID_SessionEvents: TGUID = '{e5e640ce-68c7-45e2-be32-0adc02b0c838}';
  EventConnectionFailed = 2;
  EventPropertyValue = 4;

type
  { A sink is an IDispatch whose Invoke gets the event's number and its arguments, last first. }
  TSessionSink = class(TInterfacedObject, IUnknown, IDispatch)
  private
    FAccount: WideString;
  public
    constructor Create(const Account: WideString);
    function QueryInterface(const IID: TGUID; out Obj): HResult; stdcall;
    function GetTypeInfoCount(out Count: Integer): HResult; stdcall;
    function GetTypeInfo(Index, LocaleID: Integer; out TypeInfo): HResult; stdcall;
    function GetIDsOfNames(const IID: TGUID; Names: Pointer; NameCount, LocaleID: Integer;
      DispIDs: Pointer): HResult; stdcall;
    function Invoke(DispID: Integer; const IID: TGUID; LocaleID: Integer; Flags: Word; var Params;
      VarResult, ExcepInfo, ArgErr: Pointer): HResult; stdcall;
  end;

constructor TSessionSink.Create(const Account: WideString);
begin
  inherited Create;
  FAccount := Account;
end;

function TSessionSink.QueryInterface(const IID: TGUID; out Obj): HResult;
begin
  { Whoever asks for the event interface gets the dispatch interface, which is the same. }
  if IsEqualGUID(IID, IID_SessionEvents) then
    Result := inherited QueryInterface(IDispatch, Obj)
  else
    Result := inherited QueryInterface(IID, Obj);
end;

function TSessionSink.GetTypeInfoCount(out Count: Integer): HResult;
begin
  Count := 0;
  Result := S_OK;
end;

function TSessionSink.GetTypeInfo(Index, LocaleID: Integer; out TypeInfo): HResult;
begin
  Result := E_NOTIMPL;
end;

function TSessionSink.GetIDsOfNames(const IID: TGUID; Names: Pointer; NameCount,
  LocaleID: Integer; DispIDs: Pointer): HResult;
begin
  Result := E_NOTIMPL;
end;

function TSessionSink.Invoke(DispID: Integer; const IID: TGUID; LocaleID: Integer; Flags: Word;
  var Params; VarResult, ExcepInfo, ArgErr: Pointer): HResult;
var
  Arguments: TDispParams absolute Params;
  Name: WideString;
begin
  Result := S_OK;
  if DispID = EventConnectionFailed then
    Writeln('not connected: ', WideString(Arguments.rgvarg^[0].bstrVal))
  else if DispID = EventPropertyValue then
  begin
    Name := Arguments.rgvarg^[1].bstrVal;
    if Name = 'OsType' then
      PWideString(Arguments.rgvarg^[0].pbstrVal)^ := '1'
    else if Name = 'Database' then
      PWideString(Arguments.rgvarg^[0].pbstrVal)^ := FAccount;
  end;
end;

procedure Run(const Account: WideString);
var
  Base, Session, Tools: OleVariant;
  Sink: IUnknown;
  Cookie: Longint;
begin
  Base := CreateOleObject('kelSDK.kelBase');
  Session := Base.GetSessionCallBack('Atlas');
  Sink := TSessionSink.Create(Account) as IUnknown;
  InterfaceConnect(IUnknown(Session), IID_SessionEvents, Sink, Cookie);
  if Session.Connect then
  begin
    Tools := Session.Tools;
    Tools.mvReadU('Country', 'CH', 'COUNTRIES');
    Tools.Replace('Country', 'Helvetia', 1);
    Tools.mvWrite('Country', 'CH');
    Writeln('CH is ', WideString(Tools.Extract('Country', 1)), ' now');
    Session.Disconnect;
  end;
  InterfaceDisconnect(IUnknown(Session), IID_SessionEvents, Cookie);
end;

begin
  CoInitialize(nil);
  try
    Run(ParamStr(1));
  except
    on E: Exception do
      Writeln(E.ClassName, ': ', E.Message);
  end;
  CoUninitialize;
end.

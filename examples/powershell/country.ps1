# Reads and changes a record from PowerShell.
# NOT RUN HERE: there is no PowerShell on the build machine. Windows PowerShell 5.1; for a component of
# 32 bits start the one in SysWOW64.
#
#   powershell -STA -File country.ps1 ACCOUNT
#
# PowerShell binds no COM events by itself; a small class compiled on the spot is the listener.
param([Parameter(Mandatory)][string]$Account)

Add-Type -TypeDefinition @'
using System.Runtime.InteropServices;
using System.Runtime.InteropServices.ComTypes;

[ComVisible(true), Guid("e5e640ce-68c7-45e2-be32-0adc02b0c838")]
[InterfaceType(ComInterfaceType.InterfaceIsIDispatch)]
public interface ISessionEvents {
    [DispId(1)] void Connection();
    [DispId(2)] void ConnectionFailed(string message);
    [DispId(3)] void Disconnect();
    [DispId(4)] void PropertyValue(string name, ref string value);
}

[ComVisible(true), ClassInterface(ClassInterfaceType.None)]
public class SessionSink : ISessionEvents {
    public string Account, Failure;
    private IConnectionPoint point;
    private int cookie;
    public void Connection() { }
    public void ConnectionFailed(string message) { Failure = message; }
    public void Disconnect() { }
    public void PropertyValue(string name, ref string value) {
        if (name == "OsType") value = "1";
        else if (name == "Database") value = Account;
    }
    public void Listen(object session) {
        var iid = typeof(ISessionEvents).GUID;
        ((IConnectionPointContainer)session).FindConnectionPoint(ref iid, out point);
        point.Advise(this, out cookie);
    }
    public void Stop() { point.Unadvise(cookie); }
}
'@

$base = New-Object -ComObject kelSDK.kelBase
$session = $base.GetSessionCallBack('Atlas')
$sink = New-Object SessionSink -Property @{ Account = (Join-Path $PWD $Account) }
$sink.Listen($session)
if (-not $session.Connect()) { throw $sink.Failure }

$tools = $session.Tools
$tools.mvReadU('Country', 'CH', 'COUNTRIES')
$tools.Replace('Country', 'Helvetia', 1)
$tools.mvWrite('Country', 'CH')
"CH is $($tools.Extract('Country', 1)) now"

# By-reference texts are [ref] variables.
$output = ''; $codes = ''
$tools.Execute('COUNT COUNTRIES', [ref]$output, [ref]$codes)
$output
$session.Disconnect()
$sink.Stop()

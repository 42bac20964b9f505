// Reads and changes a record from C#, late bound, with the session's events heard by a sink.
// NOT RUN HERE: there is no .NET on the build machine. For .NET Framework 4 and .NET 5 or later on
// Windows; the process must have the width of the registered component.
//
//   csc Country.cs && Country.exe ACCOUNT
using System;
using System.Runtime.InteropServices;
using System.Runtime.InteropServices.ComTypes;

// The event interface as the type library publishes it: its identifier and the numbers of its members.
[ComVisible(true), Guid("e5e640ce-68c7-45e2-be32-0adc02b0c838")]
[InterfaceType(ComInterfaceType.InterfaceIsIDispatch)]
public interface ISessionEvents
{
    [DispId(1)] void Connection();
    [DispId(2)] void ConnectionFailed(string message);
    [DispId(3)] void Disconnect();
    [DispId(4)] void PropertyValue(string name, ref string value);
}

[ComVisible(true), ClassInterface(ClassInterfaceType.None)]
public class SessionSink : ISessionEvents
{
    private readonly string account;
    public SessionSink(string account) { this.account = account; }
    public void Connection() { Console.WriteLine("connected"); }
    public void ConnectionFailed(string message) { Console.WriteLine("not connected: " + message); }
    public void Disconnect() { Console.WriteLine("disconnected"); }
    public void PropertyValue(string name, ref string value)
    {
        if (name == "OsType") value = "1"; // the embedded database
        else if (name == "Database") value = account;
    }
}

public static class Country
{
    [STAThread] // the component's objects belong to the thread that made them
    public static int Main(string[] arguments)
    {
        dynamic root = Activator.CreateInstance(Type.GetTypeFromProgID("kelSDK.kelBase", true));
        dynamic session = root.GetSessionCallBack("Atlas");

        var iid = typeof(ISessionEvents).GUID;
        IConnectionPoint point;
        int cookie;
        ((IConnectionPointContainer)session).FindConnectionPoint(ref iid, out point);
        point.Advise(new SessionSink(arguments[0]), out cookie);

        if (!session.Connect()) return 1;
        dynamic tools = session.Tools;
        tools.mvReadU("Country", "CH", "COUNTRIES");
        tools.Replace("Country", "Helvetia", 1, 0, 0);
        tools.mvWrite("Country", "CH", "");
        Console.WriteLine(tools.Extract("Country", 1, 0, 0));
        session.Disconnect();
        point.Unadvise(cookie);
        return 0;
    }
}

// Lists the files of a database and reads records, without locks.
//
//   kelsh --no-connect list.js ACCOUNT
//
// Run here by kelsh. JScript has no arguments by reference, so it cannot answer PropertyValue or take
// an id from ReadNext; kelsh takes what an event's function returns for the answer.
var base = new ActiveXObject("kelSDK.kelBase");
var atlas = base.GetSessionCallBack("Atlas");
WScript.ConnectObject(atlas, "Atlas_");

function Atlas_PropertyValue(name, value) {
    if (name == "OsType") {
        return "1"; // the embedded database
    }
    if (name == "Database") {
        return WScript.Arguments(0);
    }
}

function Atlas_ConnectionFailed(message) {
    WScript.Echo("not connected: " + message);
}

if (!atlas.Connect()) {
    WScript.Quit(1);
}
base.SetKeyFieldSession("Country", "Atlas");
var tools = atlas.Tools;

// Names come as a Collection, which JScript walks with an Enumerator.
var files = new Enumerator(base.FileNameList("Atlas"));
for (; !files.atEnd(); files.moveNext()) {
    WScript.Echo("file " + files.item());
}

var ids = ["AT", "CH"];
for (var i = 0; i < ids.length; ++i) {
    tools.mvRead("Country", ids[i], "COUNTRIES"); // without a lock
    WScript.Echo(ids[i] + " " + tools.Extract("Country", 1));
}
atlas.Disconnect();

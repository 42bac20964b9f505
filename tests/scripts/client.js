// The component and the embedded back-end as a script meets them in JScript: members and their
// arguments by name, for-each by Enumerator, failures as exceptions.
//
// This engine hands over variables by value, so typed by-reference arguments can be given but
// bring nothing back.

var passed = 0;
var failed = 0;

function check(what, good) {
    if (good) {
        ++passed;
    } else {
        ++failed;
        WScript.Echo("FAILED: " + what);
    }
}

function checkEqual(what, actual, expected) {
    check(what + ": " + actual + ", not " + expected, actual === expected);
}

// The number as other clients see it: that of the facility of automation clients is plain, and the
// dispatcher's type mismatch, which some engines pass on as it is, is theirs.
function numberOf(error) {
    var code = error.number >>> 0;
    if (code === 0x80020005) {
        return 13;
    }
    return code >>> 16 === 0x800A ? code & 0xFFFF : error.number;
}

function checkFails(what, number, description, act) {
    try {
        act();
        check(what + ": nothing failed", false);
    } catch (error) {
        check(what + ": " + numberOf(error) + " " + error.description,
              numberOf(error) === number &&
                  (description === null || error.description === description));
    }
}

function joined(list) {
    var text = "";
    for (var all = new Enumerator(list); !all.atEnd(); all.moveNext()) {
        text += all.item() + ";";
    }
    return text;
}

function testRoot() {
    var base = new ActiveXObject("kelSDK.kelBase");
    checkEqual("version", base.Version(), "1.0.134");
    base.SetKeyFieldSession("Customer", "Main");
    base.SetKeyFieldSession("Order", "Archive");
    checkEqual("for each over key fields", joined(base.GetKeyFieldList()), "Customer;Order;");
    checkEqual("for each over sessions", joined(base.GetSessionNameList()), "Main;Archive;");
    checkEqual("default property", base.GetKeyFieldList()(2), "Order");
    checkEqual("by key", base.GetKeyFieldList().Item("CUSTOMER"), "Customer");
    checkFails("beyond the end", 9, "Subscript out of range", function () {
        return base.GetKeyFieldList().Item(3);
    });
    checkFails("no such class", 429, null, function () {
        return new ActiveXObject("kelSDK.kelTools");
    });
    var field = base.GetFieldCallBack("customer");
    checkEqual("with a session", field.IsInitalized, 2);
    base.RemoveFieldCallBack("Customer");
    base.RemoveFieldCallBack("Order");
    checkEqual("removed", field.IsInitalized, 1);
    checkEqual("no list", base.FileNameList("Main"), null);
}

function testSession() {
    var base = new ActiveXObject("kelSDK.kelBase");
    var session = base.GetSessionCallBack("Main");
    checkEqual("not connected", session.Connect(), false);
    session.CommonValue("Rate") = 17;
    checkEqual("common value", session.CommonValue("Rate"), 17);
    checkEqual("no common value", session.CommonValue("None"), undefined);
    checkEqual("no common object", session.CommonObject("None"), null);
    checkFails("back-end that is not there",
               -2147221501,
               "Unable to find a registered DLL version 2 or above for OsType 55",
               function () {
                   session.OsType = 55;
               });
    var tools = session.Tools;
    checkEqual("trapped by the engine", tools.Extract("Customer", 1), "");
    checkFails("no back-end",
               91,
               "Object variable or With block variable not set",
               function () {
                   tools.Replace("Customer", "Smith", 1);
               });
    checkFails("no key field", -2147221503, "No Key Id", function () {
        tools.Extract("", 1);
    });
    checkEqual("disconnect answers Empty", tools.Disconnect(), undefined);
    checkEqual("field", tools.mvField("a]b]c", "]", 2), "b");
    checkEqual("undefined is an empty text", tools.mvField(undefined, "]", 1), "");
    base.RemoveSessionCallback("Main");
}

function testDictItem() {
    var item = new ActiveXObject("kelSDK.kelDictItem");
    item.KeyId = "Customer";
    item.AMC = 3;
    checkEqual("text", item.ReadKeyId, "Customer");
    checkEqual("number", item.AMC, 3);
    item.Label = 17.5;
    checkEqual("numbers become text", item.Label, "17.5");
    item.InitalizeDictItem();
    checkEqual("no connection", item.DictRead, 3);
    checkEqual("no value", item.ExternalValue, "");
    checkEqual("no value in a row", item.ExternalValue(2), "");
    item.ExternalValue(2) = "dropped";
    checkEqual("no state", item.mvReadInfo(), null);
    checkFails("session lost",
               -2147221502,
               "Reference to Session information can not be found.  " +
                   "Database Session has been closed and distroyed.",
               function () {
                   item.mvInfo();
               });
    checkFails("no number", 13, null, function () {
        item.AMC = "three";
    });
}

function testEmbedded() {
    var files = new ActiveXObject("Scripting.FileSystemObject");
    var path = files.GetSpecialFolder(2) + "\\" + files.GetTempName();
    var host = new ActiveXObject("kelos1.IHostDLL");
    checkFails("no account",
               5,
               "The property Database is empty; it takes the path of the account file.",
               function () {
                   host.Connect();
               });
    host.PropertyValue("Database") = path;
    host.Connect();
    host.Execute("CREATE-FILE CUST", "", "");
    checkFails("no such file", 10301, "There is no file \"ORDERS\" in this account.", function () {
        host.OpenFile("ORDERS");
    });
    checkFails("not there yet",
               -2147467263,
               "Oconv is not implemented by the embedded back-end.",
               function () {
                   host.Oconv("1", "MD2");
               });
    var file = host.OpenFile("CUST");
    var text = "Smith\u00FELondon\u00FDParis\u00FE\uD83D\uDE00\uD83D\u0000!";
    var buffer = host.CreateDynamicArray(text);
    checkEqual("element", host.Extract(buffer, 2, 2, 0), "Paris");
    host.mvWrite(false, "17", file, buffer);
    buffer = host.mvRead(false, "17", file, 0);
    checkEqual("every unit comes back", host.Extract(buffer, 0, 0, 0), text);
    host.Replace(buffer, "Rome", 2, -1, 0);
    checkEqual("appended", host.Extract(buffer, 2, 3, 0), "Rome");
    checkEqual("counted", host.Dcount("\u00FD", buffer, 2, 0, 0), 3);
    checkEqual("found", host.Locate(buffer, 0, "Paris", 2, 0, ""), true);
    checkEqual("missing record", host.mvRead(false, "18", file, 0), null);
    checkEqual("empty buffer", host.Extract(host.CreateDynamicArray(), 0, 0, 0), "");
    checkFails("null for a buffer", 13, null, function () {
        host.mvWrite(false, "17", file, null);
    });
    checkFails("another object for a buffer",
               13,
               "The object is no record buffer of this back-end.",
               function () {
                   host.mvWrite(false, "17", file, files);
               });
    host.CloseFile(file);
    checkFails("closed file",
               10302,
               "The file variable is not open in this connection.",
               function () {
                   host.mvRead(false, "17", file, 0);
               });
    host.Disconnect();
    checkEqual("disconnected", host.IsConnected, false);
    files.DeleteFile(path + "*");
}

// An exception that nobody catches ends the script without a word.
var groups = {root: testRoot, session: testSession, item: testDictItem, embedded: testEmbedded};
for (var name in groups) {
    try {
        groups[name]();
    } catch (error) {
        check(name + " ended: " + numberOf(error) + " " + error.description, false);
    }
}
WScript.Echo(passed + " passed, " + failed + " failed");
WScript.Quit(failed);

// A client in JScript. Variables travel by value, so what a member gives back stays behind.
var passed = 0;
var failed = 0;
var calls = {};

function note(line, member, good, text) {
    if (good) {
        ++passed;
        calls[member] = (calls[member] || 0) + 1;
    } else {
        ++failed;
        WScript.Echo("FAILED: calls.txt, line " + line + ": " + text);
    }
}

function numberOf(error) {
    var code = error.number >>> 0;
    return code >>> 16 === 0x800A ? code & 0xFFFF : error.number;
}

function textOf(error) {
    return "error " + numberOf(error) + " " + error.description;
}

function done(line, member, act) {
    try {
        act();
        note(line, member, true);
    } catch (error) {
        note(line, member, false, textOf(error));
    }
}

function check(line, member, act, expected) {
    try {
        var result = act();
        note(line, member, result === expected, result + ", not " + expected);
    } catch (error) {
        note(line, member, false, textOf(error));
    }
}

// This engine keeps no source.
function fails(line, member, act, number, source, description) {
    try {
        act();
        note(line, member, false, "nothing failed");
    } catch (error) {
        note(line, member,
             numberOf(error) === number && error.description === description, textOf(error));
    }
}

function checkEach(line, member, list, expected) {
    var text = "";
    for (var all = new Enumerator(list); !all.atEnd(); all.moveNext()) {
        text += all.item() + ";";
    }
    note(line, "Collection." + member + " get", text === expected, text);
}

function covered(member) {
    WScript.Echo("  " + ("   " + (calls[member] || 0)).slice(-4) + "  " + member);
    if (!calls[member]) {
        note(0, "", false, "no call of " + member);
    }
}

function finish() {
    WScript.Echo(passed + " passed, " + failed + " failed");
    WScript.Quit(failed);
}

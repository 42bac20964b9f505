' The embedded database as a whole, at the edge where clients meet it: conversions, dictionaries,
' correlatives, selections, sentences, stored programs. What each means in detail is tested natively.
Option Explicit

Dim passed, failed, host, folder, am, vm
passed = 0
failed = 0

Sub Check(what, good)
    If good Then
        passed = passed + 1
    Else
        failed = failed + 1
        WScript.Echo "FAILED: " & what
    End If
End Sub

Sub CheckEqual(what, actual, expected)
    Check what & ": """ & actual & """, not """ & expected & """", _
        VarType(actual) = VarType(expected) And actual = expected
End Sub

' After a statement under On Error Resume Next.
Sub CheckError(what, number, description)
    Dim actual
    actual = Err.Number & " " & Err.Description
    Check what & ": " & actual, Err.Number = number And Err.Description = description
    Err.Clear
End Sub

' Runs a sentence; its output with bars between lines.
Function Run(sentence)
    Dim output, codes
    host.Execute sentence, output, codes
    Run = Replace(output, am, "|")
End Function

Sub Store(file, id, text)
    Dim opened
    Set opened = host.OpenFile(file)
    host.mvWrite False, id, opened, host.CreateDynamicArray(Replace(text, "^", am))
End Sub

Function Ids(list)
    Dim id
    While host.ReadNext(list, id)
        Ids = Ids & id & ";"
    Wend
    host.CloseSelect list
End Function

Sub TestConversions
    CheckEqual "date", host.Oconv("9904", "D4/"), "02/11/1995"
    CheckEqual "amount", host.Oconv("12345", "MD2,"), "123.45"
    CheckEqual "not convertible", host.Oconv("abc", "MD2"), "abc"
    CheckEqual "entry", host.Iconv("02/11/1995", "D"), "9904"
    On Error Resume Next
    host.Iconv "soon", "D4/"
    CheckError "bad entry", 5, """soon"" cannot be entered: it does not convert by ""D4/""."
    host.Iconv "1", "QQ"
    CheckError "bad code", 5, """1"" cannot be entered: ""QQ"" is no valid conversion."
    On Error GoTo 0
End Sub

Sub TestDictionary
    Dim amc, conversion, label, justification, correlative, length, internal, buffer, kept
    host.WriteDictItem "CUST", "NAME", 1, "", "Name", "L", "", 20
    host.WriteDictItem "CUST", "TOTAL", 2, "MD2", "Total", "R", "", 10
    host.WriteDictItem "CUST", "TWICE", 0, "MD2", "Twice", "R", "I;TOTAL*2", 10
    host.ReadDictItem "CUST", "TOTAL", amc, conversion, label, justification, correlative, length
    CheckEqual "definition", amc & conversion & label & justification & correlative & length, _
        "2MD2TotalR10"
    host.ReadDictItem "CUST", "TWICE", amc, conversion, label, justification, correlative, length
    CheckEqual "expression", correlative, "I;TOTAL*2"
    On Error Resume Next
    host.ReadDictItem "CUST", "NONE", amc, conversion, label, justification, correlative, length
    CheckError "no item", 10201, "There is no field ""NONE"" in the dictionary of file CUST."
    On Error GoTo 0
    CheckEqual "names", Ids(host.SelectDictName("CUST", False)), "@ID;NAME;TOTAL;"
    CheckEqual "all names", Ids(host.SelectDictName("CUST", True)), "@ID;NAME;TOTAL;TWICE;"
    CheckEqual "files", Ids(host.SelectFileName), "CUST;PROGRAMS;"

    Set buffer = host.CreateDynamicArray("Smith" & am & "150")
    CheckEqual "worked out", _
        host.ProcessCorrelative(buffer, "", "1", "CUST", 0, "I;TOTAL*2", internal), "300"
    kept = internal
    CheckEqual "by its internal form", _
        host.ProcessCorrelative(buffer, "", "1", "CUST", 0, "I;TOTAL*2", internal), "300"
    CheckEqual "which stays", internal, kept
    CheckEqual "valid", host.ValidCorrelative("A;1+2"), True
    CheckEqual "not valid", host.ValidCorrelative("A;(1"), False
    On Error Resume Next
    internal = ""
    host.ProcessCorrelative buffer, "", "1", "CUST", 0, "A;(1", internal
    Check "a mistake is named: " & Err.Description, Err.Number = 5
    Err.Clear
    On Error GoTo 0
End Sub

Sub TestSelections
    Dim list, other
    Store "CUST", "1", "Smith^15000"
    Store "CUST", "2", "Jones^250"
    Store "CUST", "3", "Adams^9900"
    CheckEqual "condition", Ids(host.ProcessSelect("SELECT CUST WITH TOTAL > 50")), "1;3;"
    CheckEqual "order", Ids(host.ProcessSelect("SSELECT CUST BY NAME")), "3;2;1;"
    Run "CREATE-INDEX CUST NAME"
    CheckEqual "by index", Ids(host.ProcessSelect("SELECT CUST WITH NAME = ""Jones""")), "2;"
    On Error Resume Next
    Set list = host.ProcessSelect("SELECT CUST WITH")
    Check "a mistake: " & Err.Description, Err.Number = 10400
    Err.Clear
    Set list = host.ProcessSelect("SELECT CUST")
    host.CloseSelect list
    host.ReadNext list, other
    CheckError "closed", 10400, "The select list is not open in this connection."
    On Error GoTo 0
    Check "count: " & Run("COUNT CUST"), InStr(Run("COUNT CUST"), "3 record") > 0
    Check "list: " & Run("LIST CUST NAME TOTAL"), InStr(Run("LIST CUST NAME TOTAL"), "150.00") > 0
End Sub

Sub TestLocks
    Dim output, codes, held
    Set held = host.mvRead(True, "2", host.OpenFile("CUST"), 0)
    host.Execute "LIST-READU", output, codes
    Check "locks: " & codes, InStr(codes, "430" & vm & "CUST" & vm & "2" & vm & "Tester" & vm) = 1 _
        And Right(codes, 4) = am & "405"
    host.mvRelease host.OpenFile("CUST"), "2"
    host.Execute "LIST-READU", output, codes
    CheckEqual "no locks", codes, "405"
End Sub

Sub TestPrograms
    Dim value, other, stored
    Store "PROGRAMS", "TWICE", "Sub Main(value, note)^  value = value * 2^  note = Account.User^End Sub"
    Store "PROGRAMS", "JOIN.js", "Arguments.Item(1) = Arguments.Item(1) + '+' + Arguments.Count;"
    Store "PROGRAMS", "FAILS", "Sub Main(value)^  Dim x^  x = 1^  Err.Raise 4711, ""me"", ""no luck""^End Sub"
    Store "PROGRAMS", "BROKEN", "Sub Main(value)^  If Then^End Sub"
    Store "PROGRAMS", "LOOP", "Sub Main(value)^  Account.Call ""LOOP"", value^End Sub"
    Store "PROGRAMS", "WRITES", "Sub Main(id)^  Dim file^  Set file = Account.Open(""CUST"")^" & _
        "  file.Write id, Account.Replace(file.Read(""1""), ""Neu"", 1)^" & _
        "  id = Account.Select(""SELECT CUST WITH NAME = """"Neu"""""")^End Sub"
    value = 21
    Store "PROGRAMS", "FORGET", "Sub Main(id)^  id = Account.Execute(""DELETE CUST "" & Account.Quote(id))^End Sub"
    host.CallHost "TWICE", value, other
    CheckEqual "by reference", value, 42
    CheckEqual "user", other, "Tester"
    host.CallHost "twice", value, other
    CheckEqual "again, in any case", value, 84
    value = "a"
    host.CallHost "JOIN", value, "b"
    CheckEqual "in JScript", value, "a+2"
    ' What a program quotes is an id, even one made to be more.
    For Each value In Array("ALL", "x' ALL '", "'")
        other = value
        host.CallHost "FORGET", other
        CheckEqual "quoted", other, """" & value & """ is not in file ""CUST""." & am & "0 record(s) deleted"
    Next
    value = "9"
    host.CallHost "WRITES", value
    CheckEqual "reads and writes", value, "9"
    Set stored = host.mvRead(False, "9", host.OpenFile("CUST"), 0)
    CheckEqual "written", host.Extract(stored, 1, 0, 0), "Neu"
    On Error Resume Next
    host.CallHost "NONE", value
    CheckError "no program", -2147220979, "There is no stored program ""NONE"" in the file PROGRAMS."
    host.CallHost "FAILS", value
    CheckError "failing", 4711, "Program ""FAILS"", line 4: no luck"
    ' The innermost place is told, once; a text that looks like a place is a text like others.
    Store "PROGRAMS", "INNER", "Sub Main(value)^  Err.Raise 4712, ""me"", value^End Sub"
    Store "PROGRAMS", "OUTER", "Sub Main(value)^^  Account.Call ""INNER"", value^End Sub"
    For Each value In Array("no luck", "Program ""X"" is missing")
        host.CallHost "INNER", value
        CheckError "failing with " & value, 4712, "Program ""INNER"", line 2: " & value
        host.CallHost "OUTER", value
        CheckError "failing in a call with " & value, 4712, "Program ""INNER"", line 2: " & value
    Next
    Store "PROGRAMS", "RETELLS", "Sub Main(value)^  On Error Resume Next^" & _
        "  Account.Call ""INNER"", value^  value = Err.Description^  On Error GoTo 0^" & _
        "  Err.Raise 4713, ""me"", ""told: "" & value^End Sub"
    value = "x"
    host.CallHost "RETELLS", value
    CheckError "failing of itself after a call", 4713, _
        "Program ""RETELLS"", line 6: told: Program ""INNER"", line 2: x"
    host.CallHost "BROKEN", value
    Check "unreadable: " & Err.Description, InStr(Err.Description, "Program ""BROKEN"", line 2: ") = 1
    Err.Clear
    host.CallHost "LOOP", value
    Check "endless: " & Err.Description, InStr(Err.Description, "too deeply") > 0
    Err.Clear
    On Error GoTo 0
    host.CallHost "TWICE", 4, other
    host.WriteDictItem "CUST", "DOUBLED", 0, "", "Doubled", "R", "CALL DOUBLE", 10
    Store "PROGRAMS", "DOUBLE", "Sub Main(value, id, record)^  value = id & ""!""^End Sub"
    Check "as a correlative: " & Run("LIST CUST DOUBLED"), InStr(Run("LIST CUST DOUBLED"), "9!") > 0
End Sub

Sub TestAll
    Dim files, output, codes, buffer
    Set files = CreateObject("Scripting.FileSystemObject")
    folder = files.GetSpecialFolder(2) & "\" & files.GetTempName
    Set host = CreateObject("kelos1.IHostDLL")
    host.PropertyValue("Database") = folder
    host.PropertyValue("User") = "Tester"
    host.PropertyValue("Durability") = "normal"
    On Error Resume Next
    host.PropertyValue("Family") = "Other"
    host.Connect
    CheckError "family", 5, "The property Family takes Uni or R83, not ""Other""."
    On Error GoTo 0
    host.PropertyValue("Family") = "Uni"
    CheckEqual "family", host.DatabaseType, CLng(1)
    host.Connect
    Set buffer = host.CreateDynamicArray("a")
    host.Replace buffer, "b", 2, 0, 0
    host.Replace buffer, "c", 2, 2, 0
    am = Mid(host.Extract(buffer, 0, 0, 0), 2, 1)
    vm = Mid(host.Extract(buffer, 0, 0, 0), 4, 1)
    host.Execute "CREATE-FILE CUST", output, codes
    CheckEqual "made", codes, "417"
    Run "CREATE-FILE PROGRAMS"
    TestConversions
    TestDictionary
    TestSelections
    TestLocks
    TestPrograms
    host.Disconnect
    files.DeleteFile folder & "*"
End Sub

On Error Resume Next
TestAll
Check "ended: " & Err.Number & " " & Err.Source & " " & Err.Description, Err.Number = 0
WScript.Echo passed & " passed, " & failed & " failed"
WScript.Quit failed

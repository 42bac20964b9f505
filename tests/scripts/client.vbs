' What a script meets when things go wrong, and the embedded back-end by itself. That every member
' can be called is tested elsewhere, with clients of every kind.
Option Explicit

Dim passed, failed
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

' Numbers of any width are equal, a number and a text never.
Sub CheckEqual(what, actual, expected)
    Dim sameKind
    sameKind = (VarType(actual) = vbString) = (VarType(expected) = vbString)
    If sameKind Then
        Check what & ": " & actual & ", not " & expected, actual = expected
    Else
        Check what & ": " & TypeName(actual) & ", not " & TypeName(expected), False
    End If
End Sub

' After a statement under On Error Resume Next.
Sub CheckError(what, number, source, description)
    Dim actual
    actual = Err.Number & " " & Err.Source & " " & Err.Description
    Check what & ": " & actual, _
        Err.Number = number And Err.Source = source And Err.Description = description
    Err.Clear
End Sub

Sub TestSession()
    Dim base, session, tools, nobody
    Set base = CreateObject("kelSDK.kelBase")
    Set session = base.GetSessionCallBack("Main")
    CheckEqual "nobody says which back-end", session.Connect, False
    On Error Resume Next
    session.OsType = 55
    CheckError "back-end that is not there", -2147221501, "kelDBMS::OsType", _
        "Unable to find a registered DLL version 2 or above for OsType 55"
    On Error GoTo 0

    Set tools = session.Tools
    CheckEqual "trapped by the engine", tools.Extract("Customer", 1), ""
    On Error Resume Next
    tools.Replace "Customer", "Smith", 1
    CheckEqual "no back-end", Err.Number, 91
    Err.Clear
    tools.Extract "", 1
    CheckError "no key field", -2147221503, "mvDBMS::Extract", "No Key Id"
    Set session = Nothing
    base.RemoveSessionCallback "Main"
    tools.Extract "Customer", 1
    CheckError "session gone", 10102, "kelTools::Extract", "Currently not connected"
    tools.mvWrite "Customer", "17"
    CheckError "session gone", 10102, "kelTools::mvWrite", "Currently not connected"
    tools.Extract Nothing, 1
    Check "Nothing is no text", Err.Number <> 0
    Err.Clear
    On Error GoTo 0
    CheckEqual "state without a session", tools.IsConnected, False
    tools.mvRelease "Customer"

End Sub

Sub TestDictItem()
    Dim item, info
    Set item = CreateObject("kelSDK.kelDictItem")
    CheckEqual "read state", item.DictRead, 0
    item.KeyId = "Customer"
    item.AMC = 3
    CheckEqual "number", item.AMC, CLng(3)
    CheckEqual "reads by its own key field", item.ReadKeyId, "Customer"
    item.KeyId = Empty
    CheckEqual "Empty is an empty text", item.KeyId, ""
    item.KeyId = 17
    CheckEqual "numbers become text", item.KeyId, "17"
    item.ReadU = True
    CheckEqual "flag", item.ReadU, True
    item.InitalizeDictItem
    CheckEqual "no connection", item.DictRead, 3
    CheckEqual "no session to read from", item.ReadRecord, 0
    CheckEqual "no value", item.InternalValue, ""
    CheckEqual "no value in a row", item.ExternalValue(2), ""
    item.InternalValue(2) = "dropped"
    item.ExternalValue = "dropped"
    Check "no state for reading", item.mvReadInfo Is Nothing
    Check "no common value", IsEmpty(item.CommonValue("Rate"))
    On Error Resume Next
    Set info = item.mvInfo
    CheckError "session lost", -2147221502, "kelDictItem::mvInfo", _
        "Reference to Session information can not be found.  " & _
        "Database Session has been closed and distroyed."
    item.AMC = "three"
    CheckEqual "no number", Err.Number, 13
    Err.Clear
    item.ReadType = 40000
    CheckEqual "too large a number", Err.Number, 6
    Err.Clear
    item.DictRead = 1
    Check "only the component sets the state", Err.Number <> 0
    Err.Clear
    On Error GoTo 0
End Sub

Sub TestEmbedded()
    Dim files, path, host, other, file, buffer, variable, code, am, vm
    Set files = CreateObject("Scripting.FileSystemObject")
    path = files.GetSpecialFolder(2) & "\" & files.GetTempName
    Set host = CreateObject("kelos1.IHostDLL")
    CheckEqual "OS type", host.OsType, 1
    CheckEqual "number of properties", host.PropertyCount, 10
    CheckEqual "default", host.PropertyDefault("ReadOnly"), "False"
    On Error Resume Next
    host.Connect
    CheckError "no account", 5, "kelos1::PropertyValue", _
        "The property Database is empty; it takes the path of the account file."
    host.PropertyValue("Server") = "x"
    CheckError "unknown property", 5, "kelos1::PropertyValue", _
        "There is no connection property ""Server""."
    Set file = host.OpenFile("CUST")
    CheckError "not connected", 10102, "kelos1::OpenFile", "Not connected"
    On Error GoTo 0

    host.PropertyValue("Database") = path
    host.Connect
    CheckEqual "connected", host.IsConnected, True
    host.Execute "CREATE-FILE CUST", "", ""
    On Error Resume Next
    Set file = host.OpenFile("ORDERS")
    CheckError "no such file", 10301, "kelos1::OpenFile", _
        "There is no file ""ORDERS"" in this account."
    On Error GoTo 0
    host.Execute "DELETE-FILE NONE", variable, code
    CheckEqual "output", variable, "There is no file ""NONE""."
    CheckEqual "code", code, "10301"

    Set file = host.OpenFile("CUST")
    ' The marks, whatever the code page of the script is.
    Set buffer = host.CreateDynamicArray("a")
    host.Replace buffer, "b", 2, 0, 0
    host.Replace buffer, "c", 2, 2, 0
    am = Mid(host.Extract(buffer, 0, 0, 0), 2, 1)
    vm = Mid(host.Extract(buffer, 0, 0, 0), 4, 1)
    CheckEqual "edited from nothing", host.Extract(buffer, 0, 0, 0), "a" & am & "b" & vm & "c"

    Set buffer = host.CreateDynamicArray("Smith" & am & "London" & vm & "Paris")
    CheckEqual "element", host.Extract(buffer, 2, 2, 0), "Paris"
    host.Replace buffer, "Rome", 2, 3, 0
    host.Insert buffer, "Oslo", 2, 1, 0
    host.Delete buffer, 1, 0, 0
    CheckEqual "edited", host.Extract(buffer, 0, 0, 0), _
        "Oslo" & vm & "London" & vm & "Paris" & vm & "Rome"
    CheckEqual "counted", host.Dcount(vm, buffer, 1, 0, 0), CLng(4)
    host.mvWrite False, "17", file, buffer
    Set buffer = host.mvRead(False, "17", file, 0)
    CheckEqual "written and read", host.Extract(buffer, 1, 4, 0), "Rome"
    Check "missing record", host.mvRead(False, "18", file, 0) Is Nothing
    On Error Resume Next
    host.mvRead False, "", file, 0
    CheckError "empty id", 5, "kelos1::mvRead", "A record's id must not be empty."
    host.mvWrite False, "17", file, Nothing
    CheckError "Nothing for a buffer", 13, "kelos1::mvWrite", _
        "The object is no record buffer of this back-end."
    host.mvWrite False, "17", Nothing, buffer
    CheckError "Nothing for a file", 10302, "kelos1::mvWrite", _
        "The file variable is not open in this connection."
    On Error GoTo 0

    ' Locks: a locked record is answered with nothing, which a script cannot tell from a missing one.
    Set other = CreateObject("kelos1.IHostDLL")
    other.PropertyValue("database") = path
    other.Connect
    Set buffer = host.mvRead(True, "17", file, 0)
    Check "locked by another", other.mvRead(True, "17", other.OpenFile("CUST"), 0) Is Nothing
    host.mvRelease file, "17"
    Check "released", Not other.mvRead(True, "17", other.OpenFile("CUST"), 0) Is Nothing
    other.Disconnect
    host.mvDelete "17", file
    Check "deleted", host.mvRead(False, "17", file, 0) Is Nothing
    host.Disconnect
    CheckEqual "disconnected", host.IsConnected, False
    files.DeleteFile path & "*"
End Sub

' An error that nobody expected ends one group; the script host would pass over it in silence.
Sub CheckCompleted(what)
    Check what & " ended: " & Err.Number & " " & Err.Source & " " & Err.Description, Err.Number = 0
    Err.Clear
End Sub

On Error Resume Next
TestSession
CheckCompleted "session"
TestDictItem
CheckCompleted "dictionary item"
TestEmbedded
CheckCompleted "embedded back-end"
On Error GoTo 0

WScript.Echo passed & " passed, " & failed & " failed"
WScript.Quit failed

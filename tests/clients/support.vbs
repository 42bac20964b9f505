' A client in VBScript. The calls below are made one after the other with errors resumed; each is
' checked at once.
Dim passed, failed, result, calls
passed = 0
failed = 0
Set calls = CreateObject("Scripting.Dictionary")

Sub Note(line, member, good, text)
    If good Then
        passed = passed + 1
        If member <> "" Then calls.Item(member) = calls.Item(member) + 1
    Else
        failed = failed + 1
        WScript.Echo "FAILED: calls.txt, line " & line & ": " & text
    End If
    Err.Clear
End Sub

Sub Begin
    Err.Clear
    result = Empty
End Sub

Function ErrorText
    ErrorText = "error " & Err.Number & " " & Err.Source & " " & Err.Description
End Function

' A readable form in which numbers of all widths are alike, and numbers and texts are not.
Function Shown(value)
    If IsObject(value) Then
        Shown = "an object"
        If value Is Nothing Then Shown = "Nothing"
    ElseIf VarType(value) = vbString Then
        Shown = """" & value & """"
    Else
        Shown = TypeName(value) & " " & value
        If VarType(value) = vbInteger Or VarType(value) = vbLong Then Shown = "Number " & value
    End If
End Function

Function Same(actual, expected)
    If IsObject(actual) And IsObject(expected) Then
        Same = actual Is expected
    Else
        Same = Shown(actual) = Shown(expected)
    End If
End Function

Sub Done(line, member)
    Note line, member, Err.Number = 0, ErrorText
End Sub

Sub Check(line, member, expected)
    Dim text
    text = ErrorText
    If Err.Number = 0 Then text = Shown(result) & ", not " & Shown(expected)
    Note line, member, Err.Number = 0 And Same(result, expected), text
End Sub

Sub CheckIs(line, actual, expected)
    Note line, "", Same(actual, expected), Shown(actual) & ", not " & Shown(expected)
End Sub

Sub Failed(line, member, number, source, description)
    Note line, member, _
        Err.Number = number And Err.Source = source And Err.Description = description, ErrorText
End Sub

Sub CheckEach(line, member, list, expected)
    Dim one, all
    For Each one In list
        all = all & one & ";"
    Next
    Note line, "Collection." & member & " get", all = expected, all
End Sub

Sub Covered(member)
    WScript.Echo "  " & Right("   " & CLng(calls.Item(member)), 4) & "  " & member
    If CLng(calls.Item(member)) = 0 Then Note 0, "", False, "no call of " & member
End Sub

Sub Finish
    WScript.Echo passed & " passed, " & failed & " failed"
    WScript.Quit failed
End Sub

On Error Resume Next

' Reads a record with a lock, changes it, writes it, and hears what happens to it meanwhile.
'
'   cscript country.vbs ACCOUNT                       (Windows)
'   kelsh --no-connect country.vbs ACCOUNT
'
' ACCOUNT is the file of an embedded database; it is made when it is missing. Run here by kelsh, whose
' Arguments and ConnectObject are those of the Windows script hosts.
Option Explicit
Dim base, atlas, country, tools, output, cities

Set base = CreateObject("kelSDK.kelBase")
Set atlas = base.GetSessionCallBack("Atlas")          ' the session, made on first use
Set country = base.GetFieldCallBack("Country")        ' the key field that we want to hear
WScript.ConnectObject atlas, "Atlas_"
WScript.ConnectObject country, "Country_"
base.SetKeyFieldSession "Country", "Atlas"            ' a record buffer, and the session it is read by

If Not atlas.Connect Then WScript.Quit 1              ' asks Atlas_PropertyValue below
Set tools = atlas.Tools
tools.Execute "CREATE-FILE COUNTRIES", output         ' a sentence; its output says if it was there
tools.mvReadU "Country", "CH", "COUNTRIES"            ' with a lock; Country_ReadValid tells the outcome
tools.Replace "Country", "Switzerland", 1             ' attribute 1
tools.Replace "Country", "Bern", 2, 1                 ' attribute 2, value 1
tools.Insert "Country", "Geneva", 2, 2
tools.mvWrite "Country", "CH"                         ' and gives up the lock

Set cities = CreateObject("kelSDK.kelDictItem")       ' attribute 2, as a control is bound to it
cities.KeyId = "Country"
cities.AMC = 2
WScript.Echo tools.Extract("Country", 1) & ": " & cities.Count & " cities"
atlas.Disconnect

' Each connection property is asked for by name; what is left alone keeps its default.
Sub Atlas_PropertyValue(name, value)
    Select Case name
        Case "OsType"   value = "1"                   ' the embedded database
        Case "Database" value = WScript.Arguments(0)
    End Select
End Sub

Sub Atlas_ConnectionFailed(message)
    WScript.Echo "not connected: " & message
End Sub

' ErrorFlag: 0 found, 1 not found (a new record), 2 locked by somebody else.
Sub Country_ReadValid(recNo, isValid, errorFlag)
    WScript.Echo "read " & recNo & ": " & errorFlag
End Sub

' Position 0, 0, 0 would be the whole record.
Sub Country_Refresh(amc, vmc, smc)
    WScript.Echo "changed " & amc & "," & vmc & "," & smc
End Sub

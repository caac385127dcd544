' What a call through COM produced, one JSON line at a time in the value
' form of `brelvane call --json`, for comsuite.py to compare with the native
' outputs. Out is the file being written, Ctl the opaque control object of
' the current call and Host the host object it was handed.

Class Control
End Class

Dim Fso, Out, Ctl, Host, ErrNumber, ErrSource, ErrDescription

' Keeps the error the last call raised, and clears it.
Sub Caught()
  ErrNumber = Err.Number
  ErrSource = Err.Source
  ErrDescription = Err.Description
  Err.Clear
End Sub

Function Text(ByVal s)
  Dim i
  s = Replace(Replace(s, "\", "\\"), """", "\""")
  s = Replace(Replace(Replace(s, vbCr, "\r"), vbLf, "\n"), vbTab, "\t")
  For i = 0 To 31
    s = Replace(s, Chr(i), "\u" & Right("000" & Hex(i), 4))
  Next
  Text = """" & s & """"
End Function

Function Two(n)
  Two = Right("0" & n, 2)
End Function

Function Value(v)
  If IsArray(v) Then
    Value = ArrayValue(v)
  ElseIf IsObject(v) Then
    If v Is Nothing Then
      Value = "null"
    ElseIf v Is Ctl Then
      Value = """control#1"""
    ElseIf v Is Host Then
      Value = """host"""
    Else
      Value = """?"""
    End If
    Value = "{""$object"":" & Value & "}"
  Else
    Select Case VarType(v)
      Case vbEmpty: Value = "{""$empty"":true}"
      Case vbNull: Value = "null"
      Case vbBoolean: If v Then Value = "true" Else Value = "false"
      Case vbString: Value = Text(v)
      Case vbDate
        Value = Year(v) & "-" & Two(Month(v)) & "-" & Two(Day(v))
        If Hour(v) + Minute(v) + Second(v) > 0 Then _
          Value = Value & "T" & Two(Hour(v)) & ":" & Two(Minute(v)) & ":" & Two(Second(v))
        Value = "{""$date"":""" & Value & """}"
      Case Else: Value = CStr(v)
    End Select
  End If
End Function

' Two dimensions as rows of columns, any other number as one list.
Function ArrayValue(a)
  Dim i, k, rows, row, bounds, upper
  bounds = "[" & LBound(a, 1) & "," & UBound(a, 1) & "]"
  On Error Resume Next
  upper = UBound(a, 2)
  If Err.Number = 0 Then
    bounds = bounds & ",[" & LBound(a, 2) & "," & upper & "]"
    For i = LBound(a, 1) To UBound(a, 1)
      row = ""
      For k = LBound(a, 2) To upper
        row = row & "," & Value(a(i, k))
      Next
      rows = rows & ",[" & Mid(row, 2) & "]"
    Next
  Else
    For i = LBound(a) To UBound(a)
      rows = rows & "," & Value(a(i))
    Next
  End If
  Err.Clear
  ArrayValue = "{""$array"":{""bounds"":[" & bounds & "],""rows"":[" & Mid(rows, 2) & "]}}"
End Function

' One line: the member called, the error it raised and what it left, as
' alternating names and values in `pairs`.
Sub Record(id, pairs)
  Dim line, i
  line = "{""id"":" & Text(id) & ",""error"":"
  If ErrNumber = 0 Then
    line = line & "null"
  Else
    line = line & "[" & ErrNumber & "," & Text(ErrSource) & "," & Text(ErrDescription) & "]"
  End If
  For i = 0 To UBound(pairs) Step 2
    line = line & "," & Text(pairs(i)) & ":" & Value(pairs(i + 1))
  Next
  Out.WriteLine line & "}"
End Sub

' One line for a check the script makes itself.
Sub Check(name, ok, detail)
  Dim held
  held = "false"
  If ok Then held = "true"
  Out.WriteLine "{""case"":" & Text(name) & ",""ok"":" & held & ",""detail"":" & Text(detail) & "}"
End Sub

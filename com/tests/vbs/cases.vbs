' The checks that have no native counterpart: errors as a script sees them.
Sub Cases()
  Dim o, scripted
  On Error Resume Next
  Set scripted = New ScriptHost
  Set o = CreateObject("Brelvane.CLSCI_LOOKUP")
  Set o.ActiveInterface = scripted
  Set o.Connessione = Nothing
  o.NatureCosti
  Caught
  Check "host 2 composes NatureCosti", ErrNumber = 0 And o.Str_Sql <> "", _
    ErrNumber & " " & ErrDescription
  scripted.Context.Messages.Failing = True
  o.NatureCosti
  Caught
  Check "a host method that raises: no error reaches the script", ErrNumber = 0, _
    ErrNumber & " " & ErrDescription
  Check "a host method that raises: Str_Sql is empty", o.Str_Sql = "", o.Str_Sql

  o.NonEsiste
  Caught
  Check "an unknown member raises 438", ErrNumber = 438, ErrNumber & " " & ErrDescription
  o.AnagraficaIntermediPDCCoGe2 "abc", 1
  Caught
  Check "a text for a Long raises 13 with a source and a description", _
    ErrNumber = 13 And ErrSource <> "" And ErrDescription <> "", _
    ErrNumber & " | " & ErrSource & " | " & ErrDescription
  o.AnagraficaIntermediPDCCoGe2 , 1
  Caught
  Check "a required argument left out raises 449", ErrNumber = 449, ErrNumber & " " & ErrDescription
End Sub

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

  ' The hardened mode, taken by the objects created after Brelvane.Settings sets it.
  Dim settings
  Set settings = CreateObject("Brelvane.Settings")
  settings.Hardened = True
  Caught
  Check "Brelvane.Settings.Hardened reads back True", ErrNumber = 0 And settings.Hardened = True, _
    ErrNumber & " " & ErrDescription
  Check "hardened: O'Brien composes with its apostrophe doubled", _
    InStr(Intestazioni(), "= 'O''Brien'") > 0, Intestazioni()
  settings.Hardened = False
  Check "by default again: O'Brien composes as given", _
    settings.Hardened = False And InStr(Intestazioni(), "= 'O'Brien'") > 0, Intestazioni()
End Sub

' Str_Sql of a new lookup's IntestazioniSchedeCostiPerTipoScheda(1, "O'Brien").
Function Intestazioni()
  Dim o
  Set o = CreateObject("Brelvane.CLSCI_LOOKUP")
  Set o.ActiveInterface = New ScriptHost
  o.IntestazioniSchedeCostiPerTipoScheda 1, "O'Brien"
  Intestazioni = o.Str_Sql
End Function

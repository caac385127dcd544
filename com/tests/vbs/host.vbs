' Host 2: the demo host of `brelvane call` written again as script classes,
' by the names of com/src/host_protocol.h. Catalogue() is generated from
' data/catalogo.tsv. Wine's script engine takes one name per Public line,
' and a method must be given every argument it declares.

Class ScriptMessages
  Public Texts
  Public Failing  ' True: GetMessageText raises

  Private Sub Class_Initialize()
    Set Texts = Catalogue()
    Failing = False
  End Sub

  Public Function GetMessageText(Id, Args, Message)
    If Failing Then Err.Raise 5000, "ScriptMessages", "GetMessageText fails on purpose"
    If Texts.Exists(CStr(Id)) Then
      Message = Texts(CStr(Id))
    Else
      Message = "[" & Id & "]"
    End If
  End Function

  Public Function PrepareSqlText(Sql, Prepared)
    Prepared = Replace(Sql, "'", "''")
  End Function
End Class

Class ScriptSettings
  Public CompanyMode
  Private Sub Class_Initialize()
    CompanyMode = CLng(1)
  End Sub
End Class

Class ScriptCompany
  Public Code
  Public LanguageCode
  Public Settings
  Private Sub Class_Initialize()
    Code = CLng(1)
    LanguageCode = "ITA"
    Set Settings = New ScriptSettings
  End Sub
End Class

Class ScriptContext
  Public Messages
  Public Company
  Private Sub Class_Initialize()
    Set Messages = New ScriptMessages
    Set Company = New ScriptCompany
  End Sub
End Class

Class ScriptHost
  Public Context
  Public InstallationSetting
  Private Sub Class_Initialize()
    Set Context = New ScriptContext
  End Sub
End Class

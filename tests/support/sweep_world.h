#pragma once
// The healthy stand-ins and plausible arguments with which the fault sweep
// and the hostile-value check call every member of the registry.
#include "brelvane/brelvane.h"
#include "standins/standins.h"

namespace brelvane::sweep {

using standins::Json;

/// A host, a connection that answers every query and the proposal
/// procedures, and an opaque control; no steps yet.
inline Json world() {
  Json doc = Json::parse(R"({"objects": {
      "host": {"kind": "host", "company": {"Code": 5, "LanguageCode": "ITA", "CompanyMode": 2},
               "installationSetting": 1},
      "db": {"kind": "connection", "procedures": {}, "results": [
          {"match": "PC01_DESCRPDC", "columns": ["PC01_INDTIPOPDC"], "rows": [[1]]},
          {"match": "", "columns": ["VALORE"], "rows": [["7"]]}]},
      "edit": {"kind": "control"}}, "utility": {}, "launchers": {}})");
  for (const char* procedure : {"SPCI_PROPCONTI_LOOKUPPROVIDER", "SPCI_PROPCOGE_LOOKUPPROVIDER",
                                "SPCI_PROPCAUSALI_LOOKUPPROVIDER"})
    doc["objects"]["db"]["procedures"][procedure] = {
        {"@LABELS", "Codice|Descrizione"}, {"@QUERY", "SELECT 1 AS Codice, 'x' AS Descrizione"}};
  return doc;
}

/// A plausible argument for a parameter of the registry.
inline Json plausible(const ParamInfo& p) {
  using enum ParamType;
  if (p.type == Object)
    return {{"$object", p.typeName == "Connection" || p.name.find("Connessione") != p.name.npos
                            ? "db"
                            : "edit"}};
  return p.type == Boolean   ? Json(false)
         : p.type == String  ? Json("7")
         : p.type == Date    ? Json{{"$date", "2026-11-22"}}
         : p.type == Integer ? Json{{"$integer", 1}}
                             : Json(1);
}

}  // namespace brelvane::sweep

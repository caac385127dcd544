// The registration number bridge: which analytic registration belongs to a
// general-accounting one. It is no lookup: it answers at once, with a query
// of its own on the connection it is handed (not Connessione), and leaves
// the four lookup outputs alone. Unlike the lookups it lets its errors reach
// the caller, its name put before their source; that is done here, once.
#include "compose/access.h"
#include "lookup/families.h"

namespace brelvane::lookup {

namespace {

constexpr std::string_view kBridge = "GetNumregCoanFromNumregCoge";

/// The query's answer: the first field of the first row as text, or "" when
/// there is none. The recordset is released on return, never closed.
std::string analyticNumber(CLSCI_LOOKUP& self, Dispatch& connection, int32_t company,
                           const std::string& generalNumber) {
  SqlText sql(512);
  sql.harden(internal::Access::of(self).hardened);
  sql.line("SELECT TOP 1");
  sql.line("    CI12_NUMREG_CO99");
  sql.line("FROM");
  sql.line("    CG41_PRIMANOTA WITH (NOLOCK)");
  sql.line("    INNER JOIN");
  sql.line("    CI12_MOVTESTATA WITH (NOLOCK)");
  sql.line("    ON");
  sql.line("    CG41_DITTA_CG18 = CI12_DITTA_CG18");
  sql.line("    AND CG41_NUMREG = CI12_NUMREGRIF_CO99");
  sql.line("WHERE");
  sql.line("    CG41_DITTA_CG18 = ", company);
  // Inserted as given: an apostrophe in it breaks the query on the server.
  sql.line("    AND CG41_NUMREG = '", inQuotes(generalNumber), "'");
  sql.line("ORDER BY");
  // Of several headers referring to the number, the lowest wins.
  sql.append("    CI12_NUMREG_CO99 ASC");

  // Only Execute is asked of the object: one that has none cannot serve.
  auto* executor = dynamic_cast<Connection*>(&connection);
  if (!executor) throw AutomationError::of(err::kUnknownMember, "Execute");
  std::shared_ptr<Recordset> rows = executor->Execute(sql.take(), ado::kCmdText);
  if (required(rows).Eof()) return {};
  return required(internal::Access::of(self).utility).ValueToText(rows->Field(0));
}

/// GetNumregCoanFromNumregCoge: mode 2 needs no translation and touches
/// nothing; any other mode runs the query. An error of the query, its
/// execution or its reading is raised again with the same number and
/// description, the source becoming the bridge's name, CR LF, the source.
std::string registrationBridge(CLSCI_LOOKUP& self, std::shared_ptr<Dispatch>& fclsConnessioneADO,
                               int32_t flngCodiceDitta, const std::string& fstrNumregCoge,
                               int16_t fintTipoCoin) {
  if (fintTipoCoin == 2) return fstrNumregCoge;
  try {
    return analyticNumber(self, required(fclsConnessioneADO), flngCodiceDitta, fstrNumregCoge);
  } catch (const AutomationError& e) {
    throw AutomationError(e.number, std::string(kBridge) + ":\r\n" + e.source, e.description);
  }
}

}  // namespace

void registerRegistrationBridge(Builder& b) {
  b.method(std::string(kBridge), registrationBridge,
           {arg("fclsConnessioneADO", "Connection"), arg("flngCodiceDitta"), arg("fstrNumregCoge"),
            arg("fintTipoCoin")},
           "the analytic registration number of a general-accounting one (mode 2: the same)");
}

}  // namespace brelvane::lookup

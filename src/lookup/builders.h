#pragma once
// Fragment builders of the chart lookups: CASE columns over PC03_ANAGPDC and
// the account-status fragments. Each appends its whole fragment (every line
// ending in CR LF) or nothing when anything fails; labels are fetched as each
// line is written.

#include <string>

#include "brelvane/automation/variant.h"
#include "compose/host_access.h"
#include "compose/sql_text.h"

namespace brelvane::lookup {

void CaseIndProvCosto(SqlText& sql, const HostAccess& host);
void CaseTipoContoCI(SqlText& sql, const HostAccess& host);
void CaseFlgGesCoSult(SqlText& sql, const HostAccess& host);
void CaseFlgPartInfra(SqlText& sql, const HostAccess& host);
void CaseFlgQuadratura(SqlText& sql, const HostAccess& host);
void CaseFlgVistoTMas(SqlText& sql, const HostAccess& host);
void CaseIndFontiUsi(SqlText& sql, const HostAccess& host);
void CaseTipoContoRicl(SqlText& sql, const HostAccess& host);
void CaseIndSegno(SqlText& sql, const HostAccess& host);
void CaseIndStaPer(SqlText& sql, const HostAccess& host);
void CaseIsAnalitico(SqlText& sql, const HostAccess& host);

// The account-status fragments appear only when the company uses account
// statuses (CompanyMode 2). Without a reference date the grid shows each
// account's status (join and columns); with one, disabled accounts are
// filtered out.
void JoinStatiPdC(SqlText& sql, const HostAccess& host, const Variant& DataValiditaConti);
void ColonneStatoPdC(SqlText& sql, const HostAccess& host, const Variant& DataValiditaConti);
void FiltroContiDisattivati(SqlText& sql, const HostAccess& host, const Variant& DataValiditaConti,
                            bool PrimaCondizione);

}  // namespace brelvane::lookup

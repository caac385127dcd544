#pragma once
// Fragment builders of the chart lookups: CASE columns over PC03_ANAGPDC and
// the account-status fragments. Each returns its whole fragment (every line
// ending in CR LF) or "" when anything fails; labels are fetched as each line
// is written.

#include <string>

#include "brelvane/automation/variant.h"
#include "compose/host_access.h"

namespace brelvane::lookup {

std::string CaseIndProvCosto(const HostAccess& host);
std::string CaseTipoContoCI(const HostAccess& host);
std::string CaseFlgGesCoSult(const HostAccess& host);
std::string CaseFlgPartInfra(const HostAccess& host);
std::string CaseFlgQuadratura(const HostAccess& host);
std::string CaseFlgVistoTMas(const HostAccess& host);
std::string CaseIndFontiUsi(const HostAccess& host);
std::string CaseTipoContoRicl(const HostAccess& host);
std::string CaseIndSegno(const HostAccess& host);
std::string CaseIndStaPer(const HostAccess& host);
std::string CaseIsAnalitico(const HostAccess& host);

// The account-status fragments appear only when the company uses account
// statuses (CompanyMode 2). Without a reference date the grid shows each
// account's status (join and columns); with one, disabled accounts are
// filtered out.
std::string JoinStatiPdC(const HostAccess& host, const Variant& DataValiditaConti);
std::string ColonneStatoPdC(const HostAccess& host, const Variant& DataValiditaConti);
std::string FiltroContiDisattivati(const HostAccess& host, const Variant& DataValiditaConti,
                                   bool PrimaCondizione);

}  // namespace brelvane::lookup

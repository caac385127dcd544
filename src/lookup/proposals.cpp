// Provider proposals: the database, not this component, decides these
// lookups. A stored procedure answers, for a company and a provider, the
// captions of the columns and the whole SQL text. Each instance prepares one
// command per procedure on first use and keeps it for its later calls.
#include "compose/access.h"
#include "lookup/families.h"

namespace brelvane::lookup {

namespace {

/// One proposal procedure and the two members that call it: the plain one
/// takes a 16-bit company code, its twin (the name followed by 2) a 32-bit
/// one.
struct ProposalLookup {
  std::string_view name;
  std::string_view doc;
  std::string_view procedure;
  std::string_view idPrefix;  ///< accounts and general ledger share theirs
};

constexpr ProposalLookup kProposalLookups[] = {
    {.name = "ProposteContiPerProvider",
     .doc = "account proposals of a provider",
     .procedure = "SPCI_PROPCONTI_LOOKUPPROVIDER",
     .idPrefix = "Lkp_PropProv_"},
    {.name = "ProposteCogePerProvider",
     .doc = "general-ledger proposals of a provider",
     .procedure = "SPCI_PROPCOGE_LOOKUPPROVIDER",
     .idPrefix = "Lkp_PropProv_"},
    {.name = "ProposteCausaliPerProvider",
     .doc = "causal-code proposals of a provider",
     .procedure = "SPCI_PROPCAUSALI_LOOKUPPROVIDER",
     .idPrefix = "Lkp_PropProvCaus_"},
};

/// The instance's command for the procedure of `row`. On first use it is
/// made over the current Connessione and prepared, each step tried even
/// when an earlier one failed; it stays bound to that connection. Null when
/// it could not be made (no connection, or the connection refused).
std::shared_ptr<Command> proposalCommand(Frame& f, const ProposalLookup& row) {
  CLSCI_LOOKUP& lookup = f.object();
  auto& commands = internal::Access::of(lookup).proposalCommands;
  static_assert(std::size(kProposalLookups) == std::tuple_size_v<std::decay_t<decltype(commands)>>);
  std::shared_ptr<Command>& command = commands[static_cast<size_t>(&row - kProposalLookups)];
  if (!command) {
    ignoringErrors([&] { command = required(lookup.Connessione).NewCommand(); });
    ignoringErrors([&] { required(command).SetActiveConnection(lookup.Connessione); });
    ignoringErrors([&] { required(command).SetCommandType(ado::kCmdStoredProc); });
    ignoringErrors([&] { required(command).SetCommandText(std::string(row.procedure)); });
    ignoringErrors([&] { required(command).SetPrepared(true); });
  }
  return command;
}

/// Runs the procedure for `company` (16-bit or 32-bit, as the member takes
/// it) and `provider`, and makes its answer the lookup definition. Until the
/// columns are written, a failure leaves the earlier definition's columns,
/// caption and id as they were.
void proposals(Frame& f, const ProposalLookup& row, Variant company, int16_t provider) {
  std::string labels, query;
  {
    std::shared_ptr<Command> command = proposalCommand(f, row);
    Command& c = required(command);
    c.SetParameter("@DITTA", company);
    c.SetParameter("@PROVIDER", Variant(provider));
    c.Execute(ado::kCmdUnspecified);  // the procedure answers through its outputs
    labels = toText(c.GetParameter("@LABELS"));
    query = toText(c.GetParameter("@QUERY"));
  }
  f.columnsSplit(labels, '|');
  f.sql(std::move(query));
  f.captionText(f.host.message(74716), " ", provider);
  f.id(row.idPrefix, provider);
}

}  // namespace

void registerProposals(Builder& b) {
  b.rows(kProposalLookups,
         form(member([](Frame& f, const ProposalLookup& row, int16_t fintCodiceDitta,
                        int16_t fintCodiceProvider) {
                proposals(f, row, Variant(fintCodiceDitta), fintCodiceProvider);
              }),
              {arg("fintCodiceDitta"), arg("fintCodiceProvider")}),
         form(member([](Frame& f, const ProposalLookup& row, int32_t flngCodiceDitta,
                        int16_t fintCodiceProvider) {
                proposals(f, row, Variant(flngCodiceDitta), fintCodiceProvider);
              }),
              {arg("flngCodiceDitta"), arg("fintCodiceProvider")})
             .suffixed("2", ", 32-bit company code"));
}

}  // namespace brelvane::lookup

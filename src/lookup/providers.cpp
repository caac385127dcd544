// Provider lookups: the providers of accounts, of general-ledger developments
// and of causal codes, and the header fields providers may fill. The utility
// object names the description column of each table (the decoders ask it the
// same), so lookup and decoder show the same text; this side adds the key,
// the table, the filter and the order.
#include "compose/provider_fields.h"
#include "lookup/families.h"

namespace brelvane::lookup {

namespace {

/// One provider table's lookup.
struct ProviderLookup {
  std::string_view name;
  std::string_view doc;
  std::string_view id;
  int32_t caption;
  DescriptionColumn description;
  std::string_view select, comma, from, order;
  bool orderBreak;  ///< the causal providers end without CR LF
};

constexpr ProviderLookup kProviderLookups[] = {
    {.name = "ProviderConti",
     .doc = "account providers",
     .id = "Lkp_ProvConti",
     .caption = 74745,
     .description = &UtilityObject::ProviderAccountColumn,
     .select = " SELECT  CI07_PROVIDER",
     .comma = "     ,   ",
     .from = " FROM    CI07_PROVCONTO",
     .order = " ORDER BY CI07_PROVIDER ASC",
     .orderBreak = true},
    {.name = "ProviderSviluppoCoGe",
     .doc = "general-ledger development providers",
     .id = "Lkp_ProvSvCoGe",
     .caption = 74746,
     .description = &UtilityObject::ProviderCogeColumn,
     .select = " SELECT   CI1A_PROVIDER",
     .comma = "     ,    ",
     .from = " FROM     CI1A_PROVCOGE",
     .order = " ORDER BY CI1A_PROVIDER ASC",
     .orderBreak = true},
    {.name = "ProviderCausali",
     .doc = "causal-code providers",
     .id = "Lkp_ProvCausali",
     .caption = 74747,
     .description = &UtilityObject::ProviderCausalColumn,
     .select = " SELECT   CI39_PROVIDER",
     .comma = "     ,    ",
     .from = " FROM     CI39_PROVCAUSALE",
     .order = " ORDER BY CI39_PROVIDER ASC",
     .orderBreak = false},
};

void providerLookup(Frame& f, const ProviderLookup& row) {
  f.columns({"Codice", "Descrizione"});
  SqlText sql = f.text(256);
  sql.line(row.select);
  // The expression ends the line's text; the FROM fragment opens with a blank.
  sql.append(row.comma, (f.utility().*row.description)()).line(row.from);
  sql.append(row.order);
  if (row.orderBreak) sql.line();
  f.sql(sql);
  f.caption(row.caption);
  f.id(row.id);
}

/// One header-field lookup filtered by the kind of industrial movement.
struct HeaderFieldLookup {
  std::string_view name;
  std::string_view doc;
  std::string_view id;
  int32_t caption;
  const HeaderFieldKind (&kinds)[3];
  std::string_view conditionPrefix;
};

constexpr HeaderFieldLookup kHeaderFieldLookups[] = {
    {.name = "CampiTestataProviders",
     .doc = "provider header fields for industrial accounting",
     .id = "Lkp_CampiTProv",
     .caption = 74748,
     .kinds = kIndustrialKinds,
     .conditionPrefix = " AND "},
    {.name = "CampiTestataProvidersCoge",
     .doc = "provider header fields for general accounting",
     .id = "Lkp_CampiTProvCoge",
     .caption = 74750,
     .kinds = kGeneralLedgerKinds,
     .conditionPrefix = " AND     "},
};

/// The key, the description and the table of every header-field lookup.
void headerFieldsHead(Frame& f, SqlText& sql) {
  sql.line(" SELECT   CI48_CAMPO");
  sql.append("     ,   ", f.utility().HeaderFieldColumn())
      .line(" FROM    CI48_CAMPO          WITH(NOLOCK)");
}

void headerFieldLookup(Frame& f, const HeaderFieldLookup& row, int16_t tipoCoin) {
  HeaderFieldKind kind = headerFieldKind(row.kinds, tipoCoin);
  f.columns({"Codice", "Descrizione"});
  SqlText sql = f.text(384);
  headerFieldsHead(f, sql);
  sql.line(" WHERE   CI48_TIPOCOIN IN (", kind.list, ")");
  sql.line(row.conditionPrefix, kind.condition);
  sql.append(" ORDER BY CI48_CAMPO ASC");
  f.sql(sql);
  f.caption(row.caption);
  f.id(row.id);
}

/// CampiTestataProvidersCausale: no kind filter; causal codes test the upper
/// group only.
void causalHeaderFields(Frame& f) {
  f.columns({"Codice", "Descrizione"});
  SqlText sql = f.text(320);
  headerFieldsHead(f, sql);
  sql.line(" WHERE   ((CI48_INDTIPO / 8) & 2) <> 0");
  sql.append(" ORDER BY CI48_CAMPO ASC");
  f.sql(sql);
  f.caption(74749);
  f.id("Lkp_CampiTProvCausale");
}

}  // namespace

void registerProviders(Builder& b) {
  b.rows(kProviderLookups, member(providerLookup))
      .rows(kHeaderFieldLookups, member(headerFieldLookup),
            {opt("fintTipoCoin", Variant(int16_t{1}))});
  b.method("CampiTestataProvidersCausale", member(causalHeaderFields),
           "provider header fields for causal codes");
  // Each kind of movement (0, 1, 2) filters its own way; any other leaves
  // the IN list empty.
  for (const char* name : {"CampiTestataProviders", "CampiTestataProvidersCoge"})
    b.examples(name, {{Variant(int16_t{0})},
                      {Variant(int16_t{1})},
                      {Variant(int16_t{2})},
                      {Variant(int16_t{3})}});
}

}  // namespace brelvane::lookup

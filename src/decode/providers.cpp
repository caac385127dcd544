// Provider decoders: the description expression comes from the utility
// object, which knows how each provider table stores it; this side adds the
// table, the key filter and, for header fields, the kind of movement.
#include "compose/provider_fields.h"
#include "decode/families.h"

namespace brelvane::decode {

namespace {

/// The select-list expression of a description. The utility object learns
/// the context first; what it answers to that is of no use here.
std::string describedBy(Frame& f, DescriptionColumn description) {
  auto& object = f.object();
  f.utility().BindContext(object.ActiveInterface, object.Connessione);
  return (f.utility().*description)();
}

/// One provider decoder: its name, the descriptor's result column, the
/// utility operation that names the select-list expression, and the
/// literal parts of its query.
struct ProviderTable {
  std::string_view name;
  std::string_view doc;
  std::string_view column;
  DescriptionColumn expression;
  std::string_view open, indent, from, where;
};

void providerDecode(Frame& f, const ProviderTable& table, const std::shared_ptr<Dispatch>& control,
                    int16_t provider) {
  f.descriptor(control, table.column);
  SqlText sql = f.text(256);
  sql.line(table.open);
  sql.append(table.indent, describedBy(f, table.expression)).line(table.from);
  sql.append(table.where, provider);
  f.sql(sql);
}

constexpr ProviderTable kProviderTables[] = {
    {.name = "ProviderConti",
     .doc = "account provider",
     .column = "CI07_DESCRIZIONE",
     .expression = &UtilityObject::ProviderAccountColumn,
     .open = " SELECT                        ",
     .indent = "        ",
     .from = " FROM    CI07_PROVCONTO        ",
     .where = " WHERE   CI07_PROVIDER = "},
    {.name = "ProviderSviluppoCoGe",
     .doc = "general-ledger development provider",
     .column = "CI1A_DESCRIZIONE",
     .expression = &UtilityObject::ProviderCogeColumn,
     .open = " SELECT    ",
     .indent = "           ",
     .from = " FROM     CI1A_PROVCOGE        ",
     .where = " WHERE    CI1A_PROVIDER = "},
    {.name = "ProviderCausali",
     .doc = "causal-code provider",
     .column = "CI39_DESCRIZIONE",
     .expression = &UtilityObject::ProviderCausalColumn,
     .open = " SELECT                        ",
     .indent = "           ",
     .from = " FROM    CI39_PROVCAUSALE      ",
     .where = " WHERE   CI39_PROVIDER = "},
};

/// The descriptor, the description and the table of every header-field
/// decoder; the expression opens its own line.
void headerFieldHead(Frame& f, SqlText& sql, const std::shared_ptr<Dispatch>& control) {
  f.descriptor(control, "CI48_DESCRIZIONE");
  sql.line(" SELECT                            ");
  sql.append(describedBy(f, &UtilityObject::HeaderFieldColumn))
      .line(" FROM   CI48_CAMPO                 ");
}

/// One header-field decoder filtered by the kind of industrial movement.
/// The general-ledger one names the field first and the kinds last.
struct HeaderFieldDecoder {
  std::string_view name;
  std::string_view doc;
  const HeaderFieldKind (&kinds)[3];
  bool fieldFirst;
};

constexpr HeaderFieldDecoder kHeaderFieldDecoders[] = {
    {.name = "CampoProviderTestata",
     .doc = "provider header field for industrial accounting",
     .kinds = kIndustrialKinds,
     .fieldFirst = false},
    {.name = "CampoProviderTestataCoge",
     .doc = "provider header field for general accounting",
     .kinds = kGeneralLedgerKinds,
     .fieldFirst = true},
};

void headerFieldDecode(Frame& f, const HeaderFieldDecoder& row,
                       const std::shared_ptr<Dispatch>& control, int16_t field, int16_t tipoCoin) {
  HeaderFieldKind kind = headerFieldKind(row.kinds, tipoCoin);
  SqlText sql = f.text(384);
  headerFieldHead(f, sql, control);
  if (row.fieldFirst) {
    sql.line(" WHERE  CI48_CAMPO = ", field);
    sql.line(" AND ", kind.condition);
    sql.append(" AND CI48_TIPOCOIN IN (", kind.list, ")");
  } else {
    sql.line(" WHERE  CI48_TIPOCOIN IN (", kind.list, ")");
    sql.line(" AND ", kind.condition);
    sql.append(" AND CI48_CAMPO = ", field);
  }
  f.sql(sql);
}

/// CampoProviderTestataCausale: no kind; causal codes test the upper group
/// only.
void causalHeaderField(Frame& f, const std::shared_ptr<Dispatch>& TextEdit,
                       int16_t fintCodiceCampo) {
  SqlText sql = f.text(320);
  headerFieldHead(f, sql, TextEdit);
  sql.line(" WHERE                             ");
  sql.line("    ((CI48_INDTIPO / 8) & 2) <> 0");
  sql.append("    AND CI48_CAMPO = ", fintCodiceCampo);
  f.sql(sql);
}

}  // namespace

void registerProviders(Builder& b) {
  b.rows(kProviderTables, member(providerDecode), {arg("TextEdit"), arg("fintCodiceProvider")})
      .rows(kHeaderFieldDecoders, member(headerFieldDecode),
            {arg("TextEdit"), arg("fintCodiceCampo"), opt("fintTipoCoin", Variant(int16_t{1}))});
  b.method("CampoProviderTestataCausale", member(causalHeaderField),
           {arg("TextEdit"), arg("fintCodiceCampo")}, "provider header field for causal codes");
  // As the lookups of header fields: one shape per kind of movement. The
  // control is the caller's (Nothing here).
  for (const char* name : {"CampoProviderTestata", "CampoProviderTestataCoge"})
    b.examples(name, {{Variant::nothing(), Variant(int16_t{1}), Variant(int16_t{0})},
                      {Variant::nothing(), Variant(int16_t{1}), Variant(int16_t{1})},
                      {Variant::nothing(), Variant(int16_t{1}), Variant(int16_t{2})},
                      {Variant::nothing(), Variant(int16_t{1}), Variant(int16_t{3})}});
}

}  // namespace brelvane::decode

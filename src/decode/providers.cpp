// Provider decoders: the description expression comes from the utility
// object, which knows how each provider table stores it; this side adds the
// table and the key filter.
#include "decode/families.h"

namespace brelvane::decode {

namespace {

/// One provider decoder: its name, the descriptor's result column, the
/// utility operation that names the select-list expression, and the
/// literal parts of its query.
struct ProviderTable {
  std::string_view name;
  std::string_view doc;
  std::string_view column;
  std::string (UtilityObject::*expression)();
  std::string_view open, indent, from, where;
};

void providerDecode(Frame& f, const ProviderTable& table, const std::shared_ptr<Dispatch>& control,
                    int16_t provider) {
  f.descriptor(control, table.column);
  // The utility object learns the context before it names the column; its
  // answer is of no use here.
  auto& object = f.object();
  f.utility().BindContext(object.ActiveInterface, object.Connessione);
  SqlText sql(256);
  sql.line(table.open);
  sql.append(table.indent, (f.utility().*table.expression)()).line(table.from);
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
};

}  // namespace

void registerProviders(Builder& b) {
  for (const ProviderTable& table : kProviderTables)
    b.method(std::string(table.name),
             member([&table](Frame& f, const std::shared_ptr<Dispatch>& TextEdit,
                             int16_t fintCodiceProvider) {
               providerDecode(f, table, TextEdit, fintCodiceProvider);
             }),
             {arg("TextEdit"), arg("fintCodiceProvider")}, std::string(table.doc));
}

}  // namespace brelvane::decode

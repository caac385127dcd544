// Provider decoders: the description expression comes from the utility
// object, which knows how each provider table stores it; this side adds the
// table and the key filter.
#include "decode/frame.h"

namespace brelvane {

namespace {

/// The literal parts of one provider table's decode query.
struct ProviderTable {
  std::string_view column;                     ///< the descriptor's result column
  std::string (UtilityObject::*expression)();  ///< the select-list expression
  std::string_view open, indent, from, where;
};

void providerDecode(decode::Frame& f, const std::shared_ptr<Dispatch>& control,
                    const ProviderTable& table, int16_t provider) {
  f.descriptor(control, table.column);
  // The utility object learns the context before it names the column; its
  // answer is of no use here.
  auto& object = f.object();
  f.utility().BindContext(object.ActiveInterface, object.Connessione);
  SqlText sql(256);
  sql.line(table.open);
  sql.append(table.indent, (f.utility().*table.expression)()).line(table.from);
  sql.append(table.where, decode::Frame::decimal(provider));
  f.sql(sql);
}

constexpr ProviderTable kAccountProviders{
    "CI07_DESCRIZIONE", &UtilityObject::ProviderAccountColumn, " SELECT                        ",
    "        ",         " FROM    CI07_PROVCONTO        ",     " WHERE   CI07_PROVIDER = "};

}  // namespace

void CLSCI_DECODE::ProviderConti(const std::shared_ptr<Dispatch>& TextEdit,
                                 int16_t fintCodiceProvider) {
  compose([&](decode::Frame& f) {
    providerDecode(f, TextEdit, kAccountProviders, fintCodiceProvider);
  });
}

}  // namespace brelvane

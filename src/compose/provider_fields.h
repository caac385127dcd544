#pragma once
// What the provider lookups and decoders share: the utility operation that
// names each provider table's description, and the kinds of industrial
// movement that a provider header field (CI48_CAMPO) serves.
//
// CI48_INDTIPO holds the uses of a header field in two groups of three bits,
// the low group (CI48_INDTIPO & mask) and the next one ((CI48_INDTIPO / 8) &
// mask); mask 1 is industrial accounting, 2 causal codes, 4 general
// accounting. Kinds 0 and 1 of CI48_TIPOCOIN go with the upper group, kinds
// 0 and 2 with the low one.

#include <cstdint>
#include <string>
#include <string_view>

#include "brelvane/host/utility.h"

namespace brelvane {

/// A utility operation giving the select-list expression of a description.
using DescriptionColumn = std::string (UtilityObject::*)();

/// The CI48_TIPOCOIN list and the CI48_INDTIPO condition of one kind.
struct HeaderFieldKind {
  std::string_view list;
  std::string_view condition;
};

/// By fintTipoCoin 0, 1 and 2, for industrial accounting (mask 1)...
inline constexpr HeaderFieldKind kIndustrialKinds[] = {
    {"0, 1, 2", "((((CI48_INDTIPO / 8) & 1) <> 0) OR ((CI48_INDTIPO & 1) <> 0))"},
    {"0, 1", "(((CI48_INDTIPO / 8) & 1) <> 0)"},
    {"0, 2", "((CI48_INDTIPO & 1) <> 0)"}};
/// ... and for general accounting (mask 4).
inline constexpr HeaderFieldKind kGeneralLedgerKinds[] = {
    {"0, 1, 2", "((((CI48_INDTIPO / 8) & 4) <> 0) OR ((CI48_INDTIPO & 4) <> 0))"},
    {"0, 1", "(((CI48_INDTIPO / 8) & 4) <> 0)"},
    {"0, 2", "((CI48_INDTIPO & 4) <> 0)"}};

/// The kind `tipoCoin` of `kinds`; any value but 0, 1 and 2 leaves both
/// texts empty, and the composed SQL then fails on the server, as intended.
inline HeaderFieldKind headerFieldKind(const HeaderFieldKind (&kinds)[3], int16_t tipoCoin) {
  return tipoCoin >= 0 && tipoCoin < 3 ? kinds[tipoCoin] : HeaderFieldKind{};
}

}  // namespace brelvane

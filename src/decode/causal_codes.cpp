// Causal-code decoders: the description of an industrial-accounting causal
// code (CI03_CAUSALI). Two members restrict it to the kinds of movement that
// the calling form accepts, given as a MaskTipoMovimentazione bit mask, so
// that a causal code of another kind decodes to nothing.
#include "decode/families.h"

namespace brelvane::decode {

namespace {

struct CausalDecoder {
  std::string_view name;
  std::string_view doc;
  bool byMovement;        ///< takes fintMaskTipoMovimentazione first
  bool automaticNumbers;  ///< only causal codes with automatic numbering
};

constexpr CausalDecoder kCausalDecoders[] = {
    {"CausaleContabilitàIndustriale", "industrial-accounting causal code", false, false},
    {"CausalePerTipoMovimentazione", "causal code of the movement kinds of a mask", true, false},
    {"CausalePerTipoMovimentazioneANumerazioneAutomatica",
     "causal code of the movement kinds of a mask, with automatic numbering", true, true},
};

/// The CI03_INDTIPOMOVDATI values a mask selects, joined by ", ": bits 1,
/// 2, 4 and 8 (MovStandard, MovMagazzino, MovManodopera,
/// MovRipartizioneCosti) give 0 to 3, in that order; other bits count for
/// nothing.
std::string movementKinds(int16_t mask) {
  SqlText kinds(16);
  for (int kind = 0; kind < 4; ++kind) {
    if ((mask & (1 << kind)) == 0) continue;
    if (kinds.size() > 0) kinds.append(", ");
    kinds.append(kind);
  }
  return kinds.take();
}

void causalDecode(Frame& f, const CausalDecoder& row, int16_t mask,
                  const std::shared_ptr<Dispatch>& control, const Variant& causal) {
  // For an empty code the filtered members end before the descriptor:
  // only Str_Sql is emptied, and the host shows no description.
  if (row.byMovement && f.textCode(causal).empty()) return f.sql("");
  f.descriptor(control, "CI03_DESCR");
  SqlText sql = f.text(512);
  sql.line(" SELECT (SELECT CI03_DESCR FROM FNCI03_CAUSALI(CI03_CODCAUS, ",
           f.host.companyCodeText(), ")) AS  CI03_DESCR ");
  sql.line(" FROM            CI03_CAUSALI          WITH(NOLOCK)        ");
  sql.line(" WHERE  CI03_CODCAUS = ", "'", inQuotes(f.textCode(causal)), "'");
  if (row.byMovement) {
    const std::string kinds = movementKinds(mask);
    if (!kinds.empty()) sql.append("   AND CI03_INDTIPOMOVDATI IN (", kinds, ")");
    if (row.automaticNumbers)
      sql.append(kinds.empty() ? "   AND CI03_CAUSALI.CI03_FLGNUMAUTOM = 1"
                               : " AND CI03_CAUSALI.CI03_FLGNUMAUTOM = 1");
  }
  f.sql(sql);
}

}  // namespace

void registerCausalCodes(Builder& b) {
  b.rows(kCausalDecoders,
         form(member([](Frame& f, const CausalDecoder& row,
                        const std::shared_ptr<Dispatch>& TextEdit, const Variant& CodiceCausale) {
                causalDecode(f, row, 0, TextEdit, CodiceCausale);
              }),
              {arg("TextEdit"), arg("CodiceCausale")})
             .only([](const CausalDecoder& row) { return !row.byMovement; }),
         form(member(causalDecode),
              {arg("fintMaskTipoMovimentazione"), arg("TextEdit"), arg("CodiceCausale")})
             .only([](const CausalDecoder& row) { return row.byMovement; }));
  // No movement kind selected checks the code alone; a mask adds the kinds.
  for (const char* name :
       {"CausalePerTipoMovimentazione", "CausalePerTipoMovimentazioneANumerazioneAutomatica"})
    b.examples(name, {{Variant(int16_t{0}), Variant::nothing(), Variant("C01")},
                      {Variant(int16_t{5}), Variant::nothing(), Variant("C01")}});
}

}  // namespace brelvane::decode

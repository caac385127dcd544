// Decoders over tables with composite keys: entities and their
// configurations, models, the saved movement filters of an allocation, VAT
// types and saved grid orderings. The filter and ordering checks name their
// key as the result column: the host only tests that a row exists.
#include "decode/families.h"
#include "decode/keyed.h"

namespace brelvane::decode {

namespace {

constexpr Param kTextEdit{"TextEdit", Kind::Control};

constexpr KeyedDecoder kEntityDecoders[] = {
    {.name = "Entità",
     .doc = "entity",
     .params = {kTextEdit,
                {"Ditta", Kind::Code},
                {"NumeroEntità", Kind::Code},
                {"CodiceEntità", Kind::TextCode}},
     .column = "CI02_DESCR",
     .lines = {{"SELECT  CI02_DESCR FROM CI02_ENTITA  "},
               {" WHERE   CI02_DITTA_CG18 = ", 1},
               {" AND     CI02_NUMENTITA_CI01 = ", 2},
               {" AND     CI02_CODENTITA = '", 3, "'"}}},
    {.name = "ConfigurazioneEntità",
     .doc = "entity configuration",
     .params = {kTextEdit, {"Ditta", Kind::Code}, {"NumeroEntità", Kind::Code}},
     .column = "CI01_DESCR",
     .lines = {{"SELECT  CI01_DESCR FROM CI01_CONFENTITA"},
               {" WHERE   CI01_DITTA_CG18 = ", 1},
               {" AND     CI01_NUMENTITA = ", 2}}},
    {.name = "Modelli",
     .doc = "model",
     .params = {kTextEdit, {"CodiceModello", Kind::TextCode}, {"TipoModello", Kind::Code}},
     .column = "CI04_DESCR",
     .lines = {{"SELECT CI04_DESCR FROM CI04_MODELLI"},
               {" WHERE CI04_CODMODELLO = '", 1, "'"},
               {" AND CI04_INDSTAPER = ", 2}}},
    // The saved filters of an allocation are stored under the allocation's
    // code as their object name, as the filter lookup lists them.
    {.name = "FiltriMovPerRibaltamenti",
     .doc = "saved movement filter of an allocation (no control)",
     .params = {{"flngDitta", Kind::Long},
                {"fstrRibaltamento", Kind::Text},
                {"fstrFiltro", Kind::Text}},
     .column = "CI53_SELEZIONE",
     .lines = {{"SELECT"},
               {"    CI53_SELEZIONE"},
               {"FROM"},
               {"    CI53_SELEZIONEPRS"},
               {"WHERE"},
               {"    CI53_DITTA_CG18 = ", 0},
               {"    AND CI53_UOBJECT = '", 1, "'"},
               {"    AND CI53_ID_FW06 = 0"},
               {"    AND CI53_ID_FW07 = 0"},
               {"    AND CI53_SELEZIONE = '", 2, "'"},
               {"GROUP BY"},
               {"    CI53_SELEZIONE"}}},
    // The description function takes the current company, quoted, as the
    // VAT-type lookup gives it. The code is compared after ORDER BY, which
    // the server refuses: the host's run of this query fails and the
    // control keeps its text. That text is what hosts get; keep it.
    {.name = "TipiIVA",
     .doc = "VAT type",
     .params = {kTextEdit,
                {"fintIndicatoreMonofaseRSM", Kind::Integer},
                {"fvarCodice", Kind::Code}},
     .column = "CG0T_DESCR",
     .lines = {{" SELECT                                            "},
               {"       ( SELECT  CG0T_DESCR FROM FNCG0T_TIPOIVA(CG0T_CODICE,'", kCompany,
                "'))   AS CG0T_DESCR   "},
               {" FROM            CG0T_TIPOIVA      WITH(NOLOCK)    "},
               {" WHERE           CG0T_INDTIPO = ", 1},
               {" ORDER BY        CG0T_CODICE = ", 2}}},
    // The orderings of record 1 and of the user's number, as the ordering
    // lookup offers them; the group is accepted and not used.
    {.name = "PersonalizzazioniEnhOrder",
     .doc = "saved grid ordering",
     .params = {{"TextEdit", Kind::ControlRef},
                {"flngCodiceDitta", Kind::Long},
                {"fstrUObject", Kind::Text},
                {"fstrGruppo", Kind::Text},
                {"fstrUtente", Kind::UserNumber},
                {"fstrCodicePersonalizzazione", Kind::Text}},
     .column = "FW17_ORDERNAME",
     .lines = {{"SELECT    FW17_ORDERNAME"},
               {"FROM     FW17_ORDERPRS"},
               {"WHERE    FW17_DITTA_CG18 = ", 1},
               {"    AND FW17_UOBJECT = '", 2, "'"},
               {"    AND FW17_ID_FW07 IN (1, ", 4, ")"},
               {"    AND FW17_ORDERNAME = '", 5, "'"},
               {"GROUP BY    FW17_ORDERNAME"}}},
};

}  // namespace

void registerEntities(Builder& b) {
  b.rows<kEntityDecoders, KeyedForm>();
}

}  // namespace brelvane::decode

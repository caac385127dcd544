#include "demo_connection.h"

#include <string_view>

#include "standins/standins.h"

namespace brelvane::cli {

namespace {

/// What one proposal procedure answers for one provider. The query holds
/// <DITTA> where the company code goes.
struct DemoProposal {
  std::string_view procedure;
  int16_t provider;
  std::string_view labels, query;
};

constexpr DemoProposal kDemoProposals[] = {
    {"SPCI_PROPCONTI_LOOKUPPROVIDER", 1, "Piano|Conto|Descrizione",
     " SELECT PC03_CODICE_PC01, PC03_CONTO, PC03_DESCR\r\n"
     " FROM   PC03_ANAGPDC WITH(NOLOCK)\r\n"
     " WHERE  PC03_CODICE_PC01 = 1\r\n"
     " ORDER BY PC03_CONTO\r\n"},
    {"SPCI_PROPCONTI_LOOKUPPROVIDER", 7, "Conto|Descrizione|Tipo conto",
     " SELECT PC03_CONTO, PC03_DESCR, PC03_TIPOCONTOCI\r\n"
     " FROM   PC03_ANAGPDC WITH(NOLOCK)\r\n"
     " WHERE  PC03_CODICE_PC01 = 1 AND PC03_ISANALITICO = 1\r\n"
     " ORDER BY PC03_CONTO\r\n"},
    {"SPCI_PROPCOGE_LOOKUPPROVIDER", 1, "Conto CoGe|Descrizione",
     " SELECT PC03_CONTO, PC03_DESCR\r\n"
     " FROM   PC03_ANAGPDC WITH(NOLOCK)\r\n"
     " WHERE  PC03_CODICE_PC01 = 2\r\n"
     " ORDER BY PC03_CONTO\r\n"},
    {"SPCI_PROPCOGE_LOOKUPPROVIDER", 7, "Conto CoGe|Descrizione|Segno",
     " SELECT PC03_CONTO, PC03_DESCR, PC03_INDSEGNO\r\n"
     " FROM   PC03_ANAGPDC WITH(NOLOCK)\r\n"
     " WHERE  PC03_CODICE_PC01 = 2 AND PC03_INDSEGNO <> 0\r\n"
     " ORDER BY PC03_CONTO\r\n"},
    {"SPCI_PROPCAUSALI_LOOKUPPROVIDER", 1, "Causale|Descrizione",
     " SELECT CI03_CODCAUS, (SELECT CI03_DESCR FROM FNCI03_CAUSALI(CI03_CODCAUS, <DITTA>)) AS "
     "CI03_DESCR\r\n"
     " FROM   CI03_CAUSALI WITH(NOLOCK)\r\n"
     " ORDER BY CI03_CODCAUS\r\n"},
    {"SPCI_PROPCAUSALI_LOOKUPPROVIDER", 7, "Causale|Descrizione|Tipo movimento",
     " SELECT CI03_CODCAUS, (SELECT CI03_DESCR FROM FNCI03_CAUSALI(CI03_CODCAUS, <DITTA>)) AS "
     "CI03_DESCR, CI03_INDTIPOMOVDATI\r\n"
     " FROM   CI03_CAUSALI WITH(NOLOCK)\r\n"
     " WHERE  CI03_INDTIPOMOVDATI IN (0, 1)\r\n"
     " ORDER BY CI03_CODCAUS\r\n"},
};

/// The company code, where the query has a place for it.
std::string withCompany(std::string_view query, const Variant& company) {
  std::string text(query);
  if (size_t at = text.find("<DITTA>"); at != std::string::npos)
    text.replace(at, std::string_view("<DITTA>").size(), toText(company));
  return text;
}

/// A command of the demo database: the recorded command runs (and logs) the
/// call, then the outputs come from the provider table.
class DemoCommand final : public Command {
 public:
  explicit DemoCommand(std::shared_ptr<Command> recorded) : recorded_(std::move(recorded)) {}
  void SetActiveConnection(const std::shared_ptr<Connection>& c) override {
    recorded_->SetActiveConnection(c);
  }
  void SetCommandType(int32_t type) override { recorded_->SetCommandType(type); }
  void SetCommandText(const std::string& text) override {
    recorded_->SetCommandText(text);
    text_ = text;
  }
  void SetPrepared(bool prepared) override { recorded_->SetPrepared(prepared); }
  void SetParameter(const std::string& name, const Variant& value) override {
    recorded_->SetParameter(name, value);
  }
  Variant GetParameter(const std::string& name) override {
    if (sameName(name, "@LABELS")) return labels_;
    if (sameName(name, "@QUERY")) return query_;
    return recorded_->GetParameter(name);
  }
  std::shared_ptr<Recordset> Execute(int32_t options) override {
    auto rows = recorded_->Execute(options);
    labels_ = query_ = Variant::null();
    int16_t provider = toInteger(recorded_->GetParameter("@PROVIDER"));
    for (const auto& p : kDemoProposals) {
      if (!sameName(p.procedure, text_) || p.provider != provider) continue;
      labels_ = Variant(p.labels);
      query_ = Variant(withCompany(p.query, recorded_->GetParameter("@DITTA")));
    }
    return rows;
  }

 private:
  std::shared_ptr<Command> recorded_;
  std::string text_;
  Variant labels_ = Variant::null(), query_ = Variant::null();
};

class DemoConnection final : public Connection {
 public:
  explicit DemoConnection(std::shared_ptr<Connection> recorded) : recorded_(std::move(recorded)) {}
  std::shared_ptr<Recordset> Execute(const std::string& sql, int32_t options) override {
    return recorded_->Execute(sql, options);
  }
  std::shared_ptr<Command> NewCommand() override {
    return std::make_shared<DemoCommand>(recorded_->NewCommand());
  }

 private:
  std::shared_ptr<Connection> recorded_;
};

}  // namespace

std::shared_ptr<Connection> makeDemoConnection(standins::Log& log, const std::string& name) {
  // The recorded connection knows the procedures by name; their outputs are
  // filled in by the demo commands.
  standins::Json procedures = standins::Json::object();
  for (const auto& p : kDemoProposals)
    procedures[std::string(p.procedure)] = standins::Json::object();
  auto recorded = standins::makeConnection(
      standins::Json{{"kind", "connection"}, {"procedures", procedures}}, name, log);
  auto demo = std::make_shared<DemoConnection>(std::move(recorded));
  log.names.add(demo, name);
  return demo;
}

}  // namespace brelvane::cli

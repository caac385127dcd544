// The database connection stand-in: scripted results, stored procedures and
// failures, with its commands logged under it.
#include "standins/standins.h"

namespace brelvane::standins {

namespace {

struct ResultRule {
  std::string match;
  std::vector<std::string> columns;
  std::vector<std::vector<Variant>> rows;
};

struct ConnectionScript {
  std::string name;
  Log& log;
  std::vector<ResultRule> results;
  std::map<std::string, std::map<std::string, Variant>> procedures;  // text -> outputs
  FailList fail;
  int commands = 0;
};

class Rows final : public Recordset {
 public:
  Rows() = default;
  explicit Rows(const ResultRule& rule) : columns_(rule.columns), rows_(rule.rows) {}
  bool Eof() override { return current_ >= rows_.size(); }
  Variant Field(int32_t index) override {
    if (index < 0 || static_cast<size_t>(index) >= columns_.size())
      throw AutomationError(3265, "Recordset", "Item cannot be found in the collection");
    return row().at(static_cast<size_t>(index));
  }
  Variant Field(const std::string& name) override {
    for (size_t i = 0; i < columns_.size(); ++i)
      if (sameName(columns_[i], name)) return row().at(i);
    throw AutomationError(3265, "Recordset", "Item cannot be found in the collection");
  }
  void MoveNext() override {
    if (Eof()) throw AutomationError(3021, "Recordset", "Either BOF or EOF is True");
    ++current_;
  }

 private:
  const std::vector<Variant>& row() const {
    if (current_ >= rows_.size())
      throw AutomationError(3021, "Recordset", "Either BOF or EOF is True");
    return rows_[current_];
  }
  std::vector<std::string> columns_;
  std::vector<std::vector<Variant>> rows_;
  size_t current_ = 0;
};

class ScriptedCommand final : public Command {
 public:
  ScriptedCommand(std::shared_ptr<ConnectionScript> s, int number)
      : s_(std::move(s)), number_(number) {}
  void SetActiveConnection(const std::shared_ptr<Connection>& c) override { bound_ = c != nullptr; }
  void SetCommandType(int32_t type) override { type_ = type; }
  void SetCommandText(const std::string& text) override { text_ = text; }
  void SetPrepared(bool prepared) override { prepared_ = prepared; }
  void SetParameter(const std::string& name, const Variant& value) override {
    for (auto& [n, v] : inputs_) {
      if (sameName(n, name)) {
        v = value;
        return;
      }
    }
    inputs_.emplace_back(name, value);
  }
  Variant GetParameter(const std::string& name) override {
    for (const auto& [n, v] : outputs_)
      if (sameName(n, name)) return v;
    for (const auto& [n, v] : inputs_)
      if (sameName(n, name)) return v;
    throw AutomationError(3265, s_->name, "Item cannot be found in the collection");
  }
  std::shared_ptr<Recordset> Execute(int32_t) override {
    outputs_.clear();  // a failed execution leaves no outputs behind
    Json params = Json::object();
    for (const auto& [n, v] : inputs_)
      params[n] = {{"type", std::string(typeName(v.type()))}, {"value", s_->log.value(v)}};
    auto proc = s_->procedures.find(text_);
    bool failed =
        !bound_ || s_->fail.fails("ExecuteCommand", text_, true) || proc == s_->procedures.end();
    s_->log.add(s_->name, "ExecuteCommand",
                {{"command", number_},
                 {"commandType", type_},
                 {"commandText", text_},
                 {"prepared", prepared_},
                 {"parameters", params}},
                failed);
    if (!bound_)
      throw AutomationError(3709, s_->name,
                            "The connection cannot be used to perform this operation");
    if (failed) throw failure(s_->name, "ExecuteCommand");
    outputs_.assign(proc->second.begin(), proc->second.end());
    return std::make_shared<Rows>();
  }

 private:
  std::shared_ptr<ConnectionScript> s_;
  int number_;
  bool bound_ = false;
  int32_t type_ = 0;
  std::string text_;
  bool prepared_ = false;
  std::vector<std::pair<std::string, Variant>> inputs_, outputs_;
};

class ScriptedConnection final : public Connection {
 public:
  explicit ScriptedConnection(std::shared_ptr<ConnectionScript> s) : s_(std::move(s)) {}
  std::shared_ptr<Recordset> Execute(const std::string& sql, int32_t options) override {
    bool failed = s_->fail.fails("Execute", sql, true);
    s_->log.add(s_->name, "Execute", {{"sql", sql}, {"options", options}}, failed);
    if (failed) throw failure(s_->name, "Execute");
    for (const auto& rule : s_->results)
      if (sql.find(rule.match) != std::string::npos) return std::make_shared<Rows>(rule);
    return std::make_shared<Rows>();
  }
  std::shared_ptr<Command> NewCommand() override {
    int number = ++s_->commands;
    bool failed = s_->fail.fails("NewCommand");
    s_->log.add(s_->name, "NewCommand", {{"command", number}}, failed);
    if (failed) throw failure(s_->name, "NewCommand");
    return std::make_shared<ScriptedCommand>(s_, number);
  }

 private:
  std::shared_ptr<ConnectionScript> s_;
};

[[noreturn]] void bad(const std::string& what, const Json& j) {
  throw ScenarioError(what + ": " + j.dump());
}

}  // namespace

std::shared_ptr<Connection> makeConnection(const Json& config, const std::string& name, Log& log) {
  if (!config.is_object()) bad("a connection is an object", config);
  auto s = std::shared_ptr<ConnectionScript>(new ConnectionScript{name, log, {}, {}, {}, 0});
  for (const auto& [k, v] : config.items()) {
    if (k == "kind") continue;
    if (k == "fail") {
      s->fail = FailList(v);
    } else if (k == "results") {
      if (!v.is_array()) bad("results is a list", v);
      for (const auto& r : v) {
        if (!r.is_object() || !r.contains("match") || !r["match"].is_string())
          bad("a result needs a match text", r);
        ResultRule rule{r["match"].get<std::string>(), {}, {}};
        if (r.contains("columns")) {
          if (!r["columns"].is_array()) bad("columns is a list of names", r);
          for (const auto& c : r["columns"]) {
            if (!c.is_string()) bad("columns is a list of names", r);
            rule.columns.push_back(c.get<std::string>());
          }
        }
        if (r.contains("rows")) {
          if (!r["rows"].is_array()) bad("rows is a list", r);
          for (const auto& row : r["rows"]) {
            if (!row.is_array() || row.size() != rule.columns.size())
              bad("a row has one value per column", row);
            std::vector<Variant> values;
            for (const auto& cell : row) values.push_back(fromJson(cell, log.names));
            rule.rows.push_back(std::move(values));
          }
        }
        s->results.push_back(std::move(rule));
      }
    } else if (k == "procedures") {
      if (!v.is_object()) bad("procedures is an object", v);
      for (const auto& [proc, outputs] : v.items()) {
        if (!outputs.is_object()) bad("a procedure lists its output values", outputs);
        auto& slot = s->procedures[proc];
        for (const auto& [param, value] : outputs.items()) slot[param] = fromJson(value, log.names);
      }
    } else {
      bad("unknown key \"" + k + "\" in a connection", config);
    }
  }
  auto connection = std::make_shared<ScriptedConnection>(std::move(s));
  log.names.add(connection, name);
  return connection;
}

}  // namespace brelvane::standins

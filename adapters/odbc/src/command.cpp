// Commands: a statement run by text or a stored procedure called by name,
// with parameters addressed by name.
//
// For a stored procedure the catalogue is asked, once per command and the
// first time a parameter is used, what the name is (SQLProcedures, or on
// PostgreSQL the server's own catalogue) and what it takes
// (SQLProcedureColumns), so names, directions and types are the routine's
// own; a name matches ignoring case and a leading "@", which some databases
// write and others do not. When the driver knows no parameters, those set
// become inputs in the order they were first set.
//
// A function is called with the ODBC call escape. A procedure is called
// with CALL: on PostgreSQL the escape reaches functions only, and a
// procedure's INOUT parameters come back as the CALL's outputs.
#include <algorithm>

#include "objects.h"

namespace brelvane::odbc::detail {

namespace {

/// Text capacity, in characters, of an output parameter whose declared
/// size is `size`: drivers report unknown lengths as 0 or as a small
/// default, so short declarations get room to spare.
size_t outputCapacity(SQLULEN size) {
  constexpr SQLULEN kLargest = SQLULEN{1} << 20;
  if (size == 0 || size > kLargest) return size_t{1} << 16;
  return std::max<size_t>(size, 8000);
}

std::string_view bareName(std::string_view name) {
  return !name.empty() && name.front() == '@' ? name.substr(1) : name;
}

struct Parameter {
  std::string name;
  SQLSMALLINT direction = SQL_PARAM_INPUT;  ///< as SQLProcedureColumns reports it
  SQLSMALLINT sqlType = SQL_UNKNOWN_TYPE;   ///< unknown when declared by use
  SQLULEN size = 0;
  SQLSMALLINT digits = 0;
  Variant value;
  // What is bound for the execution under way.
  Kind kind = Kind::Text;
  FixedValue fixed{};
  WideText text;
  SQLLEN indicator = 0;

  bool returnsValue() const { return direction != SQL_PARAM_INPUT; }
};

using Parameters = std::vector<Parameter>;

/// What SQLGetInfo answers about the connection as text; "" when it fails.
std::string infoText(Link& link, SQLUSMALLINT what) {
  SQLWCHAR text[128];
  SQLSMALLINT bytes = 0;
  if (!SQL_SUCCEEDED(SQLGetInfoW(link.dbc, what, text, sizeof text, &bytes))) return "";
  return link.codec.utf8(
      text, std::min<size_t>(static_cast<size_t>(bytes) / sizeof(SQLWCHAR), std::size(text) - 1));
}

/// `name` between the driver's identifier quotes, those inside doubled.
std::string quoted(const std::string& name, const std::string& quote) {
  if (quote.empty() || quote == " ") return name;
  std::string out = quote;
  for (size_t from = 0;;) {
    size_t at = name.find(quote, from);
    out += name.substr(from, at - from);
    if (at == std::string::npos) break;
    out += quote + quote;
    from = at + quote.size();
  }
  return out + quote;
}

/// Reads the returned values into the parameters, once the statement is
/// finished.
void readOutputs(Parameters& parameters, TextCodec& codec) {
  for (auto& p : parameters) {
    if (!p.returnsValue()) continue;
    if (p.indicator == SQL_NULL_DATA) {
      p.value = Variant::null();
    } else if (p.kind != Kind::Text) {
      p.value = fromFixed(p.kind, p.fixed);
    } else {
      auto room = static_cast<SQLLEN>((p.text.size() - 1) * sizeof(SQLWCHAR));
      if (p.indicator == SQL_NO_TOTAL || p.indicator > room)
        raise(kDriverError, "SQLSTATE 01004: the value of output parameter " + p.name +
                                " is longer than " + std::to_string(p.text.size() - 1) +
                                " characters");
      p.value = codec.utf8(p.text.data(), static_cast<size_t>(p.indicator) / sizeof(SQLWCHAR));
    }
  }
}

class OdbcCommand final : public Command {
 public:
  void SetActiveConnection(const std::shared_ptr<Connection>& connection) override {
    std::shared_ptr<Link> link;
    if (connection) {
      auto odbc = std::dynamic_pointer_cast<OdbcConnectionImpl>(connection);
      if (!odbc)
        raise(err::kTypeMismatch, "the connection of a command must be an ODBC connection");
      link = odbc->link();
    }
    link_ = std::move(link);
    forget();
  }
  void SetCommandType(int32_t type) override {
    type_ = type;
    forget();
  }
  void SetCommandText(const std::string& text) override {
    text_ = text;
    forget();
  }
  void SetPrepared(bool prepared) override { prepared_ = prepared; }

  void SetParameter(const std::string& name, const Variant& value) override {
    find(name, true).value = value;
  }

  Variant GetParameter(const std::string& name) override {
    Parameter& p = find(name, false);
    if (p.returnsValue() && statement_ && statement_->pending()) statement_->finish();
    return p.value;
  }

  std::shared_ptr<Recordset> Execute(int32_t) override {
    requireConnection();
    deriveParameters();
    if (!statement_) {
      statement_ = std::make_shared<Statement>(link_);
      statement_->afterFinish = [parameters = parameters_, link = link_.get()] {
        readOutputs(*parameters, link->codec);
      };
    }
    statement_->reset();
    SQLHSTMT h = statement_->handle();
    statement_->check(SQLFreeStmt(h, SQL_RESET_PARAMS), "resetting the parameters");
    bool returns = false;
    for (size_t i = 0; i < parameters_->size(); ++i) {
      Parameter& p = (*parameters_)[i];
      returns = returns || p.direction == SQL_RETURN_VALUE;
      bind(h, static_cast<SQLUSMALLINT>(i + 1), p);
    }
    std::string call = callText(type_, text_, parameters_->size(), returns);
    if (!procedure_.empty()) {
      call = "CALL " + procedure_ + "(";
      for (size_t i = 0; i < parameters_->size(); ++i) call += i ? ", ?" : "?";
      call += ")";
    }
    SQLRETURN rc;
    if (prepared_) {
      if (preparedText_ != call) {
        preparedText_.clear();
        WideText wide = link_->codec.wide(call);
        statement_->check(SQLPrepareW(h, wide.data(), static_cast<SQLINTEGER>(wide.size())),
                          "preparing");
        preparedText_ = call;
      }
      rc = SQLExecute(h);
    } else {
      WideText wide = link_->codec.wide(call);
      rc = SQLExecDirectW(h, wide.data(), static_cast<SQLINTEGER>(wide.size()));
    }
    statement_->check(rc, "executing");
    statement_->executed();
    return std::make_shared<Rows>(statement_);
  }

 private:
  void requireConnection() const {
    if (!link_ || !link_->open)
      raise(kNoConnection,
            "The connection cannot be used to perform this operation. It is either closed or "
            "invalid in this context");
  }

  /// Drops what was learnt or prepared for an earlier connection, text or
  /// type; the values set so far are kept for the list asked for next.
  void forget() {
    derived_ = false;
    listed_ = false;
    procedure_.clear();
    preparedText_.clear();
    statement_.reset();
    parameters_ = std::make_shared<Parameters>(*parameters_);
  }

  /// A statement for a catalogue call, names taken as identifiers, not
  /// patterns: the "_" in procedure names is no wildcard, and case follows
  /// the database's rules for identifiers.
  std::shared_ptr<Statement> catalogue() {
    auto meta = std::make_shared<Statement>(link_);
    SQLSetStmtAttr(meta->handle(), SQL_ATTR_METADATA_ID, reinterpret_cast<SQLPOINTER>(SQL_TRUE), 0);
    meta->reset();
    return meta;
  }

  /// What a name reaches: the routine's schema and name as the catalogue
  /// lists them (empty when it lists none), and whether it is a procedure.
  struct Routine {
    std::string schema, name;
    bool procedure = false;
  };

  /// The routine as the driver lists it (SQLProcedures); the first one
  /// listed when several schemas hold the name. A type the driver does not
  /// know is taken as a function, which the call escape reaches on any driver.
  Routine listedRoutine(WideText schema, WideText name) {
    auto meta = catalogue();
    meta->check(SQLProceduresW(meta->handle(), nullptr, 0, schema.empty() ? nullptr : schema.data(),
                               static_cast<SQLSMALLINT>(schema.size()), name.data(),
                               static_cast<SQLSMALLINT>(name.size())),
                "looking up " + text_);
    meta->executed();
    Routine r;
    // Columns: 2 PROCEDURE_SCHEM, 3 PROCEDURE_NAME, 8 PROCEDURE_TYPE.
    if (Rows rows(meta); !rows.Eof()) {
      r.schema = concatText(rows.Field(1));
      r.name = concatText(rows.Field(2));
      r.name = r.name.substr(0, r.name.find(';'));  // some drivers add a version: "NAME;1"
      Variant type = rows.Field(7);
      r.procedure = !type.isNull() && toLong(type) == SQL_PT_PROCEDURE;
    }
    return r;
  }

  /// The routine as PostgreSQL's own catalogue says. Its driver cannot: it
  /// reports every routine as a function, and looks for a name without a
  /// schema in the current schema only, where the server searches its whole
  /// search path. The routine taken is the first one on that path.
  Routine serverRoutine(const std::string& schema, const std::string& name) {
    auto literal = [](const std::string& text) { return "lower(" + quoted(text, "'") + ")"; };
    std::string path = schema.empty() ? "pg_catalog.current_schemas(true)"
                                      : "ARRAY[" + literal(schema) + "]::name[]";
    std::string sql =
        "SELECT n.nspname, p.proname, (p.prokind = 'p')::int FROM pg_catalog.pg_proc p JOIN "
        "pg_catalog.pg_namespace n ON n.oid = p.pronamespace WHERE p.proname = " +
        literal(name) + " AND n.nspname = ANY (" + path + ") ORDER BY array_position(" + path +
        ", n.nspname) LIMIT 1";
    auto statement = std::make_shared<Statement>(link_);
    statement->reset();
    WideText wide = link_->codec.wide(sql);
    Routine r;
    // A server older than procedures (11) has no prokind: all are functions.
    if (!SQL_SUCCEEDED(
            SQLExecDirectW(statement->handle(), wide.data(), static_cast<SQLINTEGER>(wide.size()))))
      return r;
    statement->executed();
    if (Rows rows(statement); !rows.Eof())
      r = {toText(rows.Field(0)), toText(rows.Field(1)), toLong(rows.Field(2)) == 1};
    return r;
  }

  /// The parameters SQLProcedureColumns lists for `name`. A name without a
  /// schema may be found in several; the first routine listed is taken.
  Parameters listParameters(const std::string& schema, const std::string& name) {
    WideText wideSchema = link_->codec.wide(schema), wideName = link_->codec.wide(name);
    auto meta = catalogue();
    meta->check(SQLProcedureColumnsW(meta->handle(), nullptr, 0,
                                     wideSchema.empty() ? nullptr : wideSchema.data(),
                                     static_cast<SQLSMALLINT>(wideSchema.size()), wideName.data(),
                                     static_cast<SQLSMALLINT>(wideName.size()), nullptr, 0),
                "listing the parameters of " + text_);
    meta->executed();
    Parameters found;
    // Columns: 2 PROCEDURE_SCHEM, 3 PROCEDURE_NAME, 4 COLUMN_NAME, 5 COLUMN_TYPE,
    // 6 DATA_TYPE, 8 COLUMN_SIZE, 10 DECIMAL_DIGITS.
    std::string procedure;
    for (Rows rows(meta); !rows.Eof(); rows.MoveNext()) {
      std::string owner = concatText(rows.Field(1)) + "." + concatText(rows.Field(2));
      if (procedure.empty()) procedure = owner;
      if (owner != procedure) break;
      auto direction = static_cast<SQLSMALLINT>(toLong(rows.Field(4)));
      if (direction == SQL_RESULT_COL) continue;
      Parameter p;
      p.name = toText(rows.Field(3));
      p.direction = direction;
      p.sqlType = static_cast<SQLSMALLINT>(toLong(rows.Field(5)));
      Variant size = rows.Field(7), digits = rows.Field(9);
      p.size = size.isNull() ? 0 : static_cast<SQLULEN>(std::max(toLong(size), 0));
      p.digits = digits.isNull() ? 0 : static_cast<SQLSMALLINT>(toLong(digits));
      found.push_back(std::move(p));
    }
    return found;
  }

  void deriveParameters() {
    if (derived_ || type_ != ado::kCmdStoredProc) return;
    requireConnection();
    size_t dot = text_.rfind('.');
    std::string schema = dot == std::string::npos ? "" : text_.substr(0, dot);
    std::string name = dot == std::string::npos ? text_ : text_.substr(dot + 1);
    bool postgres = infoText(*link_, SQL_DBMS_NAME) == "PostgreSQL";
    Routine routine = postgres ? serverRoutine(schema, name)
                               : listedRoutine(link_->codec.wide(schema), link_->codec.wide(name));
    // The parameters of the routine found, or of the first one listed; where
    // the server itself finds none, another schema's routine is no guide.
    Parameters found;
    if (!postgres || !routine.name.empty())
      found = listParameters(routine.name.empty() ? schema : routine.schema, name);
    // The return value comes first, as the call escape expects.
    std::stable_partition(found.begin(), found.end(),
                          [](const Parameter& p) { return p.direction == SQL_RETURN_VALUE; });
    // Values set before the list was known carry over.
    for (auto& p : found)
      for (const auto& known : *parameters_)
        if (sameName(bareName(p.name), bareName(known.name))) p.value = known.value;
    listed_ = !found.empty();
    if (listed_) *parameters_ = std::move(found);
    if (routine.procedure) {
      // Called by the name the catalogue gave: the routine whose parameters
      // were bound, even where the search path finds a function of that name
      // too.
      std::string quote = infoText(*link_, SQL_IDENTIFIER_QUOTE_CHAR);
      procedure_ = (routine.schema.empty() ? "" : quoted(routine.schema, quote) + ".") +
                   quoted(routine.name, quote);
    }
    derived_ = true;
  }

  Parameter& find(const std::string& name, bool declare) {
    if (type_ == ado::kCmdStoredProc && link_) deriveParameters();
    for (auto& p : *parameters_)
      if (sameName(bareName(p.name), bareName(name))) return p;
    if (!declare || listed_)
      raise(kItemNotFound, "Item cannot be found in the collection: " + name);
    Parameter& p = parameters_->emplace_back();
    p.name = name;
    return p;
  }

  void bind(SQLHSTMT h, SQLUSMALLINT number, Parameter& p) {
    bool out = p.returnsValue();
    bool in = p.direction == SQL_PARAM_INPUT || p.direction == SQL_PARAM_INPUT_OUTPUT;
    bool null = in && (p.value.isNull() || p.value.isEmpty());
    // An input goes in the width of the value set; what comes back is read
    // as the driver declares it.
    if (out) {
      p.kind = kindOf(p.sqlType);
    } else {
      p.kind = null && p.sqlType != SQL_UNKNOWN_TYPE ? kindOf(p.sqlType) : kindOfValue(p.value);
    }
    SQLSMALLINT sqlType = p.sqlType != SQL_UNKNOWN_TYPE ? p.sqlType : infoOf(p.kind).sqlType;
    SQLSMALLINT io = p.direction == SQL_PARAM_INPUT_OUTPUT ? SQL_PARAM_INPUT_OUTPUT
                     : out                                 ? SQL_PARAM_OUTPUT
                                                           : SQL_PARAM_INPUT;
    p.indicator = null ? SQL_NULL_DATA : 0;
    SQLRETURN rc;
    if (p.kind == Kind::Text) {
      p.text = in && !null ? link_->codec.wide(toText(p.value)) : WideText();
      size_t length = p.text.size();
      if (!null) p.indicator = static_cast<SQLLEN>(length * sizeof(SQLWCHAR));
      if (out) p.text.resize(std::max(outputCapacity(p.size), length));
      p.text.push_back(0);
      SQLULEN columnSize = std::max<SQLULEN>({p.size, length, 1});
      rc = SQLBindParameter(h, number, io, SQL_C_WCHAR, sqlType, columnSize, 0, p.text.data(),
                            static_cast<SQLLEN>(p.text.size() * sizeof(SQLWCHAR)), &p.indicator);
    } else {
      p.fixed = in && !null ? toFixed(p.kind, p.value) : FixedValue{};
      rc = SQLBindParameter(h, number, io, infoOf(p.kind).cType, sqlType, p.size, p.digits,
                            &p.fixed, sizeof p.fixed, &p.indicator);
    }
    statement_->check(rc, "binding parameter " + p.name);
    // An INOUT sends its value; what comes back is known once the statement
    // is finished.
    if (out) p.value = Variant();
  }

  std::shared_ptr<Link> link_;
  int32_t type_ = ado::kCmdUnspecified;
  std::string text_;
  bool prepared_ = false;
  bool derived_ = false;   ///< the catalogue was asked what the name is and takes
  bool listed_ = false;    ///< and it knew the procedure's parameters
  std::string procedure_;  ///< a procedure's quoted name, called by CALL; "" for a function
  std::shared_ptr<Parameters> parameters_ = std::make_shared<Parameters>();
  std::shared_ptr<Statement> statement_;
  std::string preparedText_;
};

}  // namespace

std::shared_ptr<Command> OdbcConnectionImpl::NewCommand() {
  link_->requireOpen();
  return std::make_shared<OdbcCommand>();
}

}  // namespace brelvane::odbc::detail

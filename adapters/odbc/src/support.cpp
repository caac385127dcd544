#include "support.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cmath>
#include <limits>

namespace brelvane::odbc::detail {

namespace {

static_assert(sizeof(SQLWCHAR) == 2, "the driver manager's wide characters are UTF-16");
constexpr const char* kWideEncoding =
    std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";

/// Units of one piece of a long text: a text is read this much at a time.
constexpr size_t kPieceUnits = 4096;

iconv_t openCodec(const char* to, const char* from) {
  iconv_t cd = iconv_open(to, from);
  if (cd == reinterpret_cast<iconv_t>(-1))
    raise(err::kInvalidCall, std::string("no text conversion from ") + from + " to " + to);
  return cd;
}

}  // namespace

WideText TextCodec::wide(std::string_view utf8) {
  WideText out;
  if (utf8.empty()) return out;
  iconv(toWide_, nullptr, nullptr, nullptr, nullptr);
  out.resize(utf8.size() + 1);  // never more UTF-16 units than UTF-8 bytes
  char* src = const_cast<char*>(utf8.data());
  size_t left = utf8.size();
  char* dst = reinterpret_cast<char*>(out.data());
  size_t room = out.size() * sizeof(SQLWCHAR);
  if (iconv(toWide_, &src, &left, &dst, &room) == static_cast<size_t>(-1))
    raise(err::kInvalidCall, "a text sent to the driver is not valid UTF-8");
  out.resize(out.size() - room / sizeof(SQLWCHAR));
  return out;
}

TextCodec::TextCodec() : toWide_(openCodec(kWideEncoding, "UTF-8")) {}

TextCodec::~TextCodec() {
  iconv_close(toWide_);
}

// Every text field of every row passes here, so UTF-16 is decoded inline:
// through iconv the per-call set-up cost a tenth of the time of reading a
// result. Texts going to the driver are few and take iconv.
std::string TextCodec::utf8(const SQLWCHAR* text, size_t units) {
  std::string out;
  out.reserve(units + units / 2);
  for (size_t i = 0; i < units; ++i) {
    uint32_t c = text[i];
    if (c < 0x80) {
      out.push_back(static_cast<char>(c));
      continue;
    }
    if (c >= 0xD800 && c <= 0xDFFF) {
      // A surrogate pair, high then low, or the text is not UTF-16.
      if (c > 0xDBFF || i + 1 == units || text[i + 1] < 0xDC00 || text[i + 1] > 0xDFFF)
        raise(err::kInvalidCall, "a text from the driver is not valid Unicode");
      c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00);
    }
    if (c < 0x800) {
      out.push_back(static_cast<char>(0xC0 | (c >> 6)));
    } else if (c < 0x10000) {
      out.push_back(static_cast<char>(0xE0 | (c >> 12)));
      out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    } else {
      out.push_back(static_cast<char>(0xF0 | (c >> 18)));
      out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    }
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  }
  return out;
}

void raise(int32_t number, std::string description) {
  throw AutomationError(number, kSource, std::move(description));
}

Link::~Link() {
  close();
  if (env != SQL_NULL_HENV) SQLFreeHandle(SQL_HANDLE_ENV, env);
}

void Link::requireOpen() const {
  if (!open) raise(kObjectClosed, "Operation is not allowed when the object is closed");
}

void Link::close() {
  if (open) {
    SQLDisconnect(dbc);
    open = false;
  }
  if (dbc != SQL_NULL_HDBC) {
    SQLFreeHandle(SQL_HANDLE_DBC, dbc);
    dbc = SQL_NULL_HDBC;
  }
}

void Link::check(SQLRETURN rc, SQLSMALLINT handleType, SQLHANDLE handle, std::string_view what) {
  if (rc == SQL_SUCCESS || rc == SQL_SUCCESS_WITH_INFO || rc == SQL_NO_DATA) return;
  fail(handleType, handle, what);
}

void Link::fail(SQLSMALLINT handleType, SQLHANDLE handle, std::string_view what) {
  std::string description;
  SQLWCHAR state[6];
  SQLWCHAR message[1024];
  SQLINTEGER native = 0;
  SQLSMALLINT length = 0;
  for (SQLSMALLINT record = 1;; ++record) {
    SQLRETURN rc = SQLGetDiagRecW(handleType, handle, record, state, &native, message,
                                  static_cast<SQLSMALLINT>(std::size(message)), &length);
    if (rc != SQL_SUCCESS && rc != SQL_SUCCESS_WITH_INFO) break;
    size_t units = std::min<size_t>(static_cast<size_t>(std::max<SQLSMALLINT>(length, 0)),
                                    std::size(message) - 1);
    if (!description.empty()) description += "\n";
    description += "SQLSTATE " + codec.utf8(state, 5) + ": " + codec.utf8(message, units);
  }
  if (description.empty()) description = "SQLSTATE HY000: " + std::string(what) + " failed";
  // Drivers echo parts of the connection string in their messages (a driver
  // manager that misreads an unclosed brace quotes the rest of the string):
  // this is where every driver's words become an error, so the one place
  // to mask a password.
  for (const auto& secret : secrets)
    for (size_t at = 0; (at = description.find(secret, at)) != std::string::npos; at += 3)
      description.replace(at, secret.size(), "***");
  raise(kDriverError, std::move(description));
}

// Keys are looked for after every ";" and "{", so that a key inside another
// key's unclosed braces, which a driver manager may echo, is found too.
std::vector<std::string> passwordsOf(std::string_view text) {
  std::vector<std::string> found;
  for (size_t i = 0; i < text.size(); ++i) {
    if (i > 0 && text[i - 1] != ';' && text[i - 1] != '{') continue;
    size_t eq = text.find('=', i);
    if (eq == std::string_view::npos) break;
    std::string_view key = text.substr(i, eq - i);
    key.remove_prefix(std::min(key.find_first_not_of(' '), key.size()));
    key.remove_suffix(key.size() - std::min(key.find_last_not_of(' ') + 1, key.size()));
    if (!sameName(key, "PWD") && !sameName(key, "Password")) continue;
    size_t from = std::min(text.find_first_not_of(' ', eq + 1), text.size());
    std::string value;
    if (from < text.size() && text[from] == '{') {
      // Braced: up to the closing brace, "}}" standing for one.
      for (size_t j = from + 1; j < text.size(); ++j) {
        if (text[j] == '}' && (j + 1 == text.size() || text[++j] != '}')) break;
        value += text[j];
      }
    } else {
      value = text.substr(from, text.find_first_of(";}", from) - from);
    }
    if (!value.empty()) found.push_back(std::move(value));
  }
  return found;
}

Statement::Statement(std::shared_ptr<Link> link) : link_(std::move(link)) {
  link_->requireOpen();
  link_->check(SQLAllocHandle(SQL_HANDLE_STMT, link_->dbc, &handle_), SQL_HANDLE_DBC, link_->dbc,
               "allocating a statement");
}

Statement::~Statement() {
  // Closing the connection has freed the statement already.
  if (link_->open) SQLFreeHandle(SQL_HANDLE_STMT, handle_);
}

SQLHSTMT Statement::handle() const {
  link_->requireOpen();
  return handle_;
}

void Statement::reset() {
  SQLHSTMT h = handle();
  if (pending_) SQLFreeStmt(h, SQL_CLOSE);
  pending_ = false;
  ++generation_;
  // A recordset of an earlier execution may have bound its buffers and
  // fetched in blocks: none of that may reach into this one.
  SQLFreeStmt(h, SQL_UNBIND);
  SQLSetStmtAttr(h, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(SQLULEN{1}), 0);
  SQLSetStmtAttr(h, SQL_ATTR_ROWS_FETCHED_PTR, nullptr, 0);
}

void Statement::finish() {
  SQLHSTMT h = handle();
  if (!pending_) return;
  pending_ = false;
  ++generation_;
  for (;;) {
    SQLRETURN rc = SQLMoreResults(h);
    if (rc == SQL_NO_DATA) break;
    check(rc, "reading the remaining results");
  }
  SQLFreeStmt(h, SQL_CLOSE);
  SQLFreeStmt(h, SQL_UNBIND);
  if (afterFinish) afterFinish();
}

Kind kindOf(SQLSMALLINT sqlType) {
  switch (sqlType) {
    case SQL_BIT:
      return Kind::Boolean;
    case SQL_TINYINT:
    case SQL_SMALLINT:
      return Kind::Short;
    case SQL_INTEGER:
      return Kind::Long;
    case SQL_BIGINT:
      return Kind::BigInt;
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE:
    case SQL_DECIMAL:
    case SQL_NUMERIC:
      return Kind::Double;
    case SQL_TYPE_DATE:
    case SQL_TYPE_TIMESTAMP:
    case SQL_DATE:
    case SQL_TIMESTAMP:
      return Kind::Timestamp;
    case SQL_TYPE_TIME:
    case SQL_TIME:
      return Kind::Time;
    default:
      return Kind::Text;
  }
}

const KindInfo& infoOf(Kind kind) {
  // In the order of Kind.
  static constexpr KindInfo kKinds[] = {
      {SQL_C_BIT, SQL_BIT, sizeof(unsigned char)},
      {SQL_C_SSHORT, SQL_SMALLINT, sizeof(SQLSMALLINT)},
      {SQL_C_SLONG, SQL_INTEGER, sizeof(SQLINTEGER)},
      {SQL_C_SBIGINT, SQL_BIGINT, sizeof(SQLBIGINT)},
      {SQL_C_DOUBLE, SQL_DOUBLE, sizeof(double)},
      {SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, sizeof(SQL_TIMESTAMP_STRUCT)},
      {SQL_C_TYPE_TIME, SQL_TYPE_TIME, sizeof(SQL_TIME_STRUCT)},
      {SQL_C_WCHAR, SQL_WVARCHAR, 0},
  };
  static_assert(std::size(kKinds) == static_cast<size_t>(Kind::Text) + 1);
  return kKinds[static_cast<size_t>(kind)];
}

Variant fromFixed(Kind kind, const FixedValue& v) {
  switch (kind) {
    case Kind::Boolean:
      return Variant(v.boolean != 0);
    case Kind::Short:
      return Variant(static_cast<int16_t>(v.shortValue));
    case Kind::Long:
      return Variant(static_cast<int32_t>(v.longValue));
    case Kind::BigInt:
      // The component has no 64-bit kind: a Long while it fits, else a Double.
      if (v.bigValue >= std::numeric_limits<int32_t>::min() &&
          v.bigValue <= std::numeric_limits<int32_t>::max())
        return Variant(static_cast<int32_t>(v.bigValue));
      return Variant(static_cast<double>(v.bigValue));
    case Kind::Double:
      return Variant(v.doubleValue);
    case Kind::Timestamp: {
      const auto& t = v.timestamp;
      return Variant(Date{t.year, t.month, t.day, t.hour, t.minute, t.second});
    }
    case Kind::Time:
      // A time of day alone is a date on the automation day zero.
      return Variant(Date{1899, 12, 30, v.time.hour, v.time.minute, v.time.second});
    case Kind::Text:
      break;
  }
  raise(err::kInvalidCall, "a text is not a fixed-size value");
}

FixedValue toFixed(Kind kind, const Variant& value) {
  FixedValue v{};
  switch (kind) {
    case Kind::Boolean:
      v.boolean = toBool(value) ? 1 : 0;
      break;
    case Kind::Short:
      v.shortValue = toInteger(value);
      break;
    case Kind::Long:
      v.longValue = toLong(value);
      break;
    case Kind::BigInt: {
      double d = std::nearbyint(toDouble(value));
      if (!(std::fabs(d) < 9.2e18)) throw AutomationError::of(err::kOverflow);
      v.bigValue = static_cast<SQLBIGINT>(d);
      break;
    }
    case Kind::Double:
      v.doubleValue = toDouble(value);
      break;
    case Kind::Timestamp: {
      Date d = toDate(value);
      v.timestamp = SQL_TIMESTAMP_STRUCT{static_cast<SQLSMALLINT>(d.year),
                                         static_cast<SQLUSMALLINT>(d.month),
                                         static_cast<SQLUSMALLINT>(d.day),
                                         static_cast<SQLUSMALLINT>(d.hour),
                                         static_cast<SQLUSMALLINT>(d.minute),
                                         static_cast<SQLUSMALLINT>(d.second),
                                         0};
      break;
    }
    case Kind::Time: {
      Date d = toDate(value);
      v.time =
          SQL_TIME_STRUCT{static_cast<SQLUSMALLINT>(d.hour), static_cast<SQLUSMALLINT>(d.minute),
                          static_cast<SQLUSMALLINT>(d.second)};
      break;
    }
    case Kind::Text:
      raise(err::kInvalidCall, "a text is not a fixed-size value");
  }
  return v;
}

Kind kindOfValue(const Variant& value) {
  switch (value.type()) {
    case VarType::Boolean:
      return Kind::Boolean;
    case VarType::Integer:
      return Kind::Short;
    case VarType::Long:
      return Kind::Long;
    case VarType::Double:
      return Kind::Double;
    case VarType::Date:
      return Kind::Timestamp;
    default:
      return Kind::Text;
  }
}

Variant readColumn(Statement& statement, SQLUSMALLINT column, Kind kind) {
  SQLHSTMT h = statement.handle();
  SQLLEN indicator = 0;
  if (kind != Kind::Text) {
    FixedValue value{};
    statement.check(SQLGetData(h, column, infoOf(kind).cType, &value, sizeof value, &indicator),
                    "reading a field");
    if (indicator == SQL_NULL_DATA) return Variant::null();
    return fromFixed(kind, value);
  }
  // A text arrives in pieces: each call fills the buffer (less the
  // terminator) while more is left, and the last call says how much it gave.
  SQLWCHAR piece[kPieceUnits];
  WideText text;
  for (;;) {
    SQLRETURN rc = SQLGetData(h, column, SQL_C_WCHAR, piece, sizeof piece, &indicator);
    if (rc == SQL_NO_DATA) break;
    statement.check(rc, "reading a field");
    if (indicator == SQL_NULL_DATA) return Variant::null();
    bool more = indicator == SQL_NO_TOTAL ||
                indicator > static_cast<SQLLEN>(sizeof piece - sizeof(SQLWCHAR));
    size_t units = more ? kPieceUnits - 1 : static_cast<size_t>(indicator) / sizeof(SQLWCHAR);
    text.append(piece, units);
    if (!more) break;
  }
  return Variant(statement.link().codec.utf8(text));
}

}  // namespace brelvane::odbc::detail

#pragma once
// What the connection, its recordsets and its commands share: the handles,
// the turning of diagnostics into errors, text conversion and value reading.

#include <iconv.h>
#include <sql.h>
#include <sqlext.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "brelvane/automation/error.h"
#include "brelvane/automation/variant.h"
#include "brelvane/odbc/odbc.h"

namespace brelvane::odbc::detail {

/// Texts as the driver manager's wide calls take them (UTF-16).
using WideText = std::basic_string<SQLWCHAR>;

/// UTF-8 to UTF-16 and back. Texts cross the driver manager in UTF-16 so
/// that neither the driver's nor the process's code page matters.
class TextCodec {
 public:
  TextCodec();
  ~TextCodec();
  TextCodec(const TextCodec&) = delete;
  TextCodec& operator=(const TextCodec&) = delete;
  WideText wide(std::string_view utf8);
  std::string utf8(const SQLWCHAR* text, size_t units);
  std::string utf8(const WideText& text) { return utf8(text.data(), text.size()); }

 private:
  iconv_t toWide_;
};

[[noreturn]] void raise(int32_t number, std::string description);

/// The environment and connection handles. The connection object, its
/// commands and recordsets share one Link, so the handles live as long as
/// the last of them.
struct Link {
  SQLHENV env = SQL_NULL_HENV;
  SQLHDBC dbc = SQL_NULL_HDBC;
  bool open = false;
  TextCodec codec;
  /// Texts no error may show: the passwords of the connection string.
  std::vector<std::string> secrets;

  Link() = default;
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;
  ~Link();
  /// Raises kObjectClosed once the connection is closed.
  void requireOpen() const;
  /// Disconnects; the driver manager frees the statements with it.
  void close();
  /// Raises kDriverError with the handle's diagnostics when `rc` failed,
  /// every secret in them masked.
  void check(SQLRETURN rc, SQLSMALLINT handleType, SQLHANDLE handle, std::string_view what);
  [[noreturn]] void fail(SQLSMALLINT handleType, SQLHANDLE handle, std::string_view what);
};

/// A statement handle of a link. Each execution starts a new generation;
/// a recordset made on an earlier one is closed.
class Statement {
 public:
  explicit Statement(std::shared_ptr<Link> link);
  ~Statement();
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  SQLHSTMT handle() const;  ///< raises kObjectClosed once the connection is closed
  Link& link() { return *link_; }
  void check(SQLRETURN rc, std::string_view what) {
    link_->check(rc, SQL_HANDLE_STMT, handle_, what);
  }

  /// Starts a new execution: drops what is left of the previous one.
  void reset();
  /// Reads past every result still pending, closes the cursor and runs
  /// `afterFinish` (output parameters are complete only then).
  void finish();
  bool pending() const { return pending_; }
  uint64_t generation() const { return generation_; }
  void executed() { pending_ = true; }
  std::function<void()> afterFinish;

 private:
  std::shared_ptr<Link> link_;
  SQLHSTMT handle_ = SQL_NULL_HSTMT;
  bool pending_ = false;
  uint64_t generation_ = 0;
};

/// The values of the password keys (PWD, Password) of a connection string.
std::vector<std::string> passwordsOf(std::string_view connection);

/// How a value of an SQL type is read, and the Variant kind it becomes.
enum class Kind { Boolean, Short, Long, BigInt, Double, Timestamp, Time, Text };
Kind kindOf(SQLSMALLINT sqlType);
/// How values of a kind are exchanged with the driver.
struct KindInfo {
  SQLSMALLINT cType;    ///< the C type it is read into or bound from
  SQLSMALLINT sqlType;  ///< the SQL type it is sent as when nothing else says
  size_t size;          ///< bytes of one value (0: a text, of any length)
};
const KindInfo& infoOf(Kind kind);

/// A buffer for a fixed-size value of any kind but Text.
union FixedValue {
  unsigned char boolean;
  SQLSMALLINT shortValue;
  SQLINTEGER longValue;
  SQLBIGINT bigValue;
  double doubleValue;
  SQL_TIMESTAMP_STRUCT timestamp;
  SQL_TIME_STRUCT time;
};

/// The Variant of a fixed-size value read as `kind`.
Variant fromFixed(Kind kind, const FixedValue& value);
/// `value` converted to `kind` (automation conversions; 13 when impossible).
FixedValue toFixed(Kind kind, const Variant& value);
/// The kind a Variant is bound as when nothing else says.
Kind kindOfValue(const Variant& value);

/// Column `column` (1-based) of the current row; texts are read in pieces.
Variant readColumn(Statement& statement, SQLUSMALLINT column, Kind kind);

}  // namespace brelvane::odbc::detail

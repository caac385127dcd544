#include "objects.h"

namespace brelvane::odbc {

namespace detail {

std::string callText(int32_t type, const std::string& text, size_t placeholders, bool returns) {
  if (type != ado::kCmdStoredProc) return text;
  std::string call = returns ? "{? = call " : "{call ";
  call += text;
  size_t arguments = placeholders - (returns ? 1 : 0);
  if (arguments > 0) {
    call += "(";
    for (size_t i = 0; i < arguments; ++i) call += i ? ", ?" : "?";
    call += ")";
  }
  return call + "}";
}

std::shared_ptr<Recordset> OdbcConnectionImpl::Execute(const std::string& sql, int32_t options) {
  link_->requireOpen();
  auto statement = std::make_shared<Statement>(link_);
  // Options carry the command type; 4 runs a stored procedure by name.
  WideText text = link_->codec.wide(callText(options & 0xFF, sql, 0, false));
  statement->reset();
  statement->check(
      SQLExecDirectW(statement->handle(), text.data(), static_cast<SQLINTEGER>(text.size())),
      "executing");
  statement->executed();
  return std::make_shared<Rows>(std::move(statement));
}

}  // namespace detail

std::shared_ptr<OdbcConnection> connect(const std::string& connection,
                                        const ConnectOptions& options) {
  auto link = std::make_shared<detail::Link>();
  auto ok = [](SQLRETURN rc) { return rc == SQL_SUCCESS || rc == SQL_SUCCESS_WITH_INFO; };
  if (!ok(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &link->env)))
    detail::raise(kDriverError, "SQLSTATE HY001: cannot allocate an ODBC environment");
  link->check(SQLSetEnvAttr(link->env, SQL_ATTR_ODBC_VERSION,
                            reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0),
              SQL_HANDLE_ENV, link->env, "choosing ODBC 3");
  link->check(SQLAllocHandle(SQL_HANDLE_DBC, link->env, &link->dbc), SQL_HANDLE_ENV, link->env,
              "allocating a connection");
  if (options.loginTimeoutSeconds > 0)
    link->check(
        SQLSetConnectAttr(
            link->dbc, SQL_ATTR_LOGIN_TIMEOUT,
            reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(options.loginTimeoutSeconds)), 0),
        SQL_HANDLE_DBC, link->dbc, "setting the login timeout");
  // A bare name is a DSN.
  std::string text = connection.find('=') == std::string::npos ? "DSN=" + connection : connection;
  link->secrets = detail::passwordsOf(text);
  detail::WideText wide = link->codec.wide(text);
  SQLRETURN rc =
      SQLDriverConnectW(link->dbc, nullptr, wide.data(), static_cast<SQLSMALLINT>(wide.size()),
                        nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT);
  if (!ok(rc)) link->fail(SQL_HANDLE_DBC, link->dbc, "connecting");
  link->open = true;
  return std::make_shared<detail::OdbcConnectionImpl>(std::move(link));
}

}  // namespace brelvane::odbc

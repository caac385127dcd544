#pragma once
// The data-access interface over ODBC: a connection opened from a connection
// string or a DSN, forward-only recordsets, and stored-procedure commands
// whose parameters are addressed by name.
//
// Every error raised by the driver manager or the driver becomes an
// AutomationError numbered kDriverError, with source "ODBC" and a
// description of the form "SQLSTATE 42P01: <driver message>" (one line per
// diagnostic record the driver left).

#include <cstdint>
#include <memory>
#include <string>

#include "brelvane/host/ado.h"

namespace brelvane::odbc {

/// The source of every error the adapter raises.
inline constexpr const char* kSource = "ODBC";

/// Error numbers of the adapter.
inline constexpr int32_t kDriverError = -2147467259;  ///< the driver reported a failure
inline constexpr int32_t kItemNotFound = 3265;        ///< no field or parameter of that name
inline constexpr int32_t kNoCurrentRow = 3021;        ///< at the end of the rows
inline constexpr int32_t kObjectClosed = 3704;        ///< connection or recordset closed
inline constexpr int32_t kNoConnection = 3709;        ///< command without an open connection

/// An open ODBC connection. It is closed when the last reference to it goes
/// (commands and recordsets keep it alive), or earlier by Close().
class OdbcConnection : public Connection {
 public:
  /// Disconnects. Recordsets and commands made on this connection raise
  /// kObjectClosed from then on, and so does the connection itself.
  virtual void Close() = 0;
  virtual bool IsOpen() const = 0;
};

struct ConnectOptions {
  /// Seconds allowed for logging in; 0 waits as long as the driver does.
  int32_t loginTimeoutSeconds = 15;
};

/// Opens a connection. `connection` is either a full connection string
/// ("Driver=...;Server=...;Database=...;Uid=...;Pwd=...") or the bare name
/// of a DSN (a text without "="). Raises kDriverError when the driver
/// manager or the driver refuses.
std::shared_ptr<OdbcConnection> connect(const std::string& connection,
                                        const ConnectOptions& options = {});

}  // namespace brelvane::odbc

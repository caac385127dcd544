#pragma once
// The subset of the database access objects the component uses.

#include <cstdint>
#include <memory>
#include <string>

#include "brelvane/automation/dispatch.h"
#include "brelvane/export.h"

namespace brelvane {

namespace ado {
inline constexpr int32_t kCmdUnspecified = -1;
inline constexpr int32_t kCmdText = 1;
inline constexpr int32_t kCmdStoredProc = 4;
}  // namespace ado

/// A forward-only result set.
class BRELVANE_API Recordset : public Dispatch {
 public:
  /// True when there is no current row (at end of the rows).
  virtual bool Eof() = 0;
  /// A field of the current row by 0-based index or by name.
  virtual Variant Field(int32_t index) = 0;
  virtual Variant Field(const std::string& name) = 0;
  virtual void MoveNext() = 0;
  virtual void Close() {}
};

class Connection;

/// A command, typically a prepared stored-procedure call.
class BRELVANE_API Command : public Dispatch {
 public:
  virtual void SetActiveConnection(const std::shared_ptr<Connection>& connection) = 0;
  virtual void SetCommandType(int32_t type) = 0;
  virtual void SetCommandText(const std::string& text) = 0;
  virtual void SetPrepared(bool prepared) = 0;
  /// Parameters by name; the list is derived from the procedure on first use.
  virtual void SetParameter(const std::string& name, const Variant& value) = 0;
  virtual Variant GetParameter(const std::string& name) = 0;
  virtual std::shared_ptr<Recordset> Execute(int32_t options) = 0;
};

/// An open database connection (`Connessione`).
class BRELVANE_API Connection : public Dispatch {
 public:
  virtual std::shared_ptr<Recordset> Execute(const std::string& sql, int32_t options) = 0;
  /// A new command, not yet bound to any connection.
  virtual std::shared_ptr<Command> NewCommand() = 0;
};

}  // namespace brelvane

#pragma once
// What the component requires of the host framework. Every object is
// obtained afresh at each use, as the host expects; none is cached.

#include <cstdint>
#include <memory>
#include <string>

#include "brelvane/automation/dispatch.h"
#include "brelvane/export.h"

namespace brelvane {

/// The host's message catalogue and SQL text preparation.
class BRELVANE_API MessageService : public Dispatch {
 public:
  /// The localised text of a message id; `args` are substitution arguments
  /// (the component always passes an empty array).
  virtual std::string GetMessageText(int32_t id, const SafeArray& args) = 0;
  /// The text made fit to stand between single quotes in SQL.
  virtual std::string PrepareSqlText(const std::string& text) = 0;
};

/// The current company's settings object.
class BRELVANE_API CompanySettings : public Dispatch {
 public:
  /// The company mode setting; 2 switches on account statuses and the
  /// project layout of the causal codes.
  virtual Variant CompanyMode() = 0;
};

/// The host's current company.
class BRELVANE_API HostCompany : public Dispatch {
 public:
  virtual std::shared_ptr<CompanySettings> Settings() = 0;
  virtual Variant Code() = 0;          ///< the company code (ditta)
  virtual Variant LanguageCode() = 0;  ///< the current language code, e.g. "ITA"
};

/// The host context: message service and current company.
class BRELVANE_API HostContext : public Dispatch {
 public:
  virtual std::shared_ptr<MessageService> Messages() = 0;
  virtual std::shared_ptr<HostCompany> Company() = 0;
};

/// The host framework interface object (`ActiveInterface`).
class BRELVANE_API HostInterface : public Dispatch {
 public:
  virtual std::shared_ptr<HostContext> Context() = 0;
  /// The module's installation setting, reached through the host's user
  /// context and environment; 2 selects the PS launcher.
  virtual Variant InstallationSetting() = 0;
};

}  // namespace brelvane

#pragma once
// The host library's utility object: each class instance creates its own.

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "brelvane/automation/dispatch.h"
#include "brelvane/export.h"
#include "brelvane/host/ado.h"
#include "brelvane/host/host.h"

namespace brelvane {

/// The ProgID under which the host library's utility object is created.
inline constexpr std::string_view kUtilityProgId = "Kestrivon.UtilityObject";

class BRELVANE_API UtilityObject : public Dispatch {
 public:
  virtual void Initialise() = 0;
  virtual void Release() = 0;
  /// Display text of a value ("" for Null, Empty or Missing).
  virtual std::string ValueToText(const Variant& value) = 0;
  /// `value`, or `fallback` when it is Null or Empty.
  virtual Variant ValueOrDefault(const Variant& value, const Variant& fallback) = 0;
  /// A SQL literal for the value (NULL, a number, a quoted text, a date).
  virtual std::string ValueForSql(const Variant& value) = 0;
  /// A date literal for the company database ('YYYYMMDD').
  virtual std::string SqlDateLiteral(const Variant& value) = 0;
  /// Hands the host interface and connection to the utility object.
  virtual std::pair<std::string, std::string> BindContext(
      const std::shared_ptr<HostInterface>& host,
      const std::shared_ptr<Connection>& connection) = 0;
  // Select-list expressions of the provider tables' descriptions.
  virtual std::string ProviderAccountColumn() = 0;
  virtual std::string ProviderCogeColumn() = 0;
  virtual std::string ProviderCausalColumn() = 0;
  virtual std::string HeaderFieldColumn() = 0;
};

/// The reference utility object: plain, locale-free renderings.
/// ValueToText: "" for Null/Empty/Missing, numbers in decimal, True/False,
/// dates as YYYY-MM-DD. ValueForSql: NULL, decimal, 1/0, 'text' with inner
/// apostrophes doubled, dates as SqlDateLiteral. SqlDateLiteral: a Date or a
/// "YYYY-MM-DD" text as 'YYYYMMDD'; anything else raises 13.
class BRELVANE_API ReferenceUtility : public UtilityObject {
 public:
  void Initialise() override {}
  void Release() override {}
  std::string ValueToText(const Variant& value) override;
  Variant ValueOrDefault(const Variant& value, const Variant& fallback) override;
  std::string ValueForSql(const Variant& value) override;
  std::string SqlDateLiteral(const Variant& value) override;
  std::pair<std::string, std::string> BindContext(const std::shared_ptr<HostInterface>&,
                                                  const std::shared_ptr<Connection>&) override {
    return {};
  }
  std::string ProviderAccountColumn() override { return "CI07_DESCRIZIONE"; }
  std::string ProviderCogeColumn() override { return "CI1A_DESCRIZIONE"; }
  std::string ProviderCausalColumn() override { return "CI39_DESCRIZIONE"; }
  std::string HeaderFieldColumn() override { return "CI48_DESCRIZIONE"; }
};

}  // namespace brelvane

#pragma once
// Creation of automation objects by ProgID.

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "brelvane/automation/dispatch.h"
#include "brelvane/export.h"

namespace brelvane {

/// Creates objects by ProgID (matched case-insensitively). The component's
/// classes, the host library's utility object and the sibling launchers are
/// all registered here; an object created by the factory may keep a
/// reference to it, so the factory must outlive the objects it creates.
class BRELVANE_API ObjectFactory {
 public:
  using Creator = std::function<std::shared_ptr<Dispatch>(ObjectFactory&)>;

  /// Registers (or replaces) the creator of a ProgID; `info` describes the
  /// class for listings when it has a registration table.
  void add(std::string progId, Creator creator, const ClassInfo* info = nullptr);
  bool has(std::string_view progId) const;
  /// Raises 429 for a ProgID that neither a creator nor the fallback knows;
  /// a creator's own error passes through.
  std::shared_ptr<Dispatch> create(std::string_view progId);

  /// Where objects of other components come from: asked for every ProgID
  /// without a creator of its own; null means it knows none either. A host
  /// platform with its own object registry (COM, say) installs one.
  using Fallback = std::function<std::shared_ptr<Dispatch>(std::string_view progId)>;
  void setFallback(Fallback fallback) { fallback_ = std::move(fallback); }

  /// Hardened composition, for every object created from then on: each
  /// value that reaches a composed SQL text is escaped or checked for the
  /// place it takes there, and a value that cannot take it makes the call
  /// fail as any error does. Off by default: then every text is composed
  /// exactly as it always was, a caller's apostrophes included. It is set
  /// here and not per instance because it says how far the host trusts what
  /// its users type, which holds for every object it creates; and a script
  /// that is handed one instance cannot switch it off.
  void setHardened(bool on) { hardened_ = on; }
  bool hardened() const { return hardened_; }

  /// Creates and casts to an interface; raises 13 when the object lacks it.
  template <class T>
  std::shared_ptr<T> createAs(std::string_view progId) {
    return objectAs<T>(Variant(create(progId)));
  }

  struct Entry {
    std::string progId;
    const ClassInfo* info;
  };
  /// Every registered ProgID, in registration order.
  std::vector<Entry> entries() const;

 private:
  struct Slot {
    std::string progId;
    Creator creator;
    const ClassInfo* info;
  };
  std::vector<Slot> slots_;
  Fallback fallback_;
  bool hardened_ = false;
  const Slot* find(std::string_view progId) const;
};

}  // namespace brelvane

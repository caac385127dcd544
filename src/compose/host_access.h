#pragma once
// HostAccess: the host framework operations a composing method needs, each
// reaching the host afresh through ActiveInterface.

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "brelvane/automation/factory.h"
#include "brelvane/host/host.h"
#include "brelvane/host/utility.h"
#include "compose/access.h"

namespace brelvane {

/// Raises 91: a call through a null object reference.
[[noreturn]] void raiseObjectNotSet();

/// Raises 91 when `p` is null; returns it otherwise. Small enough to be
/// inlined at each of the many host calls; raising is out of line.
template <class T>
T& required(const std::shared_ptr<T>& p) {
  if (!p) [[unlikely]]
    raiseObjectNotSet();
  return *p;
}

class HostAccess {
 public:
  /// Either pointer may be null: a call that needs it then raises 91. The
  /// host is held for the whole call, as a host callback may replace
  /// ActiveInterface meanwhile; the utility object is the instance's own
  /// and lives as long as the instance, so it is only pointed to.
  HostAccess(std::shared_ptr<HostInterface> host, const std::shared_ptr<UtilityObject>& utility)
      : host_(std::move(host)), utility_(utility.get()) {}

  /// The host that `*source` names when it is first needed, held from
  /// then on: a call that never reaches the host takes no reference to it.
  /// `source` (the instance's ActiveInterface) must outlive the HostAccess.
  /// `hardened`: the company code must be a number (sql_values.h).
  static HostAccess onFirstUse(const std::shared_ptr<HostInterface>& source,
                               const std::shared_ptr<UtilityObject>& utility, bool hardened) {
    HostAccess access(nullptr, utility);
    access.source_ = &source;
    access.hardened_ = hardened;
    return access;
  }

  bool hasHost() const { return source_ ? *source_ != nullptr : host_ != nullptr; }
  UtilityObject& utility() const;

  /// GetMessageText with an empty argument array: captions.
  std::string message(int32_t id) const;
  /// GetMessageText then PrepareSqlText: every text placed between quotes.
  std::string label(int32_t id) const;
  /// ValueOrDefault(Context.Company.Code, 0).
  Variant companyCode() const;
  /// The company code as decimal text, for numeric insertion; hardened, a
  /// code that is not a number raises 13.
  std::string companyCodeText() const;
  /// ValueOrDefault(Context.Company.Settings.CompanyMode, "") equals 2.
  bool companyModeIs2() const;
  /// LanguageCode of the current company.
  Variant languageCode() const;
  /// The installation setting that chooses a launcher.
  Variant installationSetting() const;

 private:
  std::shared_ptr<HostContext> contextPtr() const { return host().Context(); }
  /// The host, taken from the instance at the first call that needs it.
  HostInterface& host() const {
    if (source_) [[unlikely]] {
      host_ = *source_;
      source_ = nullptr;
    }
    return required(host_);
  }

  mutable std::shared_ptr<HostInterface> host_;
  mutable const std::shared_ptr<HostInterface>* source_ = nullptr;
  UtilityObject* utility_;
  bool hardened_ = false;
};

/// The instance's own utility object, created through the factory and
/// initialised. Creation errors are ignored (then it is null); a failed
/// initialisation is ignored too, and the object is kept.
std::shared_ptr<UtilityObject> createUtility(ObjectFactory& factory) noexcept;
/// Releases the utility object (errors ignored) and lets it go.
void releaseUtility(std::shared_ptr<UtilityObject>& utility) noexcept;

/// The life of an instance, the same for the three classes. On creation it
/// makes its own utility object, and a class that composes SQL takes the
/// factory's hardened mode.
template <class Object>
void beginInstance(Object& object, ObjectFactory& factory) noexcept {
  auto& state = internal::Access::of(object);
  if constexpr (requires { state.hardened; }) state.hardened = factory.hardened();
  state.utility = createUtility(factory);
}
/// On release it releases its utility object, runs `andThen` (what the
/// class has more to end), then lets go of every object it borrowed,
/// in the order given.
template <class Object, class AndThen, class... Borrowed>
void endInstance(Object& object, AndThen andThen,
                 std::shared_ptr<Borrowed> Object::*... borrowed) noexcept {
  releaseUtility(internal::Access::of(object).utility);
  andThen();
  ((object.*borrowed).reset(), ...);
}

/// The array `target` holds, given `bounds`; a target that holds no array
/// is made one. The array keeps its storage, so an output rewritten with the
/// same shape as before allocates nothing. Its elements are left as they
/// were: the caller writes every one.
SafeArray& reusedArray(Variant& target, std::initializer_list<Bound> bounds);

/// Makes `target` an Arr_Fields array (0 To 1, 0 To N-1): captions in row 0,
/// "" under each in row 1. Only an allocation failure stops it midway, and
/// then the array holds some of the new captions.
void setFields(Variant& target, std::span<const std::string_view> captions);
/// The same, the captions being the parts of `captions` between separators:
/// "" gives one empty caption, a trailing separator a last empty one.
void setFieldsSplit(Variant& target, std::string_view captions, char separator);

}  // namespace brelvane

#pragma once
// Late binding: the Dispatch interface every automation object implements,
// and the class descriptions (ClassInfo) from which by-name access, argument
// conversion and listings come.
//
// Member names match case-insensitively, as automation names do. Arguments
// are converted to each parameter's declared type (13 when they cannot be);
// a required argument left Missing raises 449; an unknown name raises 438;
// more arguments than parameters raise 450. By-reference parameters of a
// declared type are converted in, and the callee's value is written back.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "brelvane/automation/error.h"
#include "brelvane/automation/variant.h"
#include "brelvane/export.h"

namespace brelvane {

struct ClassInfo;

/// The late-bound interface of every automation object. The defaults go
/// through the object's class description when it has one, and raise 438
/// otherwise, so interfaces that are only called early-bound need not
/// implement them.
class BRELVANE_API Dispatch {
 public:
  virtual ~Dispatch() = default;
  virtual Variant get(std::string_view name);
  virtual void put(std::string_view name, const Variant& value);
  virtual void putRef(std::string_view name, const Variant& value);
  /// Calls a method; `args` are in declaration order and by reference.
  virtual Variant invoke(std::string_view name, std::span<Variant> args);
  /// The registration table of the object's class, when it has one.
  virtual const ClassInfo* classInfo() const { return nullptr; }
};

/// An object with outgoing events. A sink is any Dispatch: each event is
/// delivered synchronously as sink->invoke(eventName, args), by-reference
/// arguments included, so a sink's changes reach the raiser.
class BRELVANE_API ConnectionPointContainer {
 public:
  virtual ~ConnectionPointContainer() = default;
  /// Connects a sink; returns the cookie that disconnects it.
  virtual int32_t Advise(const std::shared_ptr<Dispatch>& sink) = 0;
  virtual void Unadvise(int32_t cookie) = 0;
};

/// Case-insensitive comparison of member names (ASCII letters fold).
BRELVANE_API bool sameName(std::string_view a, std::string_view b);

/// Declared type of a parameter or property.
enum class ParamType { Variant, Boolean, Integer, Long, Double, String, Date, Object };
BRELVANE_API std::string_view paramTypeName(ParamType type);
/// Raises the error a call would raise converting `value` to a parameter of
/// that type (13, 6, 94, ...); returns when it converts. An object passes
/// for any object parameter: which interface it needs is the callee's to say.
BRELVANE_API void checkConvertible(ParamType type, const Variant& value);

struct BRELVANE_API ParamInfo {
  std::string name;
  ParamType type = ParamType::Variant;
  std::string typeName;  ///< the declared type as listed ("Integer", "TipoLookupPdC", ...)
  bool byRef = false;
  bool optional = false;
  Variant defaultValue = Variant::missing();  ///< Missing: no default
};

struct BRELVANE_API MethodInfo {
  std::string name;
  std::vector<ParamInfo> params;
  std::optional<ParamType> result;  ///< none for a procedure
  std::string doc;
  std::function<Variant(Dispatch&, std::span<Variant>)> call;
  /// Example argument sets, one per shape of what the member composes (an
  /// empty text, a mask, a mode: a set for each way its text differs).
  /// Empty for a member whose text has one shape whatever its arguments.
  /// An object parameter holds Nothing: the caller supplies its own object
  /// (a control, a connection). The reference site calls the member with
  /// each set.
  std::vector<std::vector<Variant>> examples;
};

struct BRELVANE_API PropertyInfo {
  std::string name;
  ParamType type = ParamType::Variant;
  std::string typeName;
  bool canGet = true, canPut = true, canPutRef = false;
  std::string doc;
  std::function<Variant(Dispatch&)> getter;
  std::function<void(Dispatch&, const Variant&)> setter;
};

/// An outgoing event of a class (listed, raised through its connection point).
struct BRELVANE_API EventInfo {
  std::string name;
  std::vector<ParamInfo> params;
};

/// A public enumeration of a class's type library.
struct BRELVANE_API EnumInfo {
  std::string name;
  std::vector<std::pair<std::string, int32_t>> members;
};

struct BRELVANE_API ClassInfo {
  std::string progId;
  std::string doc;
  std::vector<PropertyInfo> properties;
  std::vector<MethodInfo> methods;
  std::vector<EventInfo> events;
  std::vector<EnumInfo> enums;

  /// Members by name, ignoring ASCII case; null when there is none.
  const PropertyInfo* findProperty(std::string_view name) const;
  const MethodInfo* findMethod(std::string_view name) const;
  /// Builds the name indexes; until then (or after the lists change) the
  /// lookups above search the lists one by one.
  void index();

  Variant get(Dispatch& self, std::string_view name) const;
  void put(Dispatch& self, std::string_view name, const Variant& value) const;
  void putRef(Dispatch& self, std::string_view name, const Variant& value) const;
  Variant invoke(Dispatch& self, std::string_view name, std::span<Variant> args) const;

 private:
  /// (hash of the case-folded name, position) of `properties` and `methods`,
  /// in hash order.
  std::vector<std::pair<uint64_t, uint32_t>> propertyIndex_, methodIndex_;
};

/// The object interface T of a Variant (13 when it holds another kind or an
/// object without that interface; Nothing gives a null pointer).
template <class T>
std::shared_ptr<T> objectAs(const Variant& v) {
  if (!v.isObject()) throw AutomationError::of(err::kTypeMismatch);
  const auto& object = v.object();
  if (!object) return nullptr;
  if constexpr (std::is_same_v<T, Dispatch>) {
    return object;
  } else {
    auto cast = std::dynamic_pointer_cast<T>(object);
    if (!cast) throw AutomationError::of(err::kTypeMismatch);
    return cast;
  }
}

}  // namespace brelvane

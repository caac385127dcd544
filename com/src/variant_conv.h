#pragma once
// VARIANT <-> Variant. Incoming values keep their kind (a VT_I2 stays an
// Integer, a VT_CY or VT_DECIMAL becomes a Double, a VT_I8 a Long when it
// fits and a Double otherwise); by-reference forms are read through; an
// argument left out (VT_ERROR with DISP_E_PARAMNOTFOUND) is Missing. An
// incoming object that is one of ours is unwrapped to its core object; any
// other is wrapped in the late-bound adapter for the declared type of the
// parameter or property that receives it.
//
// Arrays are automation arrays of VARIANT elements, any number of
// dimensions, with the bounds of each dimension kept.

#include <windows.h>

#include <oaidl.h>

#include <string_view>
#include <vector>

#include "brelvane/automation/dispatch.h"

namespace brelvane::com {

Variant fromVariant(const VARIANT& value, std::string_view declaredType = {});

/// VARIANTs that start Empty and are cleared when the list goes: the
/// arguments of one outgoing call.
class VariantList {
 public:
  explicit VariantList(size_t n) : values_(n) {
    for (auto& v : values_) VariantInit(&v);
  }
  VariantList(const VariantList&) = delete;
  VariantList& operator=(const VariantList&) = delete;
  ~VariantList() {
    for (auto& v : values_) VariantClear(&v);
  }
  VARIANT& operator[](size_t i) { return values_[i]; }

 private:
  std::vector<VARIANT> values_;
};

/// Writes `value` into `out`, which must be cleared or uninitialised; the
/// caller clears it later.
void toVariant(const Variant& value, VARIANT& out);

/// Stores `value` through the by-reference VARIANT `slot` (VT_BYREF|type),
/// converted to the slot's own type; false when it cannot be.
bool writeBack(const Variant& value, VARIANT& slot);

/// The platform type of a declared type (VT_VARIANT for Variant).
VARTYPE vartypeOf(ParamType type);

/// Coerces an incoming argument to the declared type of its parameter, the
/// way the platform coerces (VariantChangeTypeEx, invariant locale, True and
/// False as words), so that the text of a number never depends on the
/// machine's settings. Missing, Null and Empty stay as they are (the core
/// decides what they mean); objects must be objects. False on a mismatch.
bool coerceArgument(VARIANT& value, ParamType type);

}  // namespace brelvane::com

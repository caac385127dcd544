#pragma once
// The vtable half of the classes' dual interfaces. The slots after
// IDispatch's seven are generated at build time from the registry
// (com/gen/vtable_gen.cpp, in the order of vtable_layout.h); each takes the
// typed arguments the type library declares and forwards them, as a
// DISPPARAMS, to the object's own Invoke: one path for both kinds of client.

#include <windows.h>

#include <oaidl.h>

#include <cstddef>
#include <string_view>
#include <vector>

namespace brelvane::com {

/// A generated slot, stored untyped; its real type is its member's.
using VtableSlot = void (*)();

struct DualSlots {
  std::string_view owner;  ///< the class ("CLSCI_LOOKUP")
  const VtableSlot* slots;
  size_t count;
};
/// Generated: one entry per class.
extern const DualSlots kDualSlots[];
extern const size_t kDualSlotCount;

/// An argument as the slot received it: a copy of its bits under its type
/// (a VARIANT is copied whole, nothing is owned).
VARIANT byValue(VARTYPE vt, const void* value);
/// A by-reference argument: the caller's variable itself.
VARIANT byReference(VARTYPE vt, void* variable);
/// Calls `self`'s Invoke with `args` (last first, as DISPPARAMS holds them)
/// and stores the result, coerced to `resultType`, where `result` points;
/// an exception comes back as its own HRESULT with the thread's error
/// object set, as an early-bound client expects.
HRESULT forward(IDispatch* self, DISPID id, WORD flags, VARIANT* args, UINT count,
                VARTYPE resultType, void* result);

/// The interface pointer an object hands out for its dual interface: a
/// vtable of IDispatch's methods, which forward to `owner`, and the class's
/// slots.
struct DualView {
  const void* const* vtable;
  IDispatch* owner;
};
/// The vtable of a class's dual interface (built once per class); null
/// when no slots were generated for it.
const void* const* dualVtableOf(std::string_view owner);

}  // namespace brelvane::com

#pragma once
// The lookup frame: one lookup call writing the four outputs of CLSCI_LOOKUP.

#include "brelvane/lookup/clsci_lookup.h"
#include "compose/frame.h"

namespace brelvane::lookup {

using Frame = brelvane::Frame<CLSCI_LOOKUP>;
using Builder = ClassBuilder<CLSCI_LOOKUP>;

/// A lookup method from `fn(Frame&, Args...)`, run under the error convention.
template <class Fn>
auto member(Fn fn) {
  return guardedMember<CLSCI_LOOKUP>(std::move(fn));
}

}  // namespace brelvane::lookup

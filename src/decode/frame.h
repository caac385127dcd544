#pragma once
// The decode frame: one decode call writing the descriptor of CLSCI_DECODE.

#include "brelvane/decode/clsci_decode.h"
#include "compose/frame.h"

namespace brelvane::decode {

using Frame = brelvane::Frame<CLSCI_DECODE>;
using Builder = ClassBuilder<CLSCI_DECODE>;

/// A decoder from `fn(Frame&, Args...)`, run under the error convention.
template <class Fn>
auto member(Fn fn) {
  return guardedMember<CLSCI_DECODE>(std::move(fn));
}

}  // namespace brelvane::decode

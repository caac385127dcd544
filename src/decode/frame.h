#pragma once
// The decode frame: one decode call writing the descriptor of CLSCI_DECODE.

#include "brelvane/decode/clsci_decode.h"
#include "compose/frame.h"

namespace brelvane::decode {

class Frame : public FrameBase<CLSCI_DECODE> {
 public:
  using FrameBase::FrameBase;

  /// Arr_Fields (0 To 0, 0 To 1): the control that shows the description
  /// (Nothing for the existence checks) and the result column to show.
  void descriptor(const std::shared_ptr<Dispatch>& control, std::string_view column) {
    const std::span<Variant> elements =
        reusedArray(object_.Arr_Fields, {Bound{0, 0}, Bound{0, 1}}).elements();
    // A decoder called again for the same control leaves it in place: no
    // reference count goes up for the new one and down for the old.
    if (!elements[0].isObject() || elements[0].object() != control) elements[0] = Variant(control);
    elements[1].setText(column);
  }
};

using Builder = ClassBuilder<CLSCI_DECODE>;

/// A decoder from `fn(Frame&, Args...)`, run under the error convention.
template <class Fn>
auto member(Fn fn) {
  return guardedMember<Frame>(std::move(fn));
}

}  // namespace brelvane::decode

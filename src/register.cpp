#include "brelvane/brelvane.h"
#include "brelvane/connect/clsci_connect.h"
#include "brelvane/decode/clsci_decode.h"
#include "brelvane/host/utility.h"
#include "brelvane/lookup/clsci_lookup.h"

namespace brelvane {

namespace {
template <class T>
void addClass(ObjectFactory& factory) {
  factory.add(
      std::string(T::kProgId),
      [](ObjectFactory& f) -> std::shared_ptr<Dispatch> {
        // A class with its own creation (CLSCI_CONNECT) hands out the
        // caller's reference itself.
        if constexpr (requires { T::create(f); })
          return T::create(f);
        else
          return std::make_shared<T>(f);
      },
      &T::registration());
}
}  // namespace

void registerBrelvane(ObjectFactory& factory) {
  addClass<CLSCI_LOOKUP>(factory);
  addClass<CLSCI_DECODE>(factory);
  addClass<CLSCI_CONNECT>(factory);
  if (!factory.has(kUtilityProgId))
    factory.add(std::string(kUtilityProgId),
                [](ObjectFactory&) { return std::make_shared<ReferenceUtility>(); });
}

}  // namespace brelvane

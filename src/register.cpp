#include "brelvane/brelvane.h"

#include "brelvane/host/utility.h"
#include "brelvane/lookup/clsci_lookup.h"

namespace brelvane {

namespace {
template <class T>
void addClass(ObjectFactory& factory) {
  factory.add(
      std::string(T::kProgId), [](ObjectFactory& f) { return std::make_shared<T>(f); },
      &T::registration());
}
}  // namespace

void registerBrelvane(ObjectFactory& factory) {
  addClass<CLSCI_LOOKUP>(factory);
  if (!factory.has(kUtilityProgId))
    factory.add(std::string(kUtilityProgId),
                [](ObjectFactory&) { return std::make_shared<ReferenceUtility>(); });
}

}  // namespace brelvane

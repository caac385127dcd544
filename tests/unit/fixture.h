#pragma once
// A scripted world for unit tests: factory, stand-ins and their log.

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "brelvane/brelvane.h"
#include "standins/standins.h"

namespace brelvane::testing {

using standins::Json;

struct World {
  standins::Log log;
  ObjectFactory factory;

  explicit World(const Json& utility = Json::object()) {
    registerBrelvane(factory);
    standins::installUtility(factory, utility, log);
  }

  std::shared_ptr<HostInterface> host(const Json& config = Json{{"kind", "host"}}) {
    return standins::makeHost(config, "host", log);
  }
  std::shared_ptr<Connection> connection(const Json& config = Json{{"kind", "connection"}}) {
    return standins::makeConnection(config, "db", log);
  }
  template <class T>
  std::shared_ptr<T> create() {
    return factory.createAs<T>(T::kProgId);
  }
};

/// Joins lines with CR LF after each, the way composed SQL is laid out.
inline std::string lines(std::initializer_list<std::string_view> parts) {
  std::string out;
  for (auto p : parts) out.append(p).append("\r\n");
  return out;
}

/// Calls a member by name, as a host does.
inline Variant call(Dispatch& object, std::string_view name, std::vector<Variant> args = {}) {
  return object.invoke(name, args);
}

/// The number of the AutomationError `f` raises, or 0 when it raises none.
template <class F>
int errorOf(F&& f) {
  try {
    f();
  } catch (const AutomationError& e) {
    return e.number;
  }
  return 0;
}

}  // namespace brelvane::testing

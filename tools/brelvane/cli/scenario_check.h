#pragma once
// The shape of a scenario document, checked before any step runs: its keys,
// its steps and their operations, its tagged values and its object names.

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

#include "brelvane/brelvane.h"
#include "standins/standins.h"

namespace brelvane::cli {

[[noreturn]] inline void invalid(const std::string& what) {
  throw standins::ScenarioError(what);
}

/// Keys that only document a step or the document.
inline bool isNote(std::string_view key) {
  return key == "comment" || key == "description" || key == "note" || key == "title";
}

inline std::string inQuotes(std::string_view text) {
  return standins::Json(std::string(text)).dump();
}

inline constexpr size_t kMaxArrayElements = 1'000'000;  // all $array values together

enum class Op { Create, Set, Call, Get, Advise, Release };

struct OpInfo {
  Op op;
  const char* key;
  std::initializer_list<std::string_view> keys;  // the other keys it takes
};

/// The operation of a step (exactly one of create, set, call, get, advise,
/// release).
const OpInfo& opOf(const standins::Json& step);

/// Checks the document as a whole; raises ScenarioError when it is not a
/// scenario.
void validate(const standins::Json& doc, const ObjectFactory& factory);

}  // namespace brelvane::cli

#pragma once
// The error conventions of the classes, each written once.

#include <string>
#include <utility>

namespace brelvane {

/// Hands the error being handled (inside a catch block) to the diagnostics
/// hook, when one is installed. Never raises.
void reportSwallowedError() noexcept;

/// A public lookup or decode method: any error clears `sql` and the method
/// returns normally; whatever the body wrote before the error stays.
template <class Body>
void composeGuarded(std::string& sql, Body&& body) noexcept {
  try {
    body();
  } catch (...) {
    sql.clear();
    reportSwallowedError();
  }
}

/// A private fragment builder: the whole fragment or "" on any error.
template <class Body>
std::string fragmentOrEmpty(Body&& body) noexcept {
  try {
    return body();
  } catch (...) {
    return {};
  }
}

/// One statement of an "ignore errors and go on" sequence.
template <class Statement>
void ignoringErrors(Statement&& statement) noexcept {
  try {
    statement();
  } catch (...) {
  }
}

}  // namespace brelvane

#include "cli/shared_values.h"

#include <map>
#include <set>

namespace brelvane::cli {

namespace {

using standins::Json;
using standins::ScenarioError;

constexpr size_t kMaxNodes = 1'000'000;  // values of the document once expanded
constexpr size_t kMaxText = 16'000'000;  // bytes that all $concat values make together
constexpr size_t kMaxDefineChain = 8;    // a define using a define using a define ...

[[noreturn]] void invalid(const std::string& what) {
  throw ScenarioError(what);
}

/// The one key of a tagged value, or "" for anything else.
std::string tagOf(const Json& j) {
  return j.is_object() && j.size() == 1 ? j.begin().key() : std::string();
}

/// Expands `$ref` and `$concat` in the values of a document, given its
/// `define` object. Each definition is expanded once, on first use, and
/// copied where it is used; the copies are counted, so that a few short
/// definitions that use each other cannot make a document of any size.
class Expander {
 public:
  explicit Expander(const Json& defines) : defines_(defines) {}

  Json expand(const Json& j) {
    if (++nodes_ > kMaxNodes) invalid("define: the document grows too large");
    const std::string tag = tagOf(j);
    if (tag == "$ref") return ref(j.begin().value());
    if (tag == "$concat") return concat(j.begin().value());
    if (!j.is_structured()) return j;
    Json out = j.is_array() ? Json::array() : Json::object();
    if (j.is_array()) {
      for (const auto& v : j) out.push_back(expand(v));
    } else {
      for (const auto& [k, v] : j.items()) out[k] = expand(v);
    }
    return out;
  }

 private:
  Json ref(const Json& name) {
    if (!name.is_string()) invalid("$ref names a definition: " + name.dump());
    const std::string key = name.get<std::string>();
    if (!defines_.contains(key)) invalid("$ref: nothing is defined as " + name.dump());
    auto done = resolved_.find(key);
    if (done == resolved_.end()) {
      if (active_.count(key)) invalid("$ref: " + name.dump() + " is defined through itself");
      if (active_.size() >= kMaxDefineChain) invalid("$ref: definitions nest too deep");
      active_.insert(key);
      done = resolved_.emplace(key, expand(defines_[key])).first;
      active_.erase(key);
    }
    nodes_ += weight(done->second);
    if (nodes_ > kMaxNodes) invalid("define: the document grows too large");
    return done->second;
  }

  Json concat(const Json& parts) {
    if (!parts.is_array()) invalid("$concat is a list of texts");
    std::string text;
    for (const auto& part : parts) {
      Json piece = expand(part);
      if (!piece.is_string()) invalid("$concat joins texts only: " + part.dump());
      text += piece.get_ref<const std::string&>();
      text_ += piece.get_ref<const std::string&>().size();
      if (text_ > kMaxText) invalid("$concat: the texts grow too large");
    }
    return text;
  }

  /// How many values a copy of `j` adds to the document.
  static size_t weight(const Json& j) {
    size_t n = 1;
    if (j.is_structured())
      for (const auto& v : j) n += weight(v);
    return n;
  }

  const Json& defines_;
  std::map<std::string, Json> resolved_;
  std::set<std::string> active_;
  size_t nodes_ = 0;
  size_t text_ = 0;
};

}  // namespace

Json expandSharedValues(const Json& doc) {
  if (!doc.is_object()) return doc;
  static const Json kNone = Json::object();
  const Json& defines = doc.contains("define") ? doc["define"] : kNone;
  if (!defines.is_object()) invalid("define is an object of named values");
  Expander expander(defines);
  Json out = Json::object();
  for (const auto& [key, v] : doc.items())
    if (key != "define") out[key] = expander.expand(v);
  return out;
}

}  // namespace brelvane::cli

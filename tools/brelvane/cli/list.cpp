// `brelvane list`: the classes as their registration tables describe them.
#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

#include "brelvane/brelvane.h"
#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/help.h"
#include "standins/standins.h"

namespace brelvane::cli {

namespace {

using standins::Json;

constexpr size_t kWidth = 100;  // wrap long lines before this column

/// Width on a terminal: UTF-8 continuation bytes take no column.
size_t columns(const std::string& text) {
  return static_cast<size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

std::string padded(const std::string& text, size_t width) {
  return text + std::string(width - columns(text) + 2, ' ');
}

std::string access(const PropertyInfo& p) {
  std::string out;
  auto add = [&](const char* what) { out += (out.empty() ? "" : ", ") + std::string(what); };
  if (p.canGet) add("get");
  if (p.canPut) add("put");
  if (p.canPutRef) add("set by reference");
  return out;
}

std::string parameter(const ParamInfo& p, const standins::Names& names) {
  std::string out;
  if (p.optional) out += "Optional ";
  if (p.byRef) out += "ByRef ";
  out += p.name + " As " + p.typeName;
  if (p.optional && !p.defaultValue.isMissing()) out += " = " + describe(p.defaultValue, names);
  return out;
}

std::string signature(const std::string& name, const std::vector<ParamInfo>& params,
                      const standins::Names& names) {
  std::string out = name + "(";
  for (size_t i = 0; i < params.size(); ++i) out += (i ? ", " : "") + parameter(params[i], names);
  return out + ")";
}

void printClass(std::ostream& out, const ClassInfo& c) {
  standins::Names names;  // defaults hold no objects
  out << c.progId;
  if (!c.doc.empty()) out << " - " << c.doc;
  out << '\n';
  if (!c.properties.empty()) {
    size_t width = 0, typeWidth = 0, accessWidth = 0;
    for (const auto& p : c.properties) {
      width = std::max(width, columns(p.name));
      typeWidth = std::max(typeWidth, columns(p.typeName));
      accessWidth = std::max(accessWidth, access(p).size());
    }
    out << "  Properties:\n";
    for (const auto& p : c.properties) {
      std::string line = "    " + padded(p.name, width) + padded(p.typeName, typeWidth) +
                         (p.doc.empty() ? access(p) : padded(access(p), accessWidth) + p.doc);
      out << line << '\n';
    }
  }
  if (!c.methods.empty()) {
    out << "  Methods:\n";
    for (const auto& m : c.methods) {
      out << "    " << signature(m.name, m.params, names);
      if (m.result) out << " As " << paramTypeName(*m.result);
      out << '\n';
      if (!m.doc.empty()) out << "        " << m.doc << '\n';
    }
  }
  if (!c.events.empty()) {
    out << "  Events:\n";
    for (const auto& e : c.events) out << "    " << signature(e.name, e.params, names) << '\n';
  }
  if (!c.enums.empty()) {
    out << "  Enumerations:\n";
    for (const auto& e : c.enums) {
      // Members run on as a paragraph, wrapped before the column limit.
      std::string line = "    " + e.name + ":";
      for (size_t i = 0; i < e.members.size(); ++i) {
        std::string member = e.members[i].first + " = " + std::to_string(e.members[i].second) +
                             (i + 1 < e.members.size() ? "," : "");
        if (columns(line) + 1 + columns(member) > kWidth) {
          out << line << '\n';
          line = "       ";
        }
        line += " " + member;
      }
      out << line << '\n';
    }
  }
}

Json paramsJson(const std::vector<ParamInfo>& params, const standins::Names& names) {
  Json out = Json::array();
  for (const auto& p : params) {
    Json j = {{"name", p.name}, {"type", p.typeName}, {"byRef", p.byRef}, {"optional", p.optional}};
    if (!p.defaultValue.isMissing()) j["default"] = standins::toJson(p.defaultValue, names);
    out.push_back(std::move(j));
  }
  return out;
}

Json classJson(const ClassInfo& c) {
  standins::Names names;
  Json properties = Json::array(), methods = Json::array(), events = Json::array(),
       enums = Json::array();
  for (const auto& p : c.properties) {
    Json how = Json::array();
    if (p.canGet) how.push_back("get");
    if (p.canPut) how.push_back("put");
    if (p.canPutRef) how.push_back("putRef");
    properties.push_back({{"name", p.name}, {"type", p.typeName}, {"access", how}, {"doc", p.doc}});
  }
  for (const auto& m : c.methods)
    methods.push_back({{"name", m.name},
                       {"params", paramsJson(m.params, names)},
                       {"returns", m.result ? Json(paramTypeName(*m.result)) : Json()},
                       {"doc", m.doc}});
  for (const auto& e : c.events)
    events.push_back({{"name", e.name}, {"params", paramsJson(e.params, names)}});
  for (const auto& e : c.enums) {
    Json members = Json::object();
    for (const auto& [name, value] : e.members) members[name] = value;
    enums.push_back({{"name", e.name}, {"members", members}});
  }
  return {{"progId", c.progId}, {"doc", c.doc},     {"properties", properties},
          {"methods", methods}, {"events", events}, {"enumerations", enums}};
}

}  // namespace

int listCommand(std::span<const std::string_view> args, std::ostream& out, std::ostream& err) {
  bool json = false;
  std::vector<std::string_view> progIds;
  for (auto a : args) {
    if (a == "--help" || a == "-h") {
      out << kListHelp;
      return 0;
    }
    if (a == "--json") {
      json = true;
    } else if (a.size() > 1 && a[0] == '-') {
      err << "brelvane list: unknown option " << a << "; see brelvane list --help\n";
      return kBadInput;
    } else {
      progIds.push_back(a);
    }
  }
  if (progIds.size() > 1) {
    err << "brelvane list: expects at most one ProgID\n";
    return kBadInput;
  }
  ObjectFactory factory;
  registerBrelvane(factory);
  std::vector<const ClassInfo*> classes;
  for (const auto& entry : factory.entries())
    if (entry.info && (progIds.empty() || sameName(entry.progId, progIds[0])))
      classes.push_back(entry.info);
  if (!progIds.empty() && classes.empty()) {
    err << "brelvane list: unknown ProgID " << progIds[0] << '\n';
    return kBadInput;
  }
  if (json) {
    Json doc = Json::array();
    for (const auto* c : classes) doc.push_back(classJson(*c));
    out << doc.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
    return 0;
  }
  for (size_t i = 0; i < classes.size(); ++i) {
    if (i) out << '\n';
    printClass(out, *classes[i]);
  }
  return 0;
}

}  // namespace brelvane::cli

// Writes, from the registry, what the dual interfaces of the classes need:
//   SLOTS.cpp   for each class of the dispatch identifier table, one function
//               per entry of vtableOf, typed as the type library declares it,
//               that packs its arguments into a DISPPARAMS and calls forward();
//   HEADER.h    for early-bound C++ clients: the identifiers of guids.h and
//               each dual interface's declaration in vtable order.
// Run natively at build time by the COM server's build:
//   brelvane_com_gen SLOTS.cpp HEADER.h
#include <cctype>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <optional>
#include <set>
#include <sstream>
#include <string>

#include "brelvane/brelvane.h"
#include "brelvane/version.h"
#include "dispids.h"
#include "guids.h"
#include "settings.h"
#include "vtable_layout.h"

namespace {

using namespace brelvane;
using namespace brelvane::com;

/// What one vtable entry takes and gives, and how Invoke is asked for it.
struct Signature {
  std::vector<ParamInfo> params;
  std::optional<ParamInfo> result;
  const char* flags = "DISPATCH_METHOD";
  std::string prefix;  ///< of the header's function name: "get_", "put_", "putref_" or none
};

Signature signatureOf(const VtableEntry& e) {
  Signature s;
  ParamInfo value;
  if (e.property) {
    value.type = e.property->type;
    value.typeName = e.property->typeName;
    if (e.accessor == Accessor::Get) {
      s.result = value;
      s.flags = "DISPATCH_PROPERTYGET";
      s.prefix = "get_";
    } else {
      value.name = "value";
      s.params.push_back(value);
      const bool put = e.accessor == Accessor::Put;
      s.flags = put ? "DISPATCH_PROPERTYPUT" : "DISPATCH_PROPERTYPUTREF";
      s.prefix = put ? "put_" : "putref_";
    }
    return s;
  }
  s.params = e.method->params;
  if (e.method->result) {
    value.type = *e.method->result;
    s.result = value;
  }
  return s;
}

/// A parameter's name in C++: the registry's, unless it cannot be one; then
/// "a" and its position.
std::string identifier(const std::string& name, size_t i) {
  bool plain = !name.empty() && !std::isdigit(static_cast<unsigned char>(name[0]));
  for (char c : name) plain = plain && (std::isalnum(static_cast<unsigned char>(c)) || c == '_');
  if (plain) return name;
  std::string positional = "a";
  positional += std::to_string(i);
  return positional;
}

std::string guidText(const guids::Guid& g) {
  char text[96];
  std::snprintf(text, sizeof text,
                "{0x%08X, 0x%04X, 0x%04X, {0x%02X, 0x%02X, 0x%02X, 0x%02X, 0x%02X, 0x%02X, "
                "0x%02X, 0x%02X}}",
                g.d1, g.d2, g.d3, g.d4[0], g.d4[1], g.d4[2], g.d4[3], g.d4[4], g.d4[5], g.d4[6],
                g.d4[7]);
  return text;
}

struct Writer {
  std::ostringstream slots, tables, header;
  std::set<std::string, std::less<>> enumerations;

  AbiType abi(const ParamInfo& p) const { return abiTypeOf(p, enumerations.contains(p.typeName)); }

  /// The parameter list after `self`, names given by `name`.
  template <class Name>
  std::string parameters(const Signature& s, Name&& name) const {
    std::ostringstream out;
    for (size_t i = 0; i < s.params.size(); ++i)
      out << ", " << abi(s.params[i]).c << (s.params[i].byRef ? "* " : " ") << name(s.params[i], i);
    if (s.result) out << ", " << abi(*s.result).c << "* result";
    return out.str();
  }

  void slot(const std::string& function, const VtableEntry& e) {
    const Signature s = signatureOf(e);
    auto argument = [](const ParamInfo&, size_t i) { return identifier({}, i); };
    slots << "// " << e.name << "\nHRESULT STDMETHODCALLTYPE " << function << "(IDispatch* self"
          << parameters(s, argument) << ") {\n";
    if (!s.params.empty()) {
      slots << "  VARIANT args[] = {";
      for (size_t i = s.params.size(); i-- > 0;)
        slots << (s.params[i].byRef ? "byReference(" : "byValue(") << abi(s.params[i]).vt
              << (s.params[i].byRef ? ", a" : ", &a") << i << ")" << (i ? ", " : "");
      slots << "};\n";
    }
    slots << "  return forward(self, " << e.dispId << ", " << s.flags << ", "
          << (s.params.empty() ? "nullptr" : "args") << ", " << s.params.size() << ", "
          << (s.result ? abi(*s.result).vt : "VT_EMPTY") << ", "
          << (s.result ? "result" : "nullptr") << ");\n}\n";
    const std::string args =
        parameters(s, [](const ParamInfo& p, size_t i) { return identifier(p.name, i); });
    header << "  virtual HRESULT STDMETHODCALLTYPE " << s.prefix << e.name << "("
           << (args.empty() ? "" : args.substr(2)) << ") = 0;\n";
  }

  bool writeClass(const ObjectFactory& factory, size_t c, const guids::Class& ids) {
    const std::string owner(ids.progId.substr(ids.progId.find('.') + 1));
    const ClassInfo* info = nullptr;
    for (const auto& entry : factory.entries())
      if (entry.info && entry.info->progId == ids.progId) info = entry.info;
    if (!info) {
      std::cerr << "brelvane_com_gen: no class " << ids.progId << '\n';
      return false;
    }
    header << "\ninline constexpr CLSID CLSID_" << owner << " = " << guidText(ids.clsid)
           << ";\ninline constexpr IID IID__" << owner << " = " << guidText(ids.iid) << ";\n\n/// "
           << info->doc << "\nstruct _" << owner << " : public IDispatch {\n";
    const auto entries = vtableOf(*info, owner);
    tables << "const VtableSlot kSlots" << c << "[] = {\n";
    for (size_t i = 0; i < entries.size(); ++i) {
      const std::string function = "slot" + std::to_string(c) + "_" + std::to_string(i);
      slot(function, entries[i]);
      tables << "    reinterpret_cast<VtableSlot>(&" << function << "),\n";
    }
    tables << "};\n";
    header << "};\n";
    return true;
  }
};

bool save(const char* path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (!file) std::cerr << "brelvane_com_gen: cannot write " << path << '\n';
  return static_cast<bool>(file);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: brelvane_com_gen SLOTS.cpp HEADER.h\n";
    return 2;
  }
  ObjectFactory factory;
  registerBrelvane(factory);
  registerSettings(factory);
  Writer w;
  for (const auto& entry : factory.entries())
    if (entry.info)
      for (const auto& e : entry.info->enums) w.enumerations.insert(e.name);

  w.header << "// brelvane_com.h " BRELVANE_VERSION
              ": the classes of brelvane.dll for early-bound C++\n"
              "// clients, generated from the component's registry. Each interface is dual:\n"
              "// these functions follow IDispatch's in its vtable.\n#pragma once\n\n"
              "#include <windows.h>\n\n#include <oaidl.h>\n\n"
              "inline constexpr GUID LIBID_Brelvane = "
           << guidText(guids::kLibrary)
           << ";\ninline constexpr IID DIID___CLSCI_CONNECT = " << guidText(guids::kConnectEvents)
           << ";\n";
  for (size_t c = 0; c < std::size(guids::kClasses); ++c)
    if (!w.writeClass(factory, c, guids::kClasses[c])) return 1;

  std::ostringstream slots;
  slots << "// Generated by brelvane_com_gen from the registry: the vtable slots of the\n"
           "// dual interfaces. Do not edit.\n#include \"dual.h\"\n\n"
           "namespace brelvane::com {\nnamespace {\n"
        << w.slots.str() << w.tables.str()
        << "}  // namespace\n\nconst DualSlots kDualSlots[] = {\n";
  for (size_t c = 0; c < std::size(guids::kClasses); ++c) {
    const std::string_view progId = guids::kClasses[c].progId;
    slots << "    {\"" << progId.substr(progId.find('.') + 1) << "\", kSlots" << c
          << ", std::size(kSlots" << c << ")},\n";
  }
  slots << "};\nconst size_t kDualSlotCount = " << std::size(guids::kClasses)
        << ";\n\n}  // namespace brelvane::com\n";
  return save(argv[1], slots.str()) && save(argv[2], w.header.str()) ? 0 : 1;
}

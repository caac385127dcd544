// Random members of the three classes with random arguments (every Variant
// kind, huge and odd texts, objects, arrays, missing ones) on stand-ins that
// fail at random. Only the call's own errors (argument missing, of the wrong
// type, out of range, too many) and the registration number bridge's, raised
// under its name, may reach the caller. Anything else traps.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "brelvane/brelvane.h"
#include "standins/standins.h"

namespace brelvane {
namespace {

using standins::Json;

constexpr std::string_view kBridge = "GetNumregCoanFromNumregCoge";

const char* const kHostOps[] = {
    "Context", "Messages",     "Company",  "GetMessageText", "PrepareSqlText",
    "Code",    "LanguageCode", "Settings", "CompanyMode",    "InstallationSetting"};
const char* const kUtilityOps[] = {
    "Create",         "Initialise",  "ValueToText",           "ValueOrDefault",   "ValueForSql",
    "SqlDateLiteral", "BindContext", "ProviderAccountColumn", "HeaderFieldColumn"};
const char* const kConnectionOps[] = {"Execute", "NewCommand", "ExecuteCommand"};

std::string text(FuzzedDataProvider& in) {
  switch (in.ConsumeIntegralInRange(0, 3)) {
    case 0:
      return std::string(in.ConsumeIntegralInRange<size_t>(0, 70000), 'x');  // huge
    case 1:
      return "A'B<LINGUA><CONTO>|";  // quotes, placeholders, separators
    default:
      return in.ConsumeRandomLengthString(64);
  }
}

Variant value(FuzzedDataProvider& in, const std::vector<std::shared_ptr<Dispatch>>& objects,
              int depth = 0) {
  switch (in.ConsumeIntegralInRange(0, 13)) {
    case 0:
      return Variant();
    case 1:
      return Variant::null();
    case 2:
      return Variant::missing();
    case 3:
      return Variant(in.ConsumeBool());
    case 4:
      return Variant(in.ConsumeIntegral<int16_t>());
    case 5:
      return Variant(in.ConsumeIntegral<int32_t>());
    case 6:
      return Variant(in.ConsumeFloatingPoint<double>());
    case 7:
      return Variant(Date{in.ConsumeIntegralInRange(1, 9999), in.ConsumeIntegralInRange(1, 12),
                          in.ConsumeIntegralInRange(1, 28)});
    case 8:
    case 9:
      return Variant(text(in));
    case 10:
      return Variant(std::to_string(in.ConsumeIntegralInRange(-5, 70000)));
    case 11:
      return Variant(objects[in.ConsumeIntegralInRange<size_t>(0, objects.size() - 1)]);
    case 12:
      return Variant::nothing();
    default: {
      if (depth > 0) return Variant();
      const int32_t upper = in.ConsumeIntegralInRange(-1, 3);
      SafeArray a({Bound{0, upper}});
      for (int32_t i = 0; i <= upper; ++i) a.at({i}) = value(in, objects, depth + 1);
      return Variant(std::move(a));
    }
  }
}

Json failures(FuzzedDataProvider& in, std::span<const char* const> ops) {
  Json fail = Json::array();
  if (in.ConsumeIntegralInRange(0, 2) == 0)
    fail.push_back(ops[in.ConsumeIntegralInRange<size_t>(0, ops.size() - 1)]);
  return fail;
}

/// Whether an argument left out is refused (449) by the call.
bool refusedWhenMissing(const ParamInfo& p) {
  return !p.optional || (p.defaultValue.isMissing() && p.type != ParamType::Variant);
}

/// Whether converting `v` for `p` fails as the call's own conversion does,
/// and with which error; nothing when it converts (or may, for objects).
std::optional<int32_t> conversionError(const ParamInfo& p, const Variant& v, bool& uncertain) {
  if (v.isMissing()) return std::nullopt;
  try {
    checkConvertible(p.type, v);
  } catch (const AutomationError& e) {
    return e.number;
  }
  uncertain = uncertain || p.type == ParamType::Object;  // the interface is checked by the call
  return std::nullopt;
}

}  // namespace
}  // namespace brelvane

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace brelvane;
  FuzzedDataProvider in(data, size);
  standins::Log log;
  ObjectFactory factory;
  registerBrelvane(factory);
  standins::installUtility(factory, {{"fail", failures(in, kUtilityOps)}}, log);
  standins::installLaunchers(factory, Json::object(), log);
  Json hostConfig = {{"kind", "host"},
                     {"company",
                      {{"Code", in.ConsumeIntegralInRange(-2, 40000)},
                       {"LanguageCode", "ITA"},
                       {"CompanyMode", in.ConsumeIntegralInRange(0, 2)}}},
                     {"fail", failures(in, kHostOps)}};
  Json dbConfig = {
      {"kind", "connection"},
      {"results", Json::array({{{"match", ""},
                                {"columns", {"PC01_INDTIPOPDC", "X"}},
                                {"rows", {{in.ConsumeIntegralInRange(0, 7), "7"}}}}})},
      {"procedures", {{"SPCI_PROPCONTI_LOOKUPPROVIDER", {{"@LABELS", "A|B|"}, {"@QUERY", "Q"}}}}},
      {"fail", failures(in, kConnectionOps)}};
  std::vector<std::shared_ptr<Dispatch>> objects{standins::makeHost(hostConfig, "host", log),
                                                 standins::makeConnection(dbConfig, "db", log),
                                                 standins::makeControl()};

  std::vector<const ClassInfo*> classes;
  for (const auto& entry : factory.entries())
    if (entry.info && entry.info->progId.rfind("Brelvane.", 0) == 0) classes.push_back(entry.info);
  const ClassInfo& cls = *classes[in.ConsumeIntegralInRange<size_t>(0, classes.size() - 1)];
  std::shared_ptr<Dispatch> object;
  try {
    object = factory.create(cls.progId);
  } catch (const AutomationError&) {
    return 0;  // the utility's creation failing is not the classes' concern
  }
  // Properties first, as a host sets them; a refused value is the host's
  // own mistake and raises like any automation property.
  for (int i = in.ConsumeIntegralInRange(0, 4); i > 0 && !cls.properties.empty(); --i) {
    const PropertyInfo& p =
        cls.properties[in.ConsumeIntegralInRange<size_t>(0, cls.properties.size() - 1)];
    try {
      Variant v = value(in, objects);
      if (v.isObject() && p.canPutRef)
        object->putRef(p.name, v);
      else
        object->put(p.name, v);
    } catch (const AutomationError&) {
    }
  }
  if (cls.methods.empty()) return 0;
  const MethodInfo& m = cls.methods[in.ConsumeIntegralInRange<size_t>(0, cls.methods.size() - 1)];
  std::vector<Variant> args;
  size_t count = in.ConsumeIntegralInRange<size_t>(0, m.params.size() + 1);
  for (size_t i = 0; i < count; ++i) args.push_back(value(in, objects));

  std::optional<int32_t> expected;
  bool uncertain = false;
  // The call checks the count, then every missing argument, then converts
  // the arguments in order.
  if (args.size() > m.params.size()) expected = err::kWrongArgumentCount;
  for (size_t i = 0; i < m.params.size() && !expected; ++i)
    if ((i >= args.size() || args[i].isMissing()) && refusedWhenMissing(m.params[i]))
      expected = err::kArgumentNotOptional;
  for (size_t i = 0; i < args.size() && !expected; ++i)
    expected = conversionError(m.params[i], args[i], uncertain);
  try {
    object->invoke(m.name, args);
    if (expected) __builtin_trap();  // a bad argument went through
  } catch (const AutomationError& e) {
    bool own = m.name == kBridge && e.source.rfind(std::string(kBridge) + ":\r\n", 0) == 0;
    bool call = expected ? e.number == *expected : uncertain && e.number == err::kTypeMismatch;
    if (!own && !call) __builtin_trap();
  } catch (...) {
    __builtin_trap();
  }
  return 0;
}

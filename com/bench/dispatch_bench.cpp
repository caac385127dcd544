// The cost of late binding through the platform: every lookup and decoder
// of the catalogue, called through IDispatch::Invoke on the registered
// brelvane.dll (identifiers asked for once) and through the core's by-name
// call in this process, in the same run, on the same host written in C++.
// Also counts the allocations of converting numbers across the boundary.
//
//   wine brelvane_com_bench.exe [ROUNDS]     (brelvane.dll registered)
#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "adapters.h"
#include "brelvane/brelvane.h"
#include "brelvane/host/host.h"
#include "server_object.h"
#include "text.h"
#include "variant_conv.h"

namespace {

std::atomic<long> allocations{0};

}  // namespace

void* operator new(size_t size) {
  ++allocations;
  if (void* p = std::malloc(size ? size : 1)) return p;
  throw std::bad_alloc();
}
void operator delete(void* p) noexcept {
  std::free(p);
}
void operator delete(void* p, size_t) noexcept {
  std::free(p);
}

namespace brelvane::bench {
namespace {

// The host: fixed answers, reachable both as C++ interfaces and by name.
struct Settings final : CompanySettings {
  Variant CompanyMode() override { return int32_t{1}; }
  Variant get(std::string_view) override { return CompanyMode(); }
};
struct Company final : HostCompany {
  std::shared_ptr<CompanySettings> Settings() override {
    return std::make_shared<bench::Settings>();
  }
  Variant Code() override { return int32_t{1}; }
  Variant LanguageCode() override { return "ITA"; }
  Variant get(std::string_view name) override {
    if (sameName(name, "Settings")) return Variant(Settings());
    return sameName(name, "Code") ? Code() : LanguageCode();
  }
};
struct Messages final : MessageService {
  std::string GetMessageText(int32_t id, const SafeArray&) override {
    return "Messaggio " + std::to_string(id);
  }
  std::string PrepareSqlText(const std::string& text) override { return text; }
  Variant invoke(std::string_view name, std::span<Variant> args) override {
    if (sameName(name, "GetMessageText"))
      args[2] = GetMessageText(toLong(args[0]), SafeArray());
    else
      args[1] = PrepareSqlText(toText(args[0]));
    return {};
  }
};
struct Context final : HostContext {
  std::shared_ptr<MessageService> Messages() override {
    return std::make_shared<bench::Messages>();
  }
  std::shared_ptr<HostCompany> Company() override { return std::make_shared<bench::Company>(); }
  Variant get(std::string_view name) override {
    return sameName(name, "Messages") ? Variant(Messages()) : Variant(Company());
  }
};
struct Host final : HostInterface {
  std::shared_ptr<HostContext> Context() override { return std::make_shared<bench::Context>(); }
  Variant InstallationSetting() override { return {}; }
  Variant get(std::string_view name) override {
    return sameName(name, "Context") ? Variant(Context()) : InstallationSetting();
  }
};
struct Control final : Dispatch {};

Variant plausible(const ParamInfo& p, const std::shared_ptr<Dispatch>& control) {
  switch (p.type) {
    case ParamType::Object:
      return p.typeName == "Connection" ? Variant::nothing() : Variant(control);
    case ParamType::Boolean:
      return false;
    case ParamType::String:
      return "7";
    case ParamType::Integer:
      return int16_t{1};
    case ParamType::Date:
      return Date{2026, 11, 22};
    default:
      return int32_t{1};
  }
}

struct Call {
  std::string progId;
  const MethodInfo* method;
  std::vector<Variant> args;
};

double seconds(std::chrono::steady_clock::duration d) {
  return std::chrono::duration<double>(d).count();
}

int run(int rounds) {
  ObjectFactory factory;
  registerBrelvane(factory);
  auto host = std::make_shared<Host>();
  auto control = std::make_shared<Control>();
  std::vector<Call> calls;
  for (const auto& entry : factory.entries()) {
    if (!entry.info || entry.progId == "Brelvane.CLSCI_CONNECT") continue;
    for (const auto& m : entry.info->methods) {
      Call call{entry.progId, &m, {}};
      for (const auto& p : m.params) call.args.push_back(plausible(p, control));
      calls.push_back(std::move(call));
    }
  }

  // The core's by-name call, with the host reached as C++ objects, and
  // reached through the platform as the DLL reaches it.
  IDispatch* hostObject = com::exposeObject(host);
  auto byName = [&](const std::shared_ptr<Dispatch>& activeInterface) {
    std::vector<std::shared_ptr<Dispatch>> cores;
    for (const auto& c : calls) {
      cores.push_back(factory.create(c.progId));
      cores.back()->putRef("ActiveInterface", Variant(activeInterface));
    }
    auto start = std::chrono::steady_clock::now();
    for (int r = 0; r < rounds; ++r)
      for (size_t i = 0; i < calls.size(); ++i) {
        std::vector<Variant> args = calls[i].args;
        try {
          cores[i]->invoke(calls[i].method->name, args);
        } catch (const AutomationError&) {
          // The registration number bridge raises without a connection; the
          // platform path pays for the same error as an HRESULT.
        }
      }
    return seconds(std::chrono::steady_clock::now() - start);
  };
  const double core = byName(host);
  const double coreLateHost = byName(com::adaptObject(hostObject, "HostInterface"));

  // Through the platform.
  std::vector<IDispatch*> objects;
  std::vector<DISPID> ids;
  std::vector<std::vector<VARIANT>> arguments;
  for (const auto& c : calls) {
    CLSID clsid;
    IDispatch* object = nullptr;
    if (FAILED(CLSIDFromProgID(com::widen(c.progId).c_str(), &clsid)) ||
        FAILED(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                                reinterpret_cast<void**>(&object)))) {
      std::fprintf(stderr, "cannot create %s: is brelvane.dll registered?\n", c.progId.c_str());
      return 1;
    }
    objects.push_back(object);
    DISPID id;
    std::wstring name = com::widen("ActiveInterface");
    LPOLESTR names[] = {name.data()};
    object->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
    VARIANT value;
    value.vt = VT_DISPATCH;
    value.pdispVal = hostObject;
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS params{&value, &put, 1, 1};
    object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYPUTREF, &params, nullptr,
                   nullptr, nullptr);
    name = com::widen(c.method->name);
    names[0] = name.data();
    object->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
    ids.push_back(id);
    std::vector<VARIANT> reversed(c.args.size());
    for (size_t i = 0; i < c.args.size(); ++i)
      com::toVariant(c.args[i], reversed[c.args.size() - 1 - i]);
    arguments.push_back(std::move(reversed));
  }
  auto start = std::chrono::steady_clock::now();
  for (int r = 0; r < rounds; ++r)
    for (size_t i = 0; i < calls.size(); ++i) {
      DISPPARAMS params{arguments[i].data(), nullptr, static_cast<UINT>(arguments[i].size()), 0};
      VARIANT result;
      VariantInit(&result);
      objects[i]->Invoke(ids[i], IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, &result,
                         nullptr, nullptr);
      VariantClear(&result);
    }
  const double platform = seconds(std::chrono::steady_clock::now() - start);
  for (auto* o : objects) o->Release();
  for (auto& a : arguments)
    for (auto& v : a) VariantClear(&v);
  hostObject->Release();

  // Numbers across the boundary, both ways.
  VARIANT number;
  number.vt = VT_I4;
  number.lVal = 42;
  const long before = allocations;
  for (int i = 0; i < 1000; ++i) {
    Variant v = com::fromVariant(number);
    VARIANT back;
    com::toVariant(v, back);
    VariantClear(&back);
  }
  const long numberAllocations = allocations - before;

  const double perCall = 1e6 / (static_cast<double>(rounds) * static_cast<double>(calls.size()));
  std::printf("members: %zu, rounds: %d\n", calls.size(), rounds);
  std::printf("core by name, C++ host:         %.2f us a call\n", core * perCall);
  std::printf("core by name, host by IDispatch: %.2f us a call\n", coreLateHost * perCall);
  std::printf("IDispatch, host by IDispatch:    %.2f us a call\n", platform * perCall);
  std::printf("ratio IDispatch / core by name, same host: %.2f\n", platform / coreLateHost);
  std::printf("ratio IDispatch / core by name, C++ host:  %.2f\n", platform / core);
  std::printf("allocations converting 1000 numbers both ways: %ld\n", numberAllocations);
  return 0;
}

}  // namespace
}  // namespace brelvane::bench

int main(int argc, char** argv) {
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  int status = brelvane::bench::run(argc > 1 ? std::atoi(argv[1]) : 50);
  CoUninitialize();
  return status;
}

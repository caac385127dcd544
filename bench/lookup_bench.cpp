// Composing lookups on a host that answers every text at once: what the
// component itself costs, in time and heap allocations per lookup.
#include <benchmark/benchmark.h>

#include "brelvane/brelvane.h"
#include "brelvane/lookup/clsci_lookup.h"

/// Heap allocations so far (counting_new.cpp replaces operator new).
long allocationCount();

namespace brelvane {
namespace {

// One object plays every role of the host; its texts are constants.
class ConstantHost final : public HostInterface, public std::enable_shared_from_this<ConstantHost> {
 public:
  struct Parts final : HostContext, MessageService, HostCompany, CompanySettings {
    std::shared_ptr<MessageService> Messages() override { return {self.lock(), this}; }
    std::shared_ptr<HostCompany> Company() override { return {self.lock(), this}; }
    std::string GetMessageText(int32_t, const SafeArray&) override {
      return "Descrizione dell'etichetta";
    }
    std::string PrepareSqlText(const std::string& text) override { return text; }
    std::shared_ptr<CompanySettings> Settings() override { return {self.lock(), this}; }
    Variant Code() override { return Variant(int32_t{1}); }
    Variant LanguageCode() override { return Variant("ITA"); }
    Variant CompanyMode() override { return Variant(int32_t{1}); }
    std::weak_ptr<ConstantHost> self;
  } parts;
  std::shared_ptr<HostContext> Context() override { return {shared_from_this(), &parts}; }
  Variant InstallationSetting() override { return Variant(int32_t{1}); }
};

void compose(benchmark::State& state, std::string_view lookup) {
  ObjectFactory factory;
  registerBrelvane(factory);
  auto lk = factory.createAs<CLSCI_LOOKUP>(CLSCI_LOOKUP::kProgId);
  auto host = std::make_shared<ConstantHost>();
  host->parts.self = host;
  lk->ActiveInterface = host;
  long before = allocationCount();
  for (auto _ : state) {
    lk->invoke(lookup, {});
    benchmark::DoNotOptimize(lk->Str_Sql.data());
  }
  if (lk->Str_Sql.empty()) state.SkipWithError("the lookup failed");
  state.counters["allocs_per_lookup"] = benchmark::Counter(
      static_cast<double>(allocationCount() - before) / static_cast<double>(state.iterations()));
  state.counters["sql_bytes"] = static_cast<double>(lk->Str_Sql.size());
}

BENCHMARK_CAPTURE(compose, NatureCosti, "NatureCosti");
BENCHMARK_CAPTURE(compose, TipiContiCoin, "TipiContiCoin");

}  // namespace
}  // namespace brelvane

BENCHMARK_MAIN();

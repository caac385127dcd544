// The diagnostics hook: it learns the error a lookup swallowed, and changes
// nothing of what the lookup leaves behind.
#include "brelvane/diagnostics.h"

#include <optional>
#include <vector>

#include "brelvane/lookup/clsci_lookup.h"
#include "fixture.h"

namespace brelvane::testing {
namespace {

/// The four outputs of a lookup run on a host whose `Code` fails.
struct Outputs {
  std::string sql, caption;
  Variant fields, id;
  bool operator==(const Outputs&) const = default;
};

Outputs failingNatureCosti() {
  World world;
  auto lk = world.create<CLSCI_LOOKUP>();
  lk->ActiveInterface = world.host({{"kind", "host"}, {"fail", {"Code"}}});
  call(*lk, "NatureCosti");
  return {lk->Str_Sql, lk->Str_Caption, lk->Arr_Fields, lk->IDLookup};
}

struct DiagnosticsTest : ::testing::Test {
  std::vector<SwallowedError> seen;
  void SetUp() override {
    previous = setDiagnosticsHook([this](const SwallowedError& e) { seen.push_back(e); });
  }
  void TearDown() override { setDiagnosticsHook(std::move(previous)); }
  DiagnosticsHook previous;
};

TEST_F(DiagnosticsTest, ReportsTheErrorALookupSwallowed) {
  Outputs hooked = failingNatureCosti();
  ASSERT_EQ(seen.size(), 1u);
  EXPECT_EQ(seen[0].number, 5);
  EXPECT_EQ(seen[0].source, "host");
  EXPECT_EQ(seen[0].description, "Code failed");
  EXPECT_EQ(hooked.sql, "");

  // Without the hook the lookup leaves exactly the same outputs.
  setDiagnosticsHook({});
  EXPECT_EQ(failingNatureCosti(), hooked);
  EXPECT_EQ(seen.size(), 1u);
}

TEST_F(DiagnosticsTest, SilentOnSuccessHandsBackThePreviousHookAndSurvivesARaisingOne) {
  World world;
  auto lk = world.create<CLSCI_LOOKUP>();
  lk->ActiveInterface = world.host();
  call(*lk, "NatureCosti");
  EXPECT_NE(lk->Str_Sql, "");
  EXPECT_TRUE(seen.empty());

  // Installing hands back the previous hook.
  int calls = 0;
  DiagnosticsHook replaced = setDiagnosticsHook([&](const SwallowedError&) { ++calls; });
  ASSERT_TRUE(replaced);  // the fixture's own hook
  replaced(SwallowedError{});
  EXPECT_EQ(seen.size(), 1u);
  failingNatureCosti();
  EXPECT_EQ(calls, 1);

  // A hook that raises must not turn the lookup into one that raises.
  setDiagnosticsHook([](const SwallowedError&) { throw std::runtime_error("hook"); });
  EXPECT_EQ(failingNatureCosti().sql, "");
}

}  // namespace
}  // namespace brelvane::testing

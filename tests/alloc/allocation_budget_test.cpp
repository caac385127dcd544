// Allocation budgets: on a zero-cost host a call may allocate once for each
// text the host hands back and at most three times besides (the composed text
// and the few queries or fragments composed apart). The call measured is the
// second on an instance, the one a host pays every time: the first also makes
// what the instance keeps (its output array and buffers, a command, a launcher).
#include <gtest/gtest.h>

#include <sstream>

#include "support/zero_cost.h"

/// Heap allocations so far (support/counting_new.cpp replaces operator new).
long allocationCount();

namespace brelvane {
namespace {

TEST(AllocationBudget, EveryMemberStaysWithinItsHostTextsPlusThree) {
  auto world = zerocost::World::make();
  auto members = zerocost::members(*world);
  ASSERT_GT(members.size(), 100u);
  std::ostringstream over;
  long texts = 0;
  for (auto& m : members) {
    m.object->invoke(m.method->name, m.args);
    world->counts.reset();
    const long before = allocationCount();
    m.object->invoke(m.method->name, m.args);
    const long made = allocationCount() - before;
    const long budget = world->counts.texts + 3;
    texts += world->counts.texts;
    if (made > budget)
      over << "\n  " << m.cls->progId << "." << m.method->name << ": " << made
           << " allocations, budget " << budget;
  }
  EXPECT_TRUE(over.str().empty()) << "members over their allocation budget:" << over.str();
  // The budget means something only if the host's texts were counted.
  EXPECT_GT(texts, 500);
}

}  // namespace
}  // namespace brelvane

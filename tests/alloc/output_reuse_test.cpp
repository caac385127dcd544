// Outputs are rewritten in the storage they already have, yet what a member
// leaves must not depend on what the instance composed before: each, called
// after all the others (in two orders), leaves what it leaves when alone.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>

#include "support/zero_cost.h"

namespace brelvane {
namespace {

constexpr const char* kOutputs[] = {"Str_Sql", "Arr_Fields", "Str_Caption", "IDLookup"};
const Variant kUntouched("untouched");

/// The outputs an object has (a decoder has the first two only), each
/// Empty when the class has none.
std::vector<Variant> outputsOf(Dispatch& object) {
  std::vector<Variant> values;
  for (const char* name : kOutputs)
    values.push_back(object.classInfo()->findProperty(name) ? object.get(name) : Variant());
  return values;
}

/// The outputs that differ, of those the member wrote on a fresh instance
/// (where each started as kUntouched).
std::string differences(const std::vector<Variant>& fresh, const std::vector<Variant>& used) {
  std::string out;
  for (size_t i = 0; i < fresh.size(); ++i)
    if (!(fresh[i] == kUntouched) && !(fresh[i] == used[i])) out += std::string(" ") + kOutputs[i];
  return out;
}

TEST(OutputReuse, WhatAMemberLeavesDoesNotDependOnTheInstancesPast) {
  auto world = zerocost::World::make();
  auto members = zerocost::members(*world);
  std::map<const ClassInfo*, std::vector<zerocost::Member*>> byClass;
  std::map<const zerocost::Member*, std::vector<Variant>> fresh;
  for (auto& m : members) {
    if (!m.cls->findProperty("Str_Sql")) continue;
    for (const char* name : kOutputs)
      if (m.cls->findProperty(name)) m.object->put(name, kUntouched);
    m.object->invoke(m.method->name, m.args);
    fresh[&m] = outputsOf(*m.object);
    byClass[m.cls].push_back(&m);
  }
  ASSERT_EQ(byClass.size(), 2u);
  std::ostringstream wrong;
  for (auto& [cls, list] : byClass) {
    auto shared = world->factory.create(cls->progId);
    shared->putRef("ActiveInterface", Variant(std::shared_ptr<Dispatch>(world->host)));
    shared->putRef("Connessione", Variant(std::shared_ptr<Dispatch>(world->connection)));
    for (int round = 0; round < 2; ++round) {
      for (zerocost::Member* m : list) {
        shared->invoke(m->method->name, m->args);
        if (auto d = differences(fresh[m], outputsOf(*shared)); !d.empty())
          wrong << "\n  " << m->method->name << " (round " << round << "):" << d;
      }
      std::reverse(list.begin(), list.end());
    }
  }
  EXPECT_TRUE(wrong.str().empty()) << "outputs that differ on a used instance:" << wrong.str();
}

}  // namespace
}  // namespace brelvane

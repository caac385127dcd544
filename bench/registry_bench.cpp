// Every member of the three classes, taken from the registry, priced on a
// zero-cost host: one call directly (through the registered callable, as a
// C++ caller would) and one by name (as a host does), each against the
// member's floor, measured in the same run: the host calls it makes, made
// again on the same zero-cost objects without composing anything, plus a
// copy of its output.
//
// Names: member/<ProgID>/<Member>/direct|byname, catalogue/direct|byname
// (one call of each member). Counters: allocs (heap allocations per call),
// host_calls, out_bytes, floor_ns and ratio (time per call / floor).
#include <benchmark/benchmark.h>
#include <time.h>

#include <cstring>
#include <string>
#include <vector>

#include "support/zero_cost.h"

/// Heap allocations so far (support/counting_new.cpp replaces operator new).
long allocationCount();

namespace brelvane {
namespace {

/// The thread's CPU time in nanoseconds: the member and its floor are
/// timed alike, and what other processes do on the machine does not count.
double cpuNow() {
  timespec t{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) * 1e9 + static_cast<double>(t.tv_nsec);
}

/// What one member costs at the least: its recorded host calls, and a copy
/// of an output as long as its own.
struct Floor {
  std::vector<zerocost::Step> steps;
  long hostCalls = 0;
  std::string output;
};

void call(zerocost::Member& m, bool byName) {
  if (byName)
    m.object->invoke(m.method->name, m.args);
  else
    m.method->call(*m.object, m.args);
}

Floor recordFloor(zerocost::World& w, zerocost::Member& m) {
  w.steps.clear();
  w.counts.reset();
  w.record = true;
  call(m, false);
  w.record = false;
  Floor f{std::move(w.steps), w.counts.calls, std::string(m.outputBytes(), 'x')};
  w.steps.clear();
  return f;
}

/// Nanoseconds per replay of the floors, timed over enough rounds.
double floorNanoseconds(zerocost::World& w, std::vector<Floor*> floors) {
  std::string target;
  constexpr int kRounds = 2000;
  const double start = cpuNow();
  for (int i = 0; i < kRounds; ++i) {
    for (Floor* f : floors) {
      for (auto& step : f->steps) step(w);
      target.resize(f->output.size());
      std::memcpy(target.data(), f->output.data(), f->output.size());
      benchmark::DoNotOptimize(target.data());
    }
  }
  return (cpuNow() - start) / kRounds;
}

void report(benchmark::State& state, long allocations, double elapsedNs, long hostCalls,
            size_t outBytes, double floorNs) {
  const double n = static_cast<double>(state.iterations());
  const double perCall = elapsedNs / n;
  state.counters["allocs"] = static_cast<double>(allocations) / n;
  state.counters["host_calls"] = static_cast<double>(hostCalls);
  state.counters["out_bytes"] = static_cast<double>(outBytes);
  state.counters["floor_ns"] = floorNs;
  state.counters["ratio"] = floorNs > 0 ? perCall / floorNs : 0;
}

struct Catalogue {
  std::shared_ptr<zerocost::World> world = zerocost::World::make();
  std::vector<zerocost::Member> members = zerocost::members(*world);
  std::vector<Floor> floors;
};

Catalogue& catalogue() {
  static Catalogue c;
  return c;
}

void member(benchmark::State& state, size_t index, bool byName) {
  Catalogue& c = catalogue();
  zerocost::Member& m = c.members[index];
  Floor& floor = c.floors[index];
  const double floorNs = floorNanoseconds(*c.world, {&floor});
  const long before = allocationCount();
  const double start = cpuNow();
  for (auto _ : state) call(m, byName);
  const double elapsed = cpuNow() - start;
  report(state, allocationCount() - before, elapsed, floor.hostCalls, floor.output.size(), floorNs);
}

void wholeCatalogue(benchmark::State& state, bool byName) {
  Catalogue& c = catalogue();
  std::vector<Floor*> floors;
  long hostCalls = 0;
  size_t bytes = 0;
  for (Floor& f : c.floors) {
    floors.push_back(&f);
    hostCalls += f.hostCalls;
    bytes += f.output.size();
  }
  const double floorNs = floorNanoseconds(*c.world, floors);
  const long before = allocationCount();
  const double start = cpuNow();
  for (auto _ : state)
    for (auto& m : c.members) call(m, byName);
  const double elapsed = cpuNow() - start;
  report(state, allocationCount() - before, elapsed, hostCalls, bytes, floorNs);
}

}  // namespace
}  // namespace brelvane

int main(int argc, char** argv) {
  using namespace brelvane;
  Catalogue& c = catalogue();
  for (auto& m : c.members) c.floors.push_back(recordFloor(*c.world, m));
  benchmark::RegisterBenchmark("catalogue/direct", wholeCatalogue, false);
  benchmark::RegisterBenchmark("catalogue/byname", wholeCatalogue, true);
  for (size_t i = 0; i < c.members.size(); ++i) {
    const std::string name = "member/" + c.members[i].cls->progId + "/" + c.members[i].method->name;
    benchmark::RegisterBenchmark((name + "/direct").c_str(), member, i, false);
    benchmark::RegisterBenchmark((name + "/byname").c_str(), member, i, true);
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

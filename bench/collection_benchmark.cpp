// Keyed collections against std::unordered_map with the same keys and the same hash, in one run.
// Each iteration inserts N keys, looks each up once and erases them all; the rate counts those
// 3N operations. The attribute and collection cases notify one attached observer on every insert
// and erase; the table cases use the framework's tables alone. N runs from the one or few keys
// that most of the pipeline's tables hold to 100,000.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/vela/IpAddr.h"
#include "platform/vela/MplsLabel.h"
#include "platform/vox/Hash.h"
#include "platform/vox/KeyedTable.h"
#include "platform/vox/TrackingAllocator.h"
#include "quill/model/IpNexthopInfoColl.h"
#include "quill/model/RouterIpAddrInfo.h"

namespace {

std::vector<Vela::IpGenAddr> addresses(int64_t count) {
  std::vector<Vela::IpGenAddr> keys;
  keys.reserve(static_cast<std::size_t>(count));
  for (int64_t i = 0; i < count; ++i) {
    keys.emplace_back(Vela::IpAddr(0x0a000000u + static_cast<uint32_t>(i) * 7u));
  }
  return keys;
}

// The hash the framework's tables use, handed to the standard containers.
struct FrameworkHash {
  std::size_t operator()(const Vela::IpGenAddr& key) const {
    return Vox::HashHelper::KeyAndRhashLegacy(Vox::hashOfKey(key));
  }
};

template <class Entity>
struct CountingObserver : Entity::NotifieeConst {
  void onAttribute(const Vox::AttributeInfo&, const void*) override { ++notifications; }
  int64_t notifications = 0;
};

void setCounters(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * state.range(0) * 3);
}

void BM_KeyedSetAttributeIsFindDel(benchmark::State& state) {
  const auto keys = addresses(state.range(0));
  auto entity = Vox::create<Mpls::RouterIpAddrInfo>(Mpls::RouterId(0x02020202, 0));
  CountingObserver<Mpls::RouterIpAddrInfo> observer;
  observer.notifierIs(entity);
  observer.hasNotificationActiveIs(true);
  for (auto _ : state) {
    for (const auto& key : keys)
      entity->ipAddrIs(key);
    for (const auto& key : keys)
      benchmark::DoNotOptimize(entity->ipAddr(key));
    for (const auto& key : keys)
      entity->ipAddrDel(key);
  }
  setCounters(state);
}

void BM_UnorderedSetInsertFindErase(benchmark::State& state) {
  const auto keys = addresses(state.range(0));
  std::unordered_set<Vela::IpGenAddr, FrameworkHash> set;
  for (auto _ : state) {
    for (const auto& key : keys)
      set.insert(key);
    for (const auto& key : keys)
      benchmark::DoNotOptimize(set.count(key));
    for (const auto& key : keys)
      set.erase(key);
  }
  setCounters(state);
}

void BM_EntityCollIsFindDel(benchmark::State& state) {
  const auto keys = addresses(state.range(0));
  auto coll = Vox::create<Mpls::IpNexthopInfoColl>();
  CountingObserver<Mpls::IpNexthopInfoColl> observer;
  observer.notifierIs(coll);
  observer.hasNotificationActiveIs(true);
  for (auto _ : state) {
    for (const auto& key : keys)
      coll->ipNexthopIs(key);
    for (const auto& key : keys)
      benchmark::DoNotOptimize(coll->ipNexthop(key));
    for (const auto& key : keys)
      coll->ipNexthopDel(key);
  }
  setCounters(state);
}

// The same work with the member objects held by a standard map: each insert allocates a member
// of the same type, each erase frees it.
void BM_UnorderedMapOfMembersEmplaceFindErase(benchmark::State& state) {
  const auto keys = addresses(state.range(0));
  std::unordered_map<Vela::IpGenAddr, Vox::Ptr<Mpls::IpNexthopInfo>, FrameworkHash> map;
  for (auto _ : state) {
    for (const auto& key : keys)
      map.try_emplace(key, new Mpls::IpNexthopInfo(key));
    for (const auto& key : keys)
      benchmark::DoNotOptimize(map.find(key));
    for (const auto& key : keys)
      map.erase(key);
  }
  setCounters(state);
}

void BM_KeyedSetInsertFindErase(benchmark::State& state) {
  const auto keys = addresses(state.range(0));
  Vox::KeyedSet<Vela::IpGenAddr> set;
  for (auto _ : state) {
    for (const auto& key : keys)
      set.insert(key);
    for (const auto& key : keys)
      benchmark::DoNotOptimize(set.contains(key));
    for (const auto& key : keys)
      set.erase(key);
  }
  setCounters(state);
}

void BM_KeyedTableInsertFindErase(benchmark::State& state) {
  const auto keys = addresses(state.range(0));
  Vox::KeyedTable<Vela::IpGenAddr, uint64_t> table;
  for (auto _ : state) {
    for (const auto& key : keys)
      table.insert(key, 1);
    for (const auto& key : keys)
      benchmark::DoNotOptimize(table.find(key));
    for (const auto& key : keys)
      table.erase(key);
  }
  setCounters(state);
}

void BM_UnorderedMapInsertFindErase(benchmark::State& state) {
  const auto keys = addresses(state.range(0));
  std::unordered_map<Vela::IpGenAddr, uint64_t, FrameworkHash> map;
  for (auto _ : state) {
    for (const auto& key : keys)
      map.try_emplace(key, 1);
    for (const auto& key : keys)
      benchmark::DoNotOptimize(map.find(key));
    for (const auto& key : keys)
      map.erase(key);
  }
  setCounters(state);
}

// What a small label set costs: many sets of N labels each, built and destroyed per iteration.
// The counters give each set's bytes: the object itself and what it holds on the heap.
void BM_SmallLabelSets(benchmark::State& state) {
  using Set = Vox::KeyedSet<Vela::MplsLabel>;
  constexpr std::size_t kSets = 4096;
  const auto labels = static_cast<uint32_t>(state.range(0));
  int64_t heapBytes = 0;
  for (auto _ : state) {
    const int64_t before = Vox::Memory::liveBytes(Vox::MemoryKind::kKeyedSet);
    auto sets = std::make_unique<Set[]>(kSets);
    for (std::size_t s = 0; s < kSets; ++s) {
      for (uint32_t l = 0; l < labels; ++l)
        sets[s].insert(Vela::MplsLabel(16 + l));
    }
    heapBytes = Vox::Memory::liveBytes(Vox::MemoryKind::kKeyedSet) - before;
    benchmark::DoNotOptimize(sets.get());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kSets));
  state.counters["object_bytes"] = static_cast<double>(sizeof(Set));
  state.counters["heap_bytes"] = static_cast<double>(heapBytes) / kSets;
}

// 1 and 4 are the common sizes of the pipeline's tables; 1,000 and 100,000 the large ones.
void collectionSizes(benchmark::internal::Benchmark* b) {
  for (const int64_t size : {1, 4, 1000, 100000})
    b->Arg(size);
}
BENCHMARK(BM_KeyedSetAttributeIsFindDel)->Apply(collectionSizes);
BENCHMARK(BM_KeyedSetInsertFindErase)->Apply(collectionSizes);
BENCHMARK(BM_UnorderedSetInsertFindErase)->Apply(collectionSizes);
BENCHMARK(BM_KeyedTableInsertFindErase)->Apply(collectionSizes);
BENCHMARK(BM_UnorderedMapInsertFindErase)->Apply(collectionSizes);
BENCHMARK(BM_EntityCollIsFindDel)->Apply(collectionSizes);
BENCHMARK(BM_UnorderedMapOfMembersEmplaceFindErase)->Apply(collectionSizes);
BENCHMARK(BM_SmallLabelSets)->Arg(1)->Arg(2)->Arg(4);

}  // namespace

BENCHMARK_MAIN();

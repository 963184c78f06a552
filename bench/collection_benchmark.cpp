// Keyed collections against std::unordered_map with the same keys and the same hash, in one run.
// Each iteration inserts N keys, looks each up once and erases them all; the rate counts those
// 3N operations. The framework's side notifies one attached observer on every insert and erase.
#include <benchmark/benchmark.h>

#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/vela/IpAddr.h"
#include "platform/vox/Hash.h"
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

BENCHMARK(BM_KeyedSetAttributeIsFindDel)->Arg(1000)->Arg(100000);
BENCHMARK(BM_UnorderedSetInsertFindErase)->Arg(1000)->Arg(100000);
BENCHMARK(BM_EntityCollIsFindDel)->Arg(1000)->Arg(100000);
BENCHMARK(BM_UnorderedMapOfMembersEmplaceFindErase)->Arg(1000)->Arg(100000);

}  // namespace

BENCHMARK_MAIN();

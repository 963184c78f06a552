// Each compiled stage and its hand-written twin, fed the same long random sequences of input
// changes side by side, must leave the same output after every change.
//
// The two variants are defined to differ in two ways, which these tests keep apart:
// - an input entity removed whole while it still holds members: the compiled stage withdraws
//   what it held at once, the hand-written one only at its next initialization. The random
//   sequences below empty an entity before removing it, where both must agree; the last test
//   checks the difference itself.
// - the hand-written router next-hop stage also writes each via's justifications
//   (`nexthopIpInfo`); the compiled one writes only the `via` sets, which is what is compared.
#include <gtest/gtest.h>

#include <random>

#include "quill/flux/IntfToRouterNexthopInfoSm.h"
#include "quill/flux/IpAddrToRouterIdInfoSm.h"
#include "quill/flux/RouterIdToIpNexthopInfoSm.h"
#include "quill/flux/RouterIdToNexthopInfoSm.h"
#include "quill/nexthop/IntfRouterNexthopInfoSm.h"
#include "quill/nexthop/RouterIpNexthopInfoSm.h"
#include "quill/nexthop/RouterNexthopInfoSm.h"
#include "quill/resolve/IpAddrRouterIdInfoSm.h"
#include "tests/support/Contents.h"
#include "tests/support/Values.h"

namespace {

using namespace Mpls;
using QuillTest::Lines;

RouterId router(uint32_t n) {
  return RouterId(0x02000000u + n, 0);
}
Vela::IpGenAddr address(uint32_t n) {
  return Vela::IpGenAddr(Vela::IpAddr(0x0a000000u + n));
}
Vela::IntfId intf(uint32_t n) {
  return Vela::IntfId(Vela::IntfId::Kind::ethernet, 1 + n);
}
FibVia via(uint32_t hop, uint32_t i) {
  return FibVia(address(100 + hop), intf(i));
}

// Adds or removes (key, member) in a keyed entity's set, removing an entity only once empty.
template <class Coll, class Key, class Member, class EntityIs, class EntityLookup, class EntityDel,
          class SetIs, class SetDel, class SetCount>
void toggle(bool add, const Key& key, const Member& member, EntityIs entityIs, EntityLookup lookup,
            EntityDel entityDel, SetIs setIs, SetDel setDel, SetCount count) {
  if (add) {
    setIs(entityIs(key), member);
    return;
  }
  auto entity = lookup(key);
  if (!entity) return;
  setDel(entity, member);
  if (count(entity) == 0) entityDel(key);
}

struct Inversion {
  using Compiled = IpAddrToRouterIdInfoSm;
  using HandWritten = IpAddrRouterIdInfoSm;
  Vox::Ptr<RouterIpAddrInfoColl> in = Vox::create<RouterIpAddrInfoColl>();
  Vox::Ptr<IpAddrRouterIdInfoColl> compiledOut = Vox::create<IpAddrRouterIdInfoColl>();
  Vox::Ptr<IpAddrRouterIdInfoColl> handWrittenOut = Vox::create<IpAddrRouterIdInfoColl>();
  Vox::Ptr<Compiled> compiled = Compiled::IpAddrToRouterIdInfoSmIs(in, compiledOut);
  Vox::Ptr<HandWritten> handWritten = HandWritten::IpAddrRouterIdInfoSmIs(in, handWrittenOut);

  void step(std::mt19937& random) {
    const RouterId r = router(random() % 4);
    toggle<RouterIpAddrInfoColl>(
        random() % 3 != 0, r, address(random() % 6), [&](auto k) { return in->routerIpAddrIs(k); },
        [&](auto k) { return in->routerIpAddr(k); }, [&](auto k) { in->routerIpAddrDel(k); },
        [](auto e, auto m) { e->ipAddrIs(m); }, [](auto e, auto m) { e->ipAddrDel(m); },
        [](auto e) { return e->ipAddrs(); });
  }
  static Lines lines(const IpAddrRouterIdInfoColl& out) {
    return QuillTest::contents(out.ipAddrRouterIdColl(), &IpAddrRouterIdInfo::routerIdColl);
  }
  Lines compiledLines() const { return lines(*compiledOut); }
  Lines handWrittenLines() const { return lines(*handWrittenOut); }
  void removeSomeEntityWhole() { in->routerIpAddrDel(in->routerIpAddrColl().begin().key()); }
  void reinitializeHandWritten() { handWritten->handleInitialized(); }
};

struct Concat {
  using Compiled = RouterIdToNexthopInfoSm;
  using HandWritten = RouterNexthopInfoSm;
  Vox::Ptr<IpAddrRouterIdInfoColl> routers = Vox::create<IpAddrRouterIdInfoColl>();
  Vox::Ptr<IpNexthopInfoColl> nexthops = Vox::create<IpNexthopInfoColl>();
  Vox::Ptr<RouterNexthopInfoColl> compiledOut = Vox::create<RouterNexthopInfoColl>();
  Vox::Ptr<RouterNexthopInfoColl> handWrittenOut = Vox::create<RouterNexthopInfoColl>();
  Vox::Ptr<Compiled> compiled = Compiled::RouterIdToNexthopInfoSmIs(routers, nexthops, compiledOut);
  Vox::Ptr<HandWritten> handWritten =
      HandWritten::RouterNexthopInfoSmIs(routers, nexthops, handWrittenOut);

  void step(std::mt19937& random) {
    const auto a = address(random() % 6);
    const bool add = random() % 3 != 0;
    if (random() % 2) {
      toggle<IpAddrRouterIdInfoColl>(
          add, a, router(random() % 3), [&](auto k) { return routers->ipAddrRouterIdIs(k); },
          [&](auto k) { return routers->ipAddrRouterId(k); },
          [&](auto k) { routers->ipAddrRouterIdDel(k); }, [](auto e, auto m) { e->routerIdIs(m); },
          [](auto e, auto m) { e->routerIdDel(m); }, [](auto e) { return e->routerIds(); });
    } else {
      toggle<IpNexthopInfoColl>(
          add, a, via(random() % 3, random() % 2), [&](auto k) { return nexthops->ipNexthopIs(k); },
          [&](auto k) { return nexthops->ipNexthop(k); },
          [&](auto k) { nexthops->ipNexthopDel(k); }, [](auto e, auto m) { e->viaIs(m); },
          [](auto e, auto m) { e->viaDel(m); }, [](auto e) { return e->vias(); });
    }
  }
  static Lines lines(const RouterNexthopInfoColl& out) {
    return QuillTest::contents(out.routerNexthopColl(), &RouterNexthopInfo::viaColl);
  }
  Lines compiledLines() const { return lines(*compiledOut); }
  Lines handWrittenLines() const { return lines(*handWrittenOut); }
  void removeSomeEntityWhole() { nexthops->ipNexthopDel(nexthops->ipNexthopColl().begin().key()); }
  void reinitializeHandWritten() { handWritten->handleInitialized(); }
};

struct IntfGrouping {
  using Compiled = IntfToRouterNexthopInfoSm;
  using HandWritten = IntfRouterNexthopInfoSm;
  Vox::Ptr<RouterNexthopInfoColl> in = Vox::create<RouterNexthopInfoColl>();
  Vox::Ptr<IntfRouterNexthopInfoColl> compiledOut = Vox::create<IntfRouterNexthopInfoColl>();
  Vox::Ptr<IntfRouterNexthopInfoColl> handWrittenOut = Vox::create<IntfRouterNexthopInfoColl>();
  Vox::Ptr<Compiled> compiled = Compiled::IntfToRouterNexthopInfoSmIs(in, compiledOut);
  Vox::Ptr<HandWritten> handWritten = HandWritten::IntfRouterNexthopInfoSmIs(in, handWrittenOut);

  void step(std::mt19937& random) {
    toggle<RouterNexthopInfoColl>(
        random() % 3 != 0, router(random() % 4), via(random() % 3, random() % 3),
        [&](auto k) { return in->routerNexthopIs(k); },
        [&](auto k) { return in->routerNexthop(k); }, [&](auto k) { in->routerNexthopDel(k); },
        [](auto e, auto m) { e->viaIs(m); }, [](auto e, auto m) { e->viaDel(m); },
        [](auto e) { return e->vias(); });
  }
  static Lines lines(const IntfRouterNexthopInfoColl& out) {
    return QuillTest::contents(out.intfRouterNexthopColl(),
                               &IntfRouterNexthopInfo::routerNexthopInfoColl,
                               &RouterNexthopInfo::viaColl);
  }
  Lines compiledLines() const { return lines(*compiledOut); }
  Lines handWrittenLines() const { return lines(*handWrittenOut); }
  void removeSomeEntityWhole() { in->routerNexthopDel(in->routerNexthopColl().begin().key()); }
  void reinitializeHandWritten() { handWritten->handleInitialized(); }
};

struct MplsFilter {
  using Compiled = RouterIdToIpNexthopInfoSm;
  using HandWritten = RouterIpNexthopInfoSm;
  Vox::Ptr<IntfRouterNexthopInfoColl> in = Vox::create<IntfRouterNexthopInfoColl>();
  Vox::Ptr<MplsIntfColl> mplsIntfs = Vox::create<MplsIntfColl>();
  Vox::Ptr<RouterIpNexthopInfoColl> compiledOut = Vox::create<RouterIpNexthopInfoColl>();
  Vox::Ptr<RouterIpNexthopInfoColl> handWrittenOut = Vox::create<RouterIpNexthopInfoColl>();
  Vox::Ptr<Compiled> compiled = Compiled::RouterIdToIpNexthopInfoSmIs(in, mplsIntfs, compiledOut);
  Vox::Ptr<HandWritten> handWritten =
      HandWritten::RouterIpNexthopInfoSmIs(in, mplsIntfs, handWrittenOut);

  void step(std::mt19937& random) {
    const uint32_t i = random() % 3;
    const bool add = random() % 3 != 0;
    if (random() % 4 == 0) {
      if (add) {
        mplsIntfs->intfIdIs(intf(i));
      } else {
        mplsIntfs->intfIdDel(intf(i));
      }
      return;
    }
    // A via is listed only under its own interface, as interface grouping lists it.
    const RouterId r = router(random() % 3);
    const FibVia v = via(random() % 3, i);
    if (add) {
      in->intfRouterNexthopIs(intf(i))->routerNexthopInfoIs(r)->viaIs(v);
      return;
    }
    const auto entry = in->intfRouterNexthop(intf(i));
    const auto perRouter = entry ? entry->routerNexthopInfo(r) : nullptr;
    if (!perRouter) return;
    perRouter->viaDel(v);
    if (perRouter->vias() == 0) entry->routerNexthopInfoDel(r);
    if (entry->routerNexthopInfos() == 0) in->intfRouterNexthopDel(intf(i));
  }
  static Lines lines(const RouterIpNexthopInfoColl& out) {
    return QuillTest::contents(out.routerIpNexthopColl(), &RouterIpNexthopInfo::ipNexthopInfoColl,
                               &IpNexthopInfo::viaColl);
  }
  Lines compiledLines() const { return lines(*compiledOut); }
  Lines handWrittenLines() const { return lines(*handWrittenOut); }
  void removeSomeEntityWhole() {
    in->intfRouterNexthopDel(in->intfRouterNexthopColl().begin().key());
  }
  void reinitializeHandWritten() { handWritten->handleInitialized(); }
};

template <class Stage>
class FluxEquivalenceTest : public ::testing::Test {};
using Stages = ::testing::Types<Inversion, Concat, IntfGrouping, MplsFilter>;
TYPED_TEST_SUITE(FluxEquivalenceTest, Stages);

TYPED_TEST(FluxEquivalenceTest, SameOutputAfterEveryChangeOfLongRandomSequences) {
  for (const uint32_t seed : {1u, 2u, 3u, 4u}) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    TypeParam stage;
    std::size_t largest = 0;
    for (int step = 0; step < 1500; ++step) {
      stage.step(random);
      const Lines compiled = stage.compiledLines();
      ASSERT_EQ(compiled, stage.handWrittenLines()) << "after step " << step;
      largest = std::max(largest, compiled.size());
    }
    EXPECT_GT(largest, 4u) << "the sequence exercised a non-trivial output";
  }
}

TYPED_TEST(FluxEquivalenceTest, AWholeEntityRemovalDiffersUntilTheHandWrittenStageReinitializes) {
  std::mt19937 random(9);
  TypeParam stage;
  for (int step = 0; step < 200; ++step)
    stage.step(random);
  ASSERT_EQ(stage.compiledLines(), stage.handWrittenLines());
  stage.removeSomeEntityWhole();
  const Lines compiled = stage.compiledLines();
  stage.reinitializeHandWritten();
  EXPECT_EQ(stage.handWrittenLines(), compiled);
}

}  // namespace

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

// Each stage below: its input tables, a compiled and a hand-written instance writing separate
// outputs, `step` making one random input change (removing an input entity only once empty),
// `lines` flattening an output and `removeSomeEntityWhole`.
struct Inversion {
  Vox::Ptr<RouterIpAddrInfoColl> in = Vox::create<RouterIpAddrInfoColl>();
  Vox::Ptr<IpAddrRouterIdInfoColl> compiledOut = Vox::create<IpAddrRouterIdInfoColl>();
  Vox::Ptr<IpAddrRouterIdInfoColl> handWrittenOut = Vox::create<IpAddrRouterIdInfoColl>();
  Vox::Ptr<IpAddrToRouterIdInfoSm> compiled =
      IpAddrToRouterIdInfoSm::IpAddrToRouterIdInfoSmIs(in, compiledOut);
  Vox::Ptr<IpAddrRouterIdInfoSm> handWritten =
      IpAddrRouterIdInfoSm::IpAddrRouterIdInfoSmIs(in, handWrittenOut);

  void step(std::mt19937& random) {
    const RouterId r = router(random() % 4);
    const auto a = address(random() % 6);
    if (random() % 3 != 0) {
      in->routerIpAddrIs(r)->ipAddrIs(a);
    } else if (const auto entry = in->routerIpAddr(r)) {
      entry->ipAddrDel(a);
      if (entry->ipAddrs() == 0) in->routerIpAddrDel(r);
    }
  }
  static Lines lines(const IpAddrRouterIdInfoColl& out) {
    return QuillTest::contents(out.ipAddrRouterIdColl(), &IpAddrRouterIdInfo::routerIdColl);
  }
  void removeSomeEntityWhole() { in->routerIpAddrDel(in->routerIpAddrColl().begin().key()); }
};

struct Concat {
  Vox::Ptr<IpAddrRouterIdInfoColl> routers = Vox::create<IpAddrRouterIdInfoColl>();
  Vox::Ptr<IpNexthopInfoColl> nexthops = Vox::create<IpNexthopInfoColl>();
  Vox::Ptr<RouterNexthopInfoColl> compiledOut = Vox::create<RouterNexthopInfoColl>();
  Vox::Ptr<RouterNexthopInfoColl> handWrittenOut = Vox::create<RouterNexthopInfoColl>();
  Vox::Ptr<RouterIdToNexthopInfoSm> compiled =
      RouterIdToNexthopInfoSm::RouterIdToNexthopInfoSmIs(routers, nexthops, compiledOut);
  Vox::Ptr<RouterNexthopInfoSm> handWritten =
      RouterNexthopInfoSm::RouterNexthopInfoSmIs(routers, nexthops, handWrittenOut);

  void step(std::mt19937& random) {
    const auto a = address(random() % 6);
    const bool add = random() % 3 != 0;
    if (random() % 2) {
      const RouterId r = router(random() % 3);
      if (add) {
        routers->ipAddrRouterIdIs(a)->routerIdIs(r);
      } else if (const auto entry = routers->ipAddrRouterId(a)) {
        entry->routerIdDel(r);
        if (entry->routerIds() == 0) routers->ipAddrRouterIdDel(a);
      }
    } else {
      const FibVia v = via(random() % 3, random() % 2);
      if (add) {
        nexthops->ipNexthopIs(a)->viaIs(v);
      } else if (const auto entry = nexthops->ipNexthop(a)) {
        entry->viaDel(v);
        if (entry->vias() == 0) nexthops->ipNexthopDel(a);
      }
    }
  }
  static Lines lines(const RouterNexthopInfoColl& out) {
    return QuillTest::contents(out.routerNexthopColl(), &RouterNexthopInfo::viaColl);
  }
  void removeSomeEntityWhole() { nexthops->ipNexthopDel(nexthops->ipNexthopColl().begin().key()); }
};

struct IntfGrouping {
  Vox::Ptr<RouterNexthopInfoColl> in = Vox::create<RouterNexthopInfoColl>();
  Vox::Ptr<IntfRouterNexthopInfoColl> compiledOut = Vox::create<IntfRouterNexthopInfoColl>();
  Vox::Ptr<IntfRouterNexthopInfoColl> handWrittenOut = Vox::create<IntfRouterNexthopInfoColl>();
  Vox::Ptr<IntfToRouterNexthopInfoSm> compiled =
      IntfToRouterNexthopInfoSm::IntfToRouterNexthopInfoSmIs(in, compiledOut);
  Vox::Ptr<IntfRouterNexthopInfoSm> handWritten =
      IntfRouterNexthopInfoSm::IntfRouterNexthopInfoSmIs(in, handWrittenOut);

  void step(std::mt19937& random) {
    const RouterId r = router(random() % 4);
    const FibVia v = via(random() % 3, random() % 3);
    if (random() % 3 != 0) {
      in->routerNexthopIs(r)->viaIs(v);
    } else if (const auto entry = in->routerNexthop(r)) {
      entry->viaDel(v);
      if (entry->vias() == 0) in->routerNexthopDel(r);
    }
  }
  static Lines lines(const IntfRouterNexthopInfoColl& out) {
    return QuillTest::contents(out.intfRouterNexthopColl(),
                               &IntfRouterNexthopInfo::routerNexthopInfoColl,
                               &RouterNexthopInfo::viaColl);
  }
  void removeSomeEntityWhole() { in->routerNexthopDel(in->routerNexthopColl().begin().key()); }
};

struct MplsFilter {
  Vox::Ptr<IntfRouterNexthopInfoColl> in = Vox::create<IntfRouterNexthopInfoColl>();
  Vox::Ptr<MplsIntfColl> mplsIntfs = Vox::create<MplsIntfColl>();
  Vox::Ptr<RouterIpNexthopInfoColl> compiledOut = Vox::create<RouterIpNexthopInfoColl>();
  Vox::Ptr<RouterIpNexthopInfoColl> handWrittenOut = Vox::create<RouterIpNexthopInfoColl>();
  Vox::Ptr<RouterIdToIpNexthopInfoSm> compiled =
      RouterIdToIpNexthopInfoSm::RouterIdToIpNexthopInfoSmIs(in, mplsIntfs, compiledOut);
  Vox::Ptr<RouterIpNexthopInfoSm> handWritten =
      RouterIpNexthopInfoSm::RouterIpNexthopInfoSmIs(in, mplsIntfs, handWrittenOut);

  void step(std::mt19937& random) {
    const uint32_t i = random() % 3;
    const bool add = random() % 3 != 0;
    if (random() % 4 == 0) {
      add ? mplsIntfs->intfIdIs(intf(i)) : mplsIntfs->intfIdDel(intf(i));
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
  void removeSomeEntityWhole() {
    in->intfRouterNexthopDel(in->intfRouterNexthopColl().begin().key());
  }
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
      const Lines compiled = stage.lines(*stage.compiledOut);
      ASSERT_EQ(compiled, stage.lines(*stage.handWrittenOut)) << "after step " << step;
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
  ASSERT_EQ(stage.lines(*stage.compiledOut), stage.lines(*stage.handWrittenOut));
  stage.removeSomeEntityWhole();
  const Lines compiled = stage.lines(*stage.compiledOut);
  stage.handWritten->handleInitialized();
  EXPECT_EQ(stage.lines(*stage.handWrittenOut), compiled);
}

}  // namespace

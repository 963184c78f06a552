#pragma once
// A router next-hop collection as "router via destIp" lines, one per justification, checking on
// the way the shape every producer of such a collection keeps: no empty entry, and exactly one
// non-empty justification per via.
#include <gtest/gtest.h>

#include "quill/model/RouterNexthopInfoColl.h"
#include "tests/support/Contents.h"

namespace QuillTest {

inline Lines justifiedVias(const Mpls::RouterNexthopInfoColl& coll) {
  Lines lines;
  for (const auto [router, info] : coll.routerNexthopColl()) {
    EXPECT_NE(info.vias(), 0u) << "empty entry for " << router.valueToStrep();
    EXPECT_EQ(info.nexthopIpInfos(), info.vias()) << router.valueToStrep();
    for (const Mpls::FibVia& via : info.viaColl()) {
      const auto justification = info.nexthopIpInfo(via);
      EXPECT_TRUE(justification && justification->destIps() != 0) << via.valueToStrep();
      if (!justification) continue;
      for (const Vela::IpGenAddr& ip : justification->destIpColl())
        lines.insert(router.valueToStrep() + " " + via.valueToStrep() + " " + ip.valueToStrep());
    }
  }
  return lines;
}

}  // namespace QuillTest

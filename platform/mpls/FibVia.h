#pragma once
// A next-hop via: the next hop's address, then the outgoing interface.
//
// The hash is unseeded and ignores the address family: it is the IPv6 hash of the address's
// 16-byte field XOR the interface's hash, so IPv4 1.2.3.4 and IPv6 ::ffff:1.2.3.4 out of the same
// interface hash alike (every collection keyed by vias uses this hash). Equality still compares
// the family, so such vias are different keys that merely share a bucket.
//
// Ordering: by address (family, then bytes), then by interface.
//
// Text: "HOP-INTF", e.g. "10.1.1.2-Ethernet1"; the default via is "0.0.0.0-". Parsing splits at
// the first '-': address texts never contain one, interface names may ("Port-Channel10").
//
//   auto via = Mpls::FibVia::sequenceToValue("10.1.1.2-Port-Channel10");
//   via.intfId().valueToStrep();   // "Port-Channel10"
#include <cstdint>
#include <tuple>

#include "platform/vela/IntfId.h"
#include "platform/vela/IpAddr.h"
#include "platform/vox/LogStream.h"
#include "platform/vox/ValueType.h"

namespace Mpls {

class FibVia : public Vox::ValueType<FibVia> {
 public:
  static constexpr auto fields() {
    return std::tuple(Vox::field<&FibVia::hop_>("hop", "HOP"),
                      Vox::field<&FibVia::intfId_>("intfId", "INTF"));
  }
  // Interface names may contain '-' ("Port-Channel10"); addresses never do, and the split is at
  // the first one.
  static constexpr Vox::JoinedText kText{"Mpls::FibVia", '-',
                                         "an IP address and an interface name"};

  FibVia() = default;
  FibVia(const Vela::IpGenAddr& hop, Vela::IntfId intfId) : hop_(hop), intfId_(intfId) {}
  explicit FibVia(Vox::AttrLogReader& in) : FibVia(fromLog(in)) {}

  const Vela::IpGenAddr& hop() const { return hop_; }
  Vela::IntfId intfId() const { return intfId_; }

  // Not a mix of the fields: the family takes no part (see above).
  uint32_t hash() const { return hop_.ip6Addr().hash() ^ intfId_.hash(); }

 private:
  Vela::IpGenAddr hop_;
  Vela::IntfId intfId_;
};

}  // namespace Mpls

#pragma once
// One next-hop resolution request: resolve `address` against the routing table.
//
// Requesters that have no preference leave every option at its default, so two requests for the
// same address from such requesters are equal.
#include <ostream>

#include "platform/vela/IpAddr.h"

namespace Routing {

class NexthopConfigEntry {
 public:
  NexthopConfigEntry() = default;
  explicit NexthopConfigEntry(const Vela::IpGenAddr& address) : address_(address) {}

  const Vela::IpGenAddr& address() const { return address_; }

  // Whether a default route (a prefix of length 0) may resolve the address. Off by default: a
  // peer reached only through the default route is usually not a peer worth forwarding to.
  bool allowDefaultRoute() const { return allowDefaultRoute_; }
  void allowDefaultRouteIs(bool allow) { allowDefaultRoute_ = allow; }

  bool operator==(const NexthopConfigEntry&) const = default;
  friend std::ostream& operator<<(std::ostream& out, const NexthopConfigEntry& entry) {
    return out << entry.address_ << (entry.allowDefaultRoute_ ? " allow-default" : "");
  }

 private:
  Vela::IpGenAddr address_;
  bool allowDefaultRoute_ = false;
};

}  // namespace Routing

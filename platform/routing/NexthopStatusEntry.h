#pragma once
// The resolution service's answer for one requested address: the forwarding-table FEC that
// resolves it and the type of the resolving route. A default-constructed entry means "not
// resolved".
#include <cstdint>
#include <ostream>

#include "platform/brisk/FecId.h"

namespace Routing {

// Route types as the routing table reports them; only `connected` matters to consumers that
// must know whether the address lies on a directly connected subnet.
enum class RouteType : uint8_t {
  none = 0,
  staticRoute = 1,
  ospf = 2,
  isis = 3,
  bgp = 4,
  connected = 11,
};

class NexthopStatusEntry {
 public:
  NexthopStatusEntry() = default;
  NexthopStatusEntry(Brisk::Fib::FecId fecId, RouteType routeType)
      : fecId_(fecId), routeType_(routeType) {}

  Brisk::Fib::FecId fecId() const { return fecId_; }
  RouteType routeType() const { return routeType_; }

  bool operator==(const NexthopStatusEntry&) const = default;
  friend std::ostream& operator<<(std::ostream& out, const NexthopStatusEntry& entry) {
    return out << "fec " << entry.fecId_ << " type " << static_cast<unsigned>(entry.routeType_);
  }

 private:
  Brisk::Fib::FecId fecId_;
  RouteType routeType_ = RouteType::none;
};

}  // namespace Routing

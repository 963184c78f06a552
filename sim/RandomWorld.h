#pragma once
// Random input changes over a small universe (a few routers, addresses, routes, interfaces, FECs
// and labels), applied to an agent the way its host would apply them. Property tests and the
// event-sequence fuzzer drive the whole pipeline with it. Routers and links are dual-stack: peer
// addresses, routes and next hops come in both families, and a route's hops may mix them. Pairs
// of FECs share a local label and a label from each peer, so that LFIB branches have several
// justifications; routers may advertise each other's addresses; and besides member-by-member
// changes, whole entities go with what they hold (a router's addresses, a FEC's local or peer
// binding, a peer's table), while an entity emptied member by member sometimes stays.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "sim/Agent.h"

namespace Sim {

class RandomWorld {
 public:
  explicit RandomWorld(Sim::Agent& agent) : agent_(agent) {}

  // Applies one change chosen from `choice` (any value; reduced modulo the kinds of change) and
  // `detail` (picks routers, addresses, labels...). Returns a one-line description.
  std::string apply(uint32_t choice, uint64_t detail);

  // Puts every input of the universe in place (every address, MPLS interface, route over all its
  // links in both families, connected subnet, and both labels of every local and peer binding),
  // so that a world can be brought to the same size at any point of a random sequence, to
  // compare what it costs.
  // Returns the number of changes made.
  std::size_t fill();

  // Whether the last change was an agent restart.
  bool lastWasRestart() const { return lastWasRestart_; }

 private:
  Sim::Agent& agent_;
  bool lastWasRestart_ = false;
};

}  // namespace Sim

#pragma once
// Random input changes over a small universe (a few routers, addresses, routes, interfaces, FECs
// and labels), applied to an agent the way its host would apply them. Property tests and the
// event-sequence fuzzer drive the whole pipeline with it.
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

  // Whether the last change was an agent restart.
  bool lastWasRestart() const { return lastWasRestart_; }

 private:
  Sim::Agent& agent_;
  bool lastWasRestart_ = false;
};

}  // namespace Sim

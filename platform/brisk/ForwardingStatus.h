#pragma once
// The forwarding table's FEC records, keyed by FEC identifier. Written by the forwarding agent
// (in this repository, the simulated resolution service); read by next-hop consumers.
#include "platform/brisk/Fec.h"
#include "platform/vox/Attribute.h"

namespace Brisk::Fib {

class ForwardingStatus : public Vox::NamedEntity<ForwardingStatus> {
 public:
  explicit ForwardingStatus(std::string name = "default") : NamedEntity(std::move(name)) {}

  VOX_VALUE_MAP_ATTRIBUTE(ForwardingStatus, fec, FecId, Fec)
  VOX_ATTRIBUTES(fec)

  // The record of `fecId`, or the empty FEC `Fec(FecId())` when there is none.
  const Fec& fecOrEmpty(FecId fecId) const {
    static const Fec kEmpty{FecId()};
    const Fec* record = fec(fecId);
    return record ? *record : kEmpty;
  }
};

}  // namespace Brisk::Fib

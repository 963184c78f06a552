#pragma once
// Text forms that some trace records use instead of a value's own text form.
#include <ostream>

#include "platform/mpls/RouterId.h"

namespace Quill {

// A router id as its fields joined by "_" ("2.2.2.2_0"), the form the FEC and filter stages
// trace router ids in, so that a record splits into blank-separated arguments.
struct TraceRouterId {
  const Mpls::RouterId& routerId;
  friend std::ostream& operator<<(std::ostream& out, const TraceRouterId& id) {
    const uint32_t address = id.routerId.rtrIdValue();
    return out << (address >> 24) << '.' << ((address >> 16) & 0xff) << '.'
               << ((address >> 8) & 0xff) << '.' << (address & 0xff) << '_'
               << id.routerId.lblSpaceValue();
  }
};

}  // namespace Quill

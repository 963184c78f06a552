#include "quill/resolve/IraNexthopStatusSm.h"

#include <set>

namespace Mpls {

void IraNexthopStatusSm::processNexthop(const Vela::IpGenAddr& ipAddr) {
  QUILL_TRACE_FUNC(ipAddr);
  const Vela::IpGenAddr address = ipAddr;  // `ipAddr` may be the backlog's own copy
  if (nexthopBacklog()) nexthopBacklog()->backlogDel(address);

  const Routing::NexthopStatusEntry* found = nexthopStatus()->nexthop(address);
  const Routing::NexthopStatusEntry status = found ? *found : Routing::NexthopStatusEntry();
  const Brisk::Fib::Fec& fec = forwardingStatus()->fecOrEmpty(status.fecId());
  if (status == Routing::NexthopStatusEntry() || fec == Brisk::Fib::Fec(Brisk::Fib::FecId()) ||
      fec.viaCount() == 0) {
    VOX_TRACE(traceHandle(), 9, "Removing ipAddr from ipNexthopInfoColl " << address);
    ipNexthopInfoColl()->ipNexthopDel(address);
    return;
  }

  const bool connected = status.routeType() == Routing::RouteType::connected;
  std::set<FibVia> vias;  // ordered by hop address, then interface; drops duplicates
  for (uint32_t index = 0; index < fec.viaCount(); ++index) {
    // Throws once the index passes the via array, before anything is written.
    const Brisk::Fib::FecVia fecVia = fec.via(Brisk::Fib::ViaIndex(index));
    if (connected) VOX_TRACE(traceHandle(), 9, "Found connected route for " << address);
    VOX_TRACE(traceHandle(), 9,
              "Adding FibVia for hop = " << fecVia.hop << " intfdId " << fecVia.intfId);
    // On a connected route the peer is its own next hop; the FEC's hop (unspecified) is not used.
    vias.insert(FibVia(connected ? address : fecVia.hop, fecVia.intfId));
  }

  VOX_TRACE(traceHandle(), 9, "Adding ipAddr from ipNexthopInfoColl " << address);
  const auto entry = ipNexthopInfoColl()->ipNexthopIs(address);
  for (const FibVia& via : vias)
    entry->viaIs(via);
  for (const FibVia& via : entry->viaColl()) {
    if (!vias.contains(via)) entry->viaDel(via);
  }
}

void IraNexthopStatusSm::handleNexthopBacklog() {
  VOX_ASSERT(initialized(), "initialized()");
  QUILL_TRACE_FUNC();
  // Processing an address takes it off the backlog, which notifies this reactor again. Rather
  // than draining again from inside the drain (a recursion as deep as the backlog is long), the
  // running drain repeats until the backlog is empty, which also covers addresses added behind
  // its iterator.
  if (draining_) return;
  draining_ = true;
  struct Reset {
    bool& flag;
    ~Reset() { flag = false; }
  } reset{draining_};
  while (!nexthopBacklog()->backlogColl().empty()) {
    for (const Vela::IpGenAddr& ipAddr : nexthopBacklog()->backlogColl())
      processNexthop(ipAddr);
  }
}

void IraNexthopStatusSm::handleInitialized() {
  const auto scope = enterHandleInitialized();
  // Every address with an answer; this also takes those addresses off the backlog.
  for (auto it = nexthopStatus()->nexthopColl().begin(); it != nexthopStatus()->nexthopColl().end();
       ++it) {
    processNexthop(it.key());
  }
  // Every address with output, so that addresses with no answer any more lose theirs.
  for (const auto [ipAddr, entry] : ipNexthopInfoColl()->ipNexthopColl())
    processNexthop(ipAddr);
}

}  // namespace Mpls

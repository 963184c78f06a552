#pragma once
// A forwarding-table FEC record: its identifier, how many vias it reports, and a fixed array of
// vias indexed by `ViaIndex` (0 to 599).
//
// A `ViaIndex` past 599 cannot exist: constructing one throws the framework's range exception
// "ViaIndex::value < ViaIndex::min or > ViaIndex::max not allowed". A writer may report a via
// count above 600; a reader walking the vias up to the count then stops with that exception
// when it reaches index 600.
//
// The empty FEC, `Fec(FecId())`, is what a lookup of an unknown identifier answers.
#include <algorithm>
#include <cstdint>
#include <ostream>
#include <vector>

#include "platform/brisk/FecId.h"
#include "platform/vela/IntfId.h"
#include "platform/vela/IpAddr.h"
#include "platform/vox/Exception.h"

namespace Brisk::Fib {

class ViaIndex {
 public:
  static constexpr uint32_t min = 0;
  static constexpr uint32_t max = 599;

  explicit ViaIndex(uint32_t value) : value_(value) {
    if (value > max) {
      throw Vox::RangeException("ViaIndex::value < ViaIndex::min or > ViaIndex::max not allowed");
    }
  }
  uint32_t value() const { return value_; }

 private:
  uint32_t value_;
};

// One via of a FEC: a next-hop address of either family and an interface. On a connected route
// the hop is the unspecified address of the route's family (0.0.0.0 or ::), which consumers do
// not use. The default via's hop is IPv4 0.0.0.0.
struct FecVia {
  Vela::IpGenAddr hop;
  Vela::IntfId intfId;
  bool operator==(const FecVia&) const = default;
};

class Fec {
 public:
  Fec() = default;
  explicit Fec(FecId fecId) : fecId_(fecId) {}

  FecId fecId() const { return fecId_; }
  uint32_t viaCount() const { return viaCount_; }
  // Sets the reported count; it may exceed what the array can hold.
  void viaCountIs(uint32_t count) { viaCount_ = count; }

  // The via at `index`; a slot never written reads as the default via.
  FecVia via(ViaIndex index) const {
    return index.value() < vias_.size() ? vias_[index.value()] : FecVia{};
  }
  void viaIs(ViaIndex index, const FecVia& via) {
    if (index.value() >= vias_.size()) vias_.resize(index.value() + 1);
    vias_[index.value()] = via;
  }

  // Replaces the vias with `vias` (at most 600) and sets the count to their number.
  void viasIs(const std::vector<FecVia>& vias) {
    vias_.clear();
    for (uint32_t i = 0; i < vias.size(); ++i)
      viaIs(ViaIndex(i), vias[i]);
    viaCount_ = static_cast<uint32_t>(vias.size());
  }

  bool operator==(const Fec& other) const {
    if (fecId_ != other.fecId_ || viaCount_ != other.viaCount_) return false;
    const std::size_t used = std::min<std::size_t>(viaCount_, ViaIndex::max + 1);
    for (uint32_t i = 0; i < used; ++i) {
      if (via(ViaIndex(i)) != other.via(ViaIndex(i))) return false;
    }
    return true;
  }
  friend std::ostream& operator<<(std::ostream& out, const Fec& fec) {
    return out << "fec " << fec.fecId_ << " with " << fec.viaCount_ << " vias";
  }

 private:
  FecId fecId_;
  uint32_t viaCount_ = 0;
  std::vector<FecVia> vias_;
};

}  // namespace Brisk::Fib

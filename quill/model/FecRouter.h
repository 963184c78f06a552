#pragma once
// A FEC paired with an LDP peer router: the key under which a peer's label for a FEC, and the
// via chosen to reach that peer for it, are kept.
//
// Equality and ordering are field by field, FEC first. The hash starts from the seed and mixes
// the FEC's hash(0), then the router's hash(0).
//
// Text (the framework's reflected form, fields in their own text forms):
//   Value('Mpls::FecRouter', ** {'fwdEqvClass': p2mp/1.1.1.1/0100040000002a,
//   'routerId': 2.2.2.2:0})
#include <cstdint>
#include <string_view>
#include <tuple>

#include "platform/mpls/FwdEqvClass.h"
#include "platform/mpls/RouterId.h"
#include "platform/vox/LogStream.h"
#include "platform/vox/ValueType.h"

namespace Mpls {

class FecRouter : public Vox::ValueType<FecRouter> {
 public:
  static constexpr auto fields() {
    return std::tuple(Vox::field<&FecRouter::fwdEqvClass_>("fwdEqvClass", "FEC"),
                      Vox::field<&FecRouter::routerId_>("routerId"));
  }
  static constexpr Vox::ReflectedText kText{"Mpls::FecRouter"};

  FecRouter() = default;
  FecRouter(const FwdEqvClass& fwdEqvClass, const RouterId& routerId)
      : fwdEqvClass_(fwdEqvClass), routerId_(routerId) {}
  explicit FecRouter(Vox::AttrLogReader& in) : FecRouter(fromLog(in)) {}
  // Same as sequenceToValue.
  explicit FecRouter(std::string_view text) : FecRouter(sequenceToValue(text)) {}

  const FwdEqvClass& fwdEqvClass() const { return fwdEqvClass_; }
  const RouterId& routerId() const { return routerId_; }

  uint32_t hash(uint32_t seed) const { return mixedHash(seed); }

 private:
  FwdEqvClass fwdEqvClass_;
  RouterId routerId_;
};

}  // namespace Mpls

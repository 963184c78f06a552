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
#include <iosfwd>
#include <string>
#include <string_view>

#include "platform/mpls/FwdEqvClass.h"
#include "platform/mpls/RouterId.h"
#include "platform/vox/LogStream.h"

namespace Mpls {

class FecRouter {
 public:
  FecRouter() = default;
  FecRouter(const FwdEqvClass& fwdEqvClass, const RouterId& routerId)
      : fwdEqvClass_(fwdEqvClass), routerId_(routerId) {}
  explicit FecRouter(Vox::AttrLogReader& in);
  // Same as sequenceToValue.
  explicit FecRouter(std::string_view text);

  const FwdEqvClass& fwdEqvClass() const { return fwdEqvClass_; }
  const RouterId& routerId() const { return routerId_; }

  bool operator==(const FecRouter& other) const;
  bool operator<(const FecRouter& other) const;
  uint32_t hash(uint32_t seed) const;

  std::string valueToStrep() const;
  friend std::ostream& operator<<(std::ostream& os, const FecRouter& value);
  static FecRouter sequenceToValue(std::string_view text);
  void logTo(Vox::AttrLogWriter& out) const;

 private:
  FwdEqvClass fwdEqvClass_;
  RouterId routerId_;
};

}  // namespace Mpls

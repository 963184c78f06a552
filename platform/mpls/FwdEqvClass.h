#pragma once
// A p2mp forwarding equivalence class (the P2MP FEC element of RFC 6388): the root node's address
// and an opaque value that names the tree under that root.
//
// Invariant: the opaque value is either empty (only the default FEC has that in practice) or a
// well-formed sequence of opaque TLVs, each a 1-byte type, a 2-byte big-endian length and exactly
// that many value bytes, with nothing left over.
//
// Ordering is by root (family, then address), then by opaque bytes compared as unsigned, a prefix
// before its extensions. The hash mixes the root's family, the 16 root address bytes, the opaque
// length and the opaque bytes, in that order; equality compares the same.
//
// Text: "p2mp/ROOT/OPAQUE", ROOT as `Vela::IpGenAddr` prints it and OPAQUE as hex. Output is lower
// case; input may use either case, as hex dumps from other tools often are upper case. The
// default FEC is "p2mp/0.0.0.0/".
//
//   auto fec = Mpls::FwdEqvClass::p2mpLspId(Vela::IpAddr(0x01010101), 42);
//   fec.valueToStrep();    // "p2mp/1.1.1.1/0100040000002a"  (type 1, length 4, LSP id 42)
#include <compare>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "platform/vela/IpAddr.h"
#include "platform/vox/LogStream.h"

namespace Mpls {

class FwdEqvClass {
 public:
  FwdEqvClass() : hash0_(computeHash(0)) {}
  // Precondition (fatal otherwise): opaqueDefect(opaque) is empty.
  FwdEqvClass(const Vela::IpGenAddr& root, std::string opaque);
  // Throws Vox::LogStreamError on truncated input or a malformed opaque value.
  explicit FwdEqvClass(Vox::AttrLogReader& in);

  // The FEC of a tree named by a Generic LSP Identifier TLV (type 1, length 4, the id).
  static FwdEqvClass p2mpLspId(const Vela::IpGenAddr& root, uint32_t lspId);

  // What is wrong with `opaque` as a sequence of opaque TLVs; empty when nothing is.
  static std::string opaqueDefect(std::string_view opaque);

  const Vela::IpGenAddr& root() const { return root_; }
  const std::string& opaque() const { return opaque_; }

  // Equality and order are the root's, then the opaque bytes'; the cached hash only rejects
  // unequal values early.
  bool operator==(const FwdEqvClass& other) const {
    return hash0_ == other.hash0_ && root_ == other.root_ && opaque_ == other.opaque_;
  }
  std::strong_ordering operator<=>(const FwdEqvClass& other) const {
    if (const auto byRoot = root_ <=> other.root_; byRoot != 0) return byRoot;
    return opaque_ <=> other.opaque_;
  }
  // Every table keyed by a FEC hashes it with seed 0, and a FEC is copied into many of them:
  // that hash is computed once, at construction.
  uint32_t hash(uint32_t seed) const { return seed == 0 ? hash0_ : computeHash(seed); }

  std::string valueToStrep() const;
  friend std::ostream& operator<<(std::ostream& os, const FwdEqvClass& fec);
  static FwdEqvClass sequenceToValue(std::string_view text);
  void logTo(Vox::AttrLogWriter& out) const;

 private:
  static FwdEqvClass fromLog(Vox::AttrLogReader& in);
  uint32_t computeHash(uint32_t seed) const;

  Vela::IpGenAddr root_;
  std::string opaque_;
  uint32_t hash0_;
};

}  // namespace Mpls

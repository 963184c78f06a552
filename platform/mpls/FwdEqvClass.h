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
// A FEC is a key copied into many per-(FEC, router) tables, so it is kept to 32 bytes: the root,
// the cached seed-0 hash and either the opaque bytes themselves (up to kInlineOpaque of them, room
// for the usual single Generic LSP Identifier TLV) or a pointer to an immutable heap block that
// copies share through a reference count (atomic in a VOX_THREAD_SAFE_PTR build). Copying an
// inline FEC allocates nothing; copying a longer one adds a reference.
//
//   auto fec = Mpls::FwdEqvClass::p2mpLspId(Vela::IpAddr(0x01010101), 42);
//   fec.valueToStrep();    // "p2mp/1.1.1.1/0100040000002a"  (type 1, length 4, LSP id 42)
#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <string>
#include <string_view>

#include "platform/vela/IpAddr.h"
#include "platform/vox/LogStream.h"

namespace Mpls {

class FwdEqvClass {
 public:
  // The longest opaque value stored without a heap block.
  static constexpr std::size_t kInlineOpaque = 8;

  // Every table slot holds a default FEC until it is used: its hash is computed once.
  FwdEqvClass() : hash0_(defaultHash0()) {}
  // Precondition (fatal otherwise): opaqueDefect(opaque) is empty.
  FwdEqvClass(const Vela::IpGenAddr& root, std::string_view opaque);
  // Throws Vox::LogStreamError on truncated input or a malformed opaque value.
  explicit FwdEqvClass(Vox::AttrLogReader& in);

  FwdEqvClass(const FwdEqvClass& other) noexcept
      : opaque_(other.opaque_),
        root_(other.root_),
        opaqueSize_(other.opaqueSize_),
        hash0_(other.hash0_) {
    if (onHeap()) retain(opaque_.heap);
  }
  // The source is left valid: unchanged if its opaque value was inline, else the default FEC.
  FwdEqvClass(FwdEqvClass&& other) noexcept
      : opaque_(other.opaque_),
        root_(other.root_),
        opaqueSize_(other.opaqueSize_),
        hash0_(other.hash0_) {
    if (onHeap()) other.becomeDefault();
  }
  FwdEqvClass& operator=(const FwdEqvClass& other) noexcept {
    // Referencing the new block before releasing the old one makes self-assignment safe.
    if (other.onHeap()) retain(other.opaque_.heap);
    if (onHeap()) release(opaque_.heap);
    assignFields(other);
    return *this;
  }
  FwdEqvClass& operator=(FwdEqvClass&& other) noexcept {
    if (this != &other) {
      if (onHeap()) release(opaque_.heap);
      assignFields(other);
      if (other.onHeap()) other.becomeDefault();
    }
    return *this;
  }
  ~FwdEqvClass() {
    if (onHeap()) release(opaque_.heap);
  }

  // The FEC of a tree named by a Generic LSP Identifier TLV (type 1, length 4, the id).
  static FwdEqvClass p2mpLspId(const Vela::IpGenAddr& root, uint32_t lspId);

  // What is wrong with `opaque` as a sequence of opaque TLVs; empty when nothing is.
  static std::string opaqueDefect(std::string_view opaque);

  const Vela::IpGenAddr& root() const { return root_; }
  // Points into this FEC or into the heap block its copies share: valid until this FEC is
  // destroyed or assigned to.
  std::string_view opaque() const {
    return onHeap() ? heapOpaque() : std::string_view(opaque_.bytes, opaqueSize_);
  }

  // Equality and order are the root's, then the opaque bytes'; the cached hash only rejects
  // unequal values early. Unused inline bytes are zero, so equal inline values have equal
  // buffers.
  [[gnu::always_inline]] bool operator==(const FwdEqvClass& other) const {
    if (hash0_ != other.hash0_ || opaqueSize_ != other.opaqueSize_ || !(root_ == other.root_)) {
      return false;
    }
    if (!onHeap()) {
      // One word, not a call to memcmp: FECs are compared on every look-up of a FEC-keyed table.
      static_assert(kInlineOpaque == sizeof(uint64_t));
      uint64_t mine, theirs;
      std::memcpy(&mine, opaque_.bytes, sizeof mine);
      std::memcpy(&theirs, other.opaque_.bytes, sizeof theirs);
      return mine == theirs;
    }
    return opaque_.heap == other.opaque_.heap || heapOpaque() == other.heapOpaque();
  }
  std::strong_ordering operator<=>(const FwdEqvClass& other) const {
    if (const auto byRoot = root_ <=> other.root_; byRoot != 0) return byRoot;
    return opaque() <=> other.opaque();
  }
  // Every table keyed by a FEC hashes it with seed 0, and a FEC is copied into many of them:
  // that hash is computed once, at construction.
  uint32_t hash(uint32_t seed) const { return seed == 0 ? hash0_ : computeHash(seed); }

  std::string valueToStrep() const;
  friend std::ostream& operator<<(std::ostream& os, const FwdEqvClass& fec);
  static FwdEqvClass sequenceToValue(std::string_view text);
  void logTo(Vox::AttrLogWriter& out) const;

 private:
  struct HeapOpaque;  // a reference count, the size, then the bytes
  static constexpr uint8_t kOnHeap = 0xff;
  static_assert(kInlineOpaque < kOnHeap);

  bool onHeap() const { return opaqueSize_ == kOnHeap; }
  std::string_view heapOpaque() const;
  static void retain(const HeapOpaque* heap) noexcept;
  static void release(const HeapOpaque* heap) noexcept;
  void assignFields(const FwdEqvClass& other) noexcept {
    opaque_ = other.opaque_;
    root_ = other.root_;
    opaqueSize_ = other.opaqueSize_;
    hash0_ = other.hash0_;
  }
  void becomeDefault() noexcept;
  static FwdEqvClass fromLog(Vox::AttrLogReader& in);
  uint32_t computeHash(uint32_t seed) const;
  static uint32_t defaultHash0();

  union Opaque {
    char bytes[kInlineOpaque];  // when opaqueSize_ != kOnHeap; zero past opaqueSize_
    const HeapOpaque* heap;     // when opaqueSize_ == kOnHeap; one counted reference
  } opaque_{};
  Vela::IpGenAddr root_;
  uint8_t opaqueSize_ = 0;  // the inline length, or kOnHeap
  uint32_t hash0_;
};

}  // namespace Mpls

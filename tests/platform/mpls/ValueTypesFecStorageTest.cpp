// A FEC keeps short opaque values inside itself and shares longer ones between copies: every way
// of copying, moving, assigning and destroying must keep each value intact whichever storage the
// source and the target use.
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <ostream>
#include <string>
#include <utility>

#include "platform/mpls/FwdEqvClass.h"
#include "platform/vela/IpAddr.h"

namespace {

static_assert(sizeof(Mpls::FwdEqvClass) <= 32, "a FEC is copied into many per-router tables");
static_assert(alignof(Mpls::FwdEqvClass) <= 8);

// `count` opaque TLVs, each with `valueBytes` value bytes that differ from TLV to TLV.
std::string tlvs(std::size_t count, std::size_t valueBytes) {
  std::string opaque;
  for (std::size_t i = 0; i < count; ++i) {
    opaque += static_cast<char>(i + 1);
    opaque += static_cast<char>(valueBytes >> 8);
    opaque += static_cast<char>(valueBytes & 0xff);
    for (std::size_t b = 0; b < valueBytes; ++b)
      opaque += static_cast<char>(0x80 + (i * 31 + b * 7) % 0x7f);
  }
  return opaque;
}

bool storedInside(const Mpls::FwdEqvClass& fec) {
  const auto* begin = reinterpret_cast<const char*>(&fec);
  const char* data = fec.opaque().data();
  return data >= begin && data < begin + sizeof(fec);
}

struct Shape {
  std::size_t count, valueBytes;
  friend void PrintTo(const Shape& shape, std::ostream* os) {
    *os << shape.count << " TLVs of " << shape.valueBytes << " value bytes";
  }
};

class FecStorageTest : public testing::TestWithParam<Shape> {
 protected:
  const std::string opaque_ = tlvs(GetParam().count, GetParam().valueBytes);
  const Vela::IpGenAddr root_ = Vela::IpGenAddr::sequenceToValue("2001:db8::7");
  bool inlined() const { return opaque_.size() <= Mpls::FwdEqvClass::kInlineOpaque; }
  Mpls::FwdEqvClass make() const { return Mpls::FwdEqvClass(root_, opaque_); }

  // Holds its value as `make()` would build it, compared field by field and through the text.
  void expectIntact(const Mpls::FwdEqvClass& fec) const {
    EXPECT_EQ(fec.root(), root_);
    EXPECT_EQ(fec.opaque(), opaque_);
    EXPECT_EQ(fec, make());
    EXPECT_EQ(fec <=> make(), std::strong_ordering::equal);
    EXPECT_EQ(fec.hash(0), make().hash(0));
    EXPECT_EQ(Mpls::FwdEqvClass::sequenceToValue(fec.valueToStrep()), fec);
  }

  // Targets of assignment: one of each storage, the inline one using every inline byte so that
  // a shorter value assigned over it must not keep its tail.
  static Mpls::FwdEqvClass inlineTarget() {
    return Mpls::FwdEqvClass(Vela::IpAddr(0x0a000001), tlvs(1, 5));
  }
  static Mpls::FwdEqvClass heapTarget() {
    return Mpls::FwdEqvClass(Vela::IpAddr(0x0a000002), tlvs(3, 40));
  }
};

// Copies share a long value, and outlive the original.
TEST_P(FecStorageTest, ShortValuesStayInsideAndLongOnesAreSharedByCopiesThatOutliveTheOriginal) {
  auto original = std::make_unique<Mpls::FwdEqvClass>(make());
  EXPECT_EQ(storedInside(*original), inlined());
  const Mpls::FwdEqvClass copied(*original);
  EXPECT_EQ(storedInside(copied), inlined());
  if (!inlined()) {
    EXPECT_EQ(copied.opaque().data(), original->opaque().data());
  }
  Mpls::FwdEqvClass assigned = heapTarget();
  assigned = *original;
  original.reset();
  expectIntact(copied);
  expectIntact(assigned);
}

TEST_P(FecStorageTest, AssignmentOverEitherStorageLeavesOtherCopiesAlone) {
  for (auto build : {&inlineTarget, &heapTarget}) {
    const auto target = build();
    SCOPED_TRACE(target.valueToStrep());
    Mpls::FwdEqvClass copyAssigned = target;
    Mpls::FwdEqvClass moveAssigned = target;
    const auto source = make();
    ASSERT_NE(target, source);
    copyAssigned = source;
    moveAssigned = make();
    expectIntact(copyAssigned);
    expectIntact(moveAssigned);
    expectIntact(source);
    // The value both copies shared before they were overwritten is still whole.
    EXPECT_EQ(target, build());
    EXPECT_EQ(target.opaque(), build().opaque());
  }
}

// A moved-from FEC is left valid: unchanged when its value was inline, else the default FEC. It
// can be assigned again and destroyed. Assigning a FEC to itself keeps its value.
TEST_P(FecStorageTest, MovingLeavesAValidSourceAndSelfAssignmentKeepsTheValue) {
  auto source = make();
  auto& alias = source;
  source = alias;
  expectIntact(source);
  source = std::move(alias);
  expectIntact(source);
  const Mpls::FwdEqvClass constructed(std::move(source));
  expectIntact(constructed);
  EXPECT_EQ(source, inlined() ? make() : Mpls::FwdEqvClass());
  source = make();
  Mpls::FwdEqvClass assigned = heapTarget();
  assigned = std::move(source);
  expectIntact(assigned);
  EXPECT_EQ(source, inlined() ? make() : Mpls::FwdEqvClass());
  source = heapTarget();
  EXPECT_EQ(source, heapTarget());
}

INSTANTIATE_TEST_SUITE_P(OpaqueLengths, FecStorageTest,
                         testing::Values(Shape{0, 0}, Shape{1, 0}, Shape{2, 0}, Shape{1, 4},
                                         Shape{1, 5}, Shape{1, 6}, Shape{1, 297}, Shape{2, 35000}),
                         [](const testing::TestParamInfo<Shape>& shape) {
                           return std::to_string(shape.param.count) + "x" +
                                  std::to_string(shape.param.valueBytes);
                         });

}  // namespace

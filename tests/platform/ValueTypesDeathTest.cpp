// Building a value from parts that no text form could produce is a programming error.
#include <gtest/gtest.h>

#include "platform/mpls/FwdEqvClass.h"
#include "platform/vela/IntfId.h"
#include "platform/vela/IpAddr.h"
#include "platform/vox/Exception.h"

namespace {

TEST(ValueTypesDeathTest, ImpossiblePartsAreFatal) {
  EXPECT_DEATH(Vela::IntfId(Vela::IntfId::Kind::vlan, 4095),
               "valid interface numbers for the kind");
  EXPECT_DEATH(Vela::IntfId(Vela::IntfId::Kind::none, 1), "valid interface numbers for the kind");
  EXPECT_DEATH(Mpls::FwdEqvClass(Vela::IpGenAddr(), std::string("\x01\x00\x05", 3)),
               "well-formed opaque value");
  const auto v6 = Vela::IpGenAddr::sequenceToValue("2001:db8::1");
  EXPECT_DEATH(v6.v4(), "isV4\\(\\)");
}

TEST(ValueTypesDeathTest, FatalPrintsWhereAndTheFixedText) {
  EXPECT_DEATH(VOX_ASSERT(false, "initialized()"),
               "ValueTypesDeathTest.cpp:[0-9]+: fatal assertion failed: initialized\\(\\)");
}

}  // namespace

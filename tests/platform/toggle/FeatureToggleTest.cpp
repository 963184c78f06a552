#include "platform/toggle/FeatureToggle.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/vox/Exception.h"

namespace {

using FeatureToggle::getToggleState;
using Toggles = std::vector<std::pair<std::string, bool>>;

class FeatureToggleTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ::unsetenv(FeatureToggle::kEnvironmentVariable);
    FeatureToggle::toggleStateDelAll();
  }
  void TearDown() override { SetUp(); }
  static void environmentIs(const char* value) {
    ::setenv(FeatureToggle::kEnvironmentVariable, value, 1);
  }
};

TEST_F(FeatureToggleTest, OverrideBeatsEnvironmentBeatsDefault) {
  EXPECT_TRUE(getToggleState("MplsFluxConcat", true));
  EXPECT_FALSE(getToggleState("MplsFluxConcat", false));
  environmentIs("MplsFluxConcat=off,MplsFluxInversion=1");
  EXPECT_FALSE(getToggleState("MplsFluxConcat", true));
  EXPECT_TRUE(getToggleState("MplsFluxInversion", false));
  EXPECT_TRUE(getToggleState("mplsfluxconcat", true));  // names are case-sensitive
  FeatureToggle::toggleStateIs("MplsFluxConcat", true);
  FeatureToggle::toggleStateIs("MplsFluxInversion", false);
  EXPECT_TRUE(getToggleState("MplsFluxConcat", false));
  EXPECT_FALSE(getToggleState("MplsFluxInversion", true));
  // Removing one override uncovers the environment again, and only for that name.
  FeatureToggle::toggleStateDel("MplsFluxConcat");
  EXPECT_FALSE(getToggleState("MplsFluxConcat", true));
  EXPECT_FALSE(getToggleState("MplsFluxInversion", true));
  FeatureToggle::toggleStateDelAll();
  EXPECT_TRUE(getToggleState("MplsFluxInversion", false));
  // The environment is read afresh on every call.
  environmentIs("MplsFluxInversion=false");
  EXPECT_FALSE(getToggleState("MplsFluxInversion", true));
  ::unsetenv(FeatureToggle::kEnvironmentVariable);
  EXPECT_TRUE(getToggleState("MplsFluxInversion", true));
}

TEST_F(FeatureToggleTest, MalformedEnvironmentIsIgnoredWholeAndReportedOnce) {
  environmentIs("A=off,B=maybe");  // the good first entry must not be applied either
  ::testing::internal::CaptureStderr();
  EXPECT_TRUE(getToggleState("A", true));
  EXPECT_FALSE(getToggleState("B", false));
  EXPECT_TRUE(getToggleState("A", true));
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "quill: ignoring QUILL_TOGGLES: cannot parse 'B=maybe' as feature toggle: expected a "
            "value on, off, true, false, 1 or 0 after '='\n");
  // A different bad value is news and is reported in its turn; a good one applies again.
  environmentIs("A=off,");
  ::testing::internal::CaptureStderr();
  EXPECT_TRUE(getToggleState("A", true));
  EXPECT_NE(::testing::internal::GetCapturedStderr().find("'A=off,'"), std::string::npos);
  environmentIs("A=off");
  EXPECT_FALSE(getToggleState("A", true));
}

TEST_F(FeatureToggleTest, ParseAcceptsEveryValueSpellingAndQuotesTheBadEntry) {
  EXPECT_EQ(FeatureToggle::parseToggleList(""), Toggles{});
  EXPECT_EQ(FeatureToggle::parseToggleList("a=on,b=off,c=true,d=false,e=1,f=0,x.y-z_9=on"),
            (Toggles{{"a", true},
                     {"b", false},
                     {"c", true},
                     {"d", false},
                     {"e", true},
                     {"f", false},
                     {"x.y-z_9", true}}));
  const std::pair<const char*, const char*> rejected[] = {
      {"A", "'A'"},         {"A=on,=off", "'=off'"}, {"A=on,B =off", "'B =off'"},
      {"A= on", "'A= on'"}, {"A=ON", "'A=ON'"},      {"A=on,,B=off", "'A=on,,B=off'"},
      {",A=on", "',A=on'"}, {"A=on,", "'A=on,'"},    {"A=on,B=off,A=off", "'A' repeats"},
  };
  for (const auto& [text, quoted] : rejected) {
    try {
      FeatureToggle::parseToggleList(text);
      ADD_FAILURE() << text << ": accepted";
    } catch (const Vox::ParseError& e) {
      EXPECT_NE(std::string(e.what()).find(quoted), std::string::npos) << text << ": " << e.what();
    }
  }
}

}  // namespace

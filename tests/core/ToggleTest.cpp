#include "quill/core/Toggles.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/toggle/FeatureToggle.h"

namespace {

using Accessor = bool (*)();

struct ToggleCase {
  const char* name;
  Accessor accessor;
};

const ToggleCase kToggles[] = {
    {"MplsFluxInversion", &Mpls::toggleMplsFluxInversionEnabled},
    {"MplsFluxConcat", &Mpls::toggleMplsFluxConcatEnabled},
    {"MplsFluxIntfRouterSm", &Mpls::toggleMplsFluxIntfRouterSmEnabled},
    {"MplsFluxRouterIpNexthop", &Mpls::toggleMplsFluxRouterIpNexthopEnabled},
};

class ToggleTest : public ::testing::TestWithParam<ToggleCase> {
 protected:
  // Each check runs in a freshly started copy of this program, where no accessor has read its
  // toggle yet.
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

// On by default; the environment turns it off and only it; it is read once and keeps its first
// answer.
TEST_P(ToggleTest, DefaultsToOnTurnsOffAloneAndIsReadOnce) {
  const ToggleCase toggle = GetParam();
  EXPECT_EXIT(
      {
        unsetenv("QUILL_TOGGLES");
        std::exit(toggle.accessor() ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
  EXPECT_EXIT(
      {
        setenv("QUILL_TOGGLES", (std::string(toggle.name) + "=off").c_str(), 1);
        bool othersOn = true;
        for (const ToggleCase& other : kToggles) {
          if (other.accessor != toggle.accessor) othersOn = othersOn && other.accessor();
        }
        std::exit(!toggle.accessor() && othersOn ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
  EXPECT_EXIT(
      {
        FeatureToggle::toggleStateIs(toggle.name, false);
        const bool first = toggle.accessor();
        FeatureToggle::toggleStateIs(toggle.name, true);
        setenv("QUILL_TOGGLES", (std::string(toggle.name) + "=on").c_str(), 1);
        std::exit(!first && !toggle.accessor() ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

INSTANTIATE_TEST_SUITE_P(AllToggles, ToggleTest, ::testing::ValuesIn(kToggles),
                         [](const auto& param) { return std::string(param.param.name); });

}  // namespace

#include "quill/core/Toggles.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "platform/toggle/FeatureToggle.h"

namespace Mpls {

namespace {

// A toggle name usable as a template argument, so that each toggle gets its own cached flag.
template <std::size_t N>
struct ToggleName {
  constexpr ToggleName(const char (&text)[N]) { std::copy_n(text, N, chars); }  // NOLINT
  constexpr std::string_view view() const { return {chars, N - 1}; }
  char chars[N];
};

// Reads the toggle on first use; the function-local static is initialised under the language's
// thread-safe one-time guard, so concurrent first calls ask the service once.
template <ToggleName Name>
bool cachedToggle() {
  static const bool enabled = FeatureToggle::getToggleState(Name.view(), true);
  return enabled;
}

}  // namespace

bool toggleMplsFluxInversionEnabled() {
  return cachedToggle<"MplsFluxInversion">();
}
bool toggleMplsFluxConcatEnabled() {
  return cachedToggle<"MplsFluxConcat">();
}
bool toggleMplsFluxIntfRouterSmEnabled() {
  return cachedToggle<"MplsFluxIntfRouterSm">();
}
bool toggleMplsFluxRouterIpNexthopEnabled() {
  return cachedToggle<"MplsFluxRouterIpNexthop">();
}

}  // namespace Mpls

#include "quill/core/Foo.h"

#include <gtest/gtest.h>

namespace {

struct FooWatcher : Quill::Foo::NotifieeConst {
  void onAttribute(const Vox::AttributeInfo& attr, const void* value) override {
    if (auto* foo = Quill::Foo::fooAttribute::match(attr, value)) seen.push_back(*foo);
  }
  std::vector<uint32_t> seen;
};

TEST(FooTest, NotifiesOnlyRealChangesAndBarsOnStandardOutput) {
  auto foo = Quill::fooFactory("sample");
  EXPECT_EQ(foo->name(), "sample");
  EXPECT_TRUE(foo->hasNotificationActive());
  FooWatcher watcher;
  watcher.notifierIs(foo);
  watcher.hasNotificationActiveIs(true);
  foo->fooIs(3);
  foo->fooIs(3);
  foo->fooIs(0);
  EXPECT_EQ(watcher.seen, (std::vector<uint32_t>{3, 0}));
  ::testing::internal::CaptureStdout();
  foo->doBar(7);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "doBar( 7 ) called\n");
}

}  // namespace

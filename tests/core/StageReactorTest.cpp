// Tracing: the level-8 records of the lifecycle handlers and of QUILL_TRACE_FUNC, with the
// reactor's source file, are quill.tracing's (tests/tools/Tracing.cmake) and the manager's
// deletion-order test's, with their arguments the interface-address filter's function-record
// test's; the lifecycle handlers' binary-trace timers and records are quill.tracing's.
#include "quill/core/StageReactor.h"

#include <gtest/gtest.h>

#include "quill/core/Stage.h"
#include "tests/support/TestEntities.h"

namespace {

using QuillTest::TestColl;
using QuillTest::TestKey;

// Built the way every stage is, through Quill::Stage, which creates, initializes once and turns
// notifications on.
class SampleSm : public Quill::Stage<SampleSm, const TestColl> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "QuillTest::SampleSm";
  using Stage::Stage;

  void handleInitialized() {
    const auto scope = enterHandleInitialized();
    ++initializations;
  }
  void handleDelete() { leaveInitialized(); }
  void handleFlag(const TestKey& flag) { flags.push_back(flag.value); }

  int initializations = 0;
  std::vector<uint32_t> flags;
  Vox::KeyObserver<TestColl::flagAttribute, &SampleSm::handleFlag> flagObserver{*this,
                                                                                collection<0>()};
};

// Live and initialized once created; handleDelete only clears initialized: the reactor is still
// subscribed, and reacting after it is the stage's own choice.
TEST(StageReactorTest, IsLiveAndInitializedOnceCreatedAndHandleDeleteOnlyClearsInitialized) {
  const auto input = Vox::create<TestColl>();
  auto sm = SampleSm::stageIs(input);
  EXPECT_EQ(SampleSm::traceHandle().name(), "QuillSampleSm");
  EXPECT_TRUE(sm->initialized());
  EXPECT_EQ(sm->initializations, 1);
  input->flagIs({1});
  sm->handleDelete();
  EXPECT_FALSE(sm->initialized());
  EXPECT_TRUE(sm->hasNotificationActive());
  input->flagIs({2});
  EXPECT_EQ(sm->flags, (std::vector<uint32_t>{1, 2}));
  sm->handleInitialized();
  EXPECT_TRUE(sm->initialized());
}

}  // namespace

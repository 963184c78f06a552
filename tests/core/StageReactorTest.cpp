#include "quill/core/StageReactor.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/rapidlog/RapidlogDecoder.h"
#include "tests/support/TestEntities.h"

namespace {

using QuillTest::TestColl;
using QuillTest::TestKey;

class SampleSm : public Quill::StageReactor<SampleSm> {
 public:
  static constexpr Quill::StaticName kQualifiedName = "QuillTest::SampleSm";

  explicit SampleSm(const Vox::Ptr<const TestColl>& input) {
    flagObserver.notifierIs(input);
    handleInitialized();
  }
  ~SampleSm() override { handleDelete(); }

  void handleInitialized() {
    const auto scope = enterHandleInitialized();
    ++initializations;
  }
  void handleDelete() { leaveInitialized(); }
  void handleFlag(const TestKey& flag) {
    QUILL_TRACE_FUNC(flag);
    flags.push_back(flag.value);
  }

  int initializations = 0;
  std::vector<uint32_t> flags;
  Vox::KeyObserver<TestColl::flagAttribute, &SampleSm::handleFlag> flagObserver{*this};
};

class StageReactorTest : public ::testing::Test {
 protected:
  void SetUp() override {
    input = Vox::create<TestColl>();
    base = std::filesystem::temp_directory_path() / ("quill-stage-" + std::to_string(getpid()));
  }
  void TearDown() override {
    Vox::traceConfigure("");
    Vox::traceOutputIs("");
    Rapidlog::shutdown();
    std::filesystem::remove(base.string() + ".trace");
    std::filesystem::remove(base.string() + ".rl");
  }
  std::string readAll(const std::string& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }
  Vox::Ptr<TestColl> input;
  std::filesystem::path base;
};

// Live and initialized once created; handleDelete only clears initialized: the reactor is still
// subscribed, and reacting after it is the stage's own choice.
TEST_F(StageReactorTest, IsLiveAndInitializedOnceCreatedAndHandleDeleteOnlyClearsInitialized) {
  auto sm = SampleSm::create(input);
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

TEST_F(StageReactorTest, TracesHandlersWithTheReactorsSourceFile) {
  const std::string tracePath = base.string() + ".trace";
  Vox::traceOutputIs(tracePath);
  Vox::traceConfigure("QuillSampleSm/8");
  {
    auto sm = SampleSm::create(input);
    input->flagIs({5});
  }
  const std::string text = readAll(tracePath);
  EXPECT_NE(text.find(" QuillSampleSm 8 StageReactorTest:"), std::string::npos) << text;
  EXPECT_NE(text.find(" QuillTest::SampleSm::handleInitialized()\n"), std::string::npos) << text;
  EXPECT_NE(text.find(" QuillTest::SampleSm::handleFlag() 5\n"), std::string::npos) << text;
  EXPECT_NE(text.find(" QuillTest::SampleSm::handleDelete()\n"), std::string::npos) << text;
}

TEST_F(StageReactorTest, LifecycleHandlersAreTimedInTheBinaryTrace) {
  const std::string path = base.string() + ".rl";
  ASSERT_EQ(Rapidlog::initialize(path.c_str(), nullptr, nullptr, 0, 16, 0, true, 512), 0);
  SampleSm::create(input);  // created and destroyed at once
  Rapidlog::shutdown();
  const auto lines = Rapidlog::decodeFile(path);
  auto has = [&](const std::string& part) {
    for (const auto& line : lines) {
      if (line.find(part) != std::string::npos) return true;
    }
    return false;
  };
  EXPECT_TRUE(has("timer QuillTest::SampleSm::handleInitialized "));
  EXPECT_TRUE(has("timer QuillTest::SampleSm::handleDelete "));
  EXPECT_TRUE(has("text QuillSampleSm 8 handleDelete()"));
}

}  // namespace

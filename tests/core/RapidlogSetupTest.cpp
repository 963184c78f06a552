// That RLFILE names the trace file is quill.tracing's (tests/tools/Tracing.cmake), over the quill
// command; here, the default name and a file that cannot be created.
#include "quill/core/RapidlogSetup.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "platform/rapidlog/Rapidlog.h"

namespace {

class RapidlogSetupTest : public ::testing::Test {
 protected:
  void SetUp() override {
    directory = std::filesystem::temp_directory_path() /
                ("quill-rlfile-" + std::to_string(getpid()) + "-" +
                 ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::create_directories(directory);
    previous = std::filesystem::current_path();
    std::filesystem::current_path(directory);  // the default name lands in the working directory
  }
  void TearDown() override {
    Rapidlog::shutdown();
    unsetenv("RLFILE");
    std::filesystem::current_path(previous);
    std::filesystem::remove_all(directory);
  }
  std::filesystem::path directory;
  std::filesystem::path previous;
};

TEST_F(RapidlogSetupTest, UnsetOrEmptyRlfileUsesTheProcessIdFormat) {
  const std::string expected = "Mpls-" + std::to_string(getpid()) + ".rl";
  for (const char* value : {static_cast<const char*>(nullptr), ""}) {
    value ? setenv("RLFILE", value, 1) : unsetenv("RLFILE");
    ASSERT_EQ(Mpls_rapidlogInitialize(), 0);
    EXPECT_EQ(Rapidlog::fileName(), expected);
    Rapidlog::shutdown();
    EXPECT_TRUE(std::filesystem::exists(directory / expected));
  }
}

TEST_F(RapidlogSetupTest, AnUncreatableFileReportsTheErrorAndLeavesTracingOff) {
  setenv("RLFILE", (directory / "missing-dir" / "x.rl").c_str(), 1);
  EXPECT_NE(Mpls_rapidlogInitialize(), 0);
  EXPECT_FALSE(Rapidlog::enabled());
}

}  // namespace

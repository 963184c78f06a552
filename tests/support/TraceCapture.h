#pragma once
// Captures the text trace records of some handles for the duration of a test, so that tests can
// check the exact texts operators see.
//
//   QuillTest::TraceCapture trace("QuillIpAddrRouterIdInfoSm/9");
//   ...
//   EXPECT_THAT(trace.messages(), Contains("Adding ipAddr to routerId 10.0.0.12.2.2.2:0 "));
#include <string>
#include <vector>

namespace QuillTest {

class TraceCapture {
 public:
  // `text` uses the QUILL_TRACE syntax.
  explicit TraceCapture(const std::string& text);
  ~TraceCapture();
  TraceCapture(const TraceCapture&) = delete;
  TraceCapture& operator=(const TraceCapture&) = delete;

  // The message part of every record written so far (time, handle, level and source stripped).
  std::vector<std::string> messages() const;

 private:
  std::string path_;
};

}  // namespace QuillTest

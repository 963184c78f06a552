#include "tests/support/TraceCapture.h"

#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>

#include "platform/vox/Trace.h"

namespace QuillTest {

TraceCapture::TraceCapture(const std::string& text) {
  static std::atomic<int> counter{0};
  path_ = (std::filesystem::temp_directory_path() /
           ("quill-trace-" + std::to_string(getpid()) + "-" + std::to_string(counter++) + ".log"))
              .string();
  std::filesystem::remove(path_);
  Vox::traceOutputIs(path_);
  Vox::traceConfigure(text);
}

TraceCapture::~TraceCapture() {
  Vox::traceConfigure("");
  Vox::traceOutputIs("");
  std::filesystem::remove(path_);
}

std::vector<std::string> TraceCapture::messages() const {
  // "<time> <handle> <level> <file>:<line> <message>": the message follows the fourth blank.
  std::vector<std::string> messages;
  std::ifstream in(path_);
  for (std::string record; std::getline(in, record);) {
    std::size_t position = 0;
    for (int field = 0; field < 4 && position != std::string::npos; ++field) {
      position = record.find(' ', position);
      if (position != std::string::npos) ++position;
    }
    messages.push_back(position == std::string::npos ? std::string() : record.substr(position));
  }
  return messages;
}

}  // namespace QuillTest

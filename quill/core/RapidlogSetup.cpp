#include "quill/core/RapidlogSetup.h"

#include <cstdlib>

#include "platform/rapidlog/Rapidlog.h"

int Mpls_rapidlogInitialize() {
  const char* fileName = std::getenv("RLFILE");
  if (fileName == nullptr || *fileName == '\0') fileName = "Mpls-%d.rl";
  // Default size limits, no rotation, a 2^24-byte buffer, one writer thread, flushed at exit,
  // records of at most 512 bytes.
  return Rapidlog::initialize(fileName, nullptr, nullptr, 0, 24, 0, true, 512u);
}

#include "platform/rapidlog/Rapidlog.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <ostream>
#include <thread>

#include "platform/rapidlog/RapidlogDecoder.h"
#include "platform/rapidlog/RapidlogFormat.h"
#include "platform/rapidlog/Twinlog.h"

namespace {

namespace fs = std::filesystem;

std::string readBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// One decoded line split into its fields: "+S.NNNNNNNNN KIND NAME REST".
struct Line {
  int64_t timeNs = 0;
  std::string kind, name, rest;  // rest: a timer's duration; a text's level, blank, text
};

Line parse(const std::string& text) {
  Line line;
  const auto dot = text.find('.'), sp1 = text.find(' ');
  line.timeNs = (std::stoll(text.substr(1, dot - 1)) * 1000000000 +
                 std::stoll(text.substr(dot + 1, sp1 - dot - 1))) *
                (text[0] == '-' ? -1 : 1);
  const auto sp2 = text.find(' ', sp1 + 1), sp3 = text.find(' ', sp2 + 1);
  line.kind = text.substr(sp1 + 1, sp2 - sp1 - 1);
  line.name = text.substr(sp2 + 1, sp3 - sp2 - 1);
  line.rest = sp3 == std::string::npos ? "" : text.substr(sp3 + 1);
  return line;
}

class RapidlogTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/rapidlog-test-XXXXXX";
    ASSERT_NE(::mkdtemp(pattern), nullptr);
    dir_ = pattern;
  }
  void TearDown() override {
    Rapidlog::shutdown();
    fs::remove_all(dir_);
  }
  std::string path(const std::string& name) const { return dir_ + "/" + name; }
  // Initializes into `name` in this test's directory, without rotation, flushing at exit.
  int open(const std::string& name, const char* size = nullptr, int bufferLog2 = 24,
           unsigned maxRecord = 512, int mode = 0) {
    return Rapidlog::initialize(path(name).c_str(), size, nullptr, 0, bufferLog2, mode, true,
                                maxRecord);
  }
  // Stops tracing and decodes what was written.
  static std::vector<std::string> finish() {
    const std::string name = Rapidlog::fileName();
    Rapidlog::shutdown();
    return Rapidlog::decodeFile(name);
  }

  std::string dir_;
};

// Writes per inner round: text, inner timer; then the outer timer.
void nestedBlocks(int inner) {
  RAPIDLOG_BLOCK_TIMER("outerBlock");
  for (int i = 0; i < inner; ++i) {
    RAPIDLOG_BLOCK_TIMER("innerBlock");
    Twinlog::RapidlogConverter("QuillP2mpLfibGenSmManager", 8) << "handleDelete"
                                                               << "()";
  }
}

// Reinitializing closes the earlier file whole; the same sites are defined again in the new file,
// else decoding would fail on an unknown id, and each static name is stored once however often
// it is used. The header carries the process id and the arguments.
TEST_F(RapidlogTest, HeaderTimersAndTextRoundTripAcrossReinitialization) {
  ASSERT_EQ(Rapidlog::initialize(path("trace-%d.rl").c_str(), "64M", nullptr, 3, 20, 1, false, 100),
            0);
  const std::string first = path("trace-" + std::to_string(::getpid()) + ".rl");
  EXPECT_EQ(Rapidlog::fileName(), first);
  const Rapidlog::FileHeader h = Rapidlog::decodeHeader(readBytes(first));
  EXPECT_EQ(h, (Rapidlog::FileHeader{.version = Rapidlog::format::kFormatVersion,
                                     .pid = static_cast<uint32_t>(::getpid()),
                                     .startWallNs = h.startWallNs,
                                     .sizeLimit = uint64_t{64} << 20,
                                     .rotations = 3,
                                     .maxRecordBytes = 100,
                                     .bufferSizeLog2 = 20,
                                     .multithreadingMode = 1,
                                     .flushAtExit = false}));
  const auto nowNs = std::chrono::duration_cast<std::chrono::nanoseconds>(
                         std::chrono::system_clock::now().time_since_epoch())
                         .count();
  EXPECT_NEAR(static_cast<double>(h.startWallNs), static_cast<double>(nowNs), 5e9);
  nestedBlocks(1);
  ASSERT_EQ(open("t.rl"), 0);
  for (const auto& fd : fs::directory_iterator("/proc/self/fd")) {
    std::error_code ec;
    EXPECT_NE(fs::read_symlink(fd.path(), ec), fs::path(first)) << fd.path();
  }
  EXPECT_EQ(Rapidlog::decodeFile(first).size(), 3u);
  constexpr std::size_t kRounds = 20;
  for (std::size_t i = 0; i < kRounds; ++i)
    nestedBlocks(2);
  Rapidlog::shutdown();
  const std::string bytes = readBytes(path("t.rl"));
  for (const std::string interned : {"innerBlock", "outerBlock", "QuillP2mpLfibGenSmManager"})
    EXPECT_EQ(bytes.find(interned), bytes.rfind(interned)) << interned;
  // Per round: text, inner, text, inner, outer. Timers are written as their blocks end, so end
  // times never go backwards, and the outer block spans the inner ones.
  const auto lines = Rapidlog::decode(bytes);
  ASSERT_EQ(lines.size(), kRounds * 5);
  int64_t lastEnd = 0, lastText = 0;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const Line line = parse(lines[i]);
    if (i % 5 == 0 || i % 5 == 2) {
      EXPECT_EQ(lines[i].substr(lines[i].find(' ')),
                " text QuillP2mpLfibGenSmManager 8 handleDelete()");
      EXPECT_GE(line.timeNs, lastText);
      lastText = line.timeNs;
      continue;
    }
    EXPECT_EQ(line.name, i % 5 == 4 ? "outerBlock" : "innerBlock") << i;
    const int64_t duration = std::stoll(line.rest);
    EXPECT_GE(line.timeNs, 0);
    EXPECT_GE(duration, 0);
    EXPECT_GE(line.timeNs + duration, lastEnd) << i;
    lastEnd = line.timeNs + duration;
    if (i % 5 == 4) {
      EXPECT_LE(line.timeNs, parse(lines[i - 3]).timeNs);
    }
  }
}

// Records stay buffered until a flush; a failed initialization closes the earlier file whole and
// leaves tracing off.
TEST_F(RapidlogTest, FlushWritesAndAFailedInitializationClosesTheFile) {
  ASSERT_EQ(open("f.rl"), 0);
  Rapidlog::writeText("h", 1, "buffered");
  EXPECT_EQ(fs::file_size(path("f.rl")), Rapidlog::format::kHeaderBytes);
  Rapidlog::flush();
  EXPECT_EQ(Rapidlog::decodeFile(path("f.rl")).size(), 1u);
  Rapidlog::writeText("h", 2, "kept");
  EXPECT_EQ(open("missing/x.rl"), ENOENT);
  EXPECT_FALSE(Rapidlog::enabled());
  EXPECT_EQ(Rapidlog::fileName(), "");
  nestedBlocks(1);  // must do nothing
  Rapidlog::flush();
  const auto lines = Rapidlog::decodeFile(path("f.rl"));
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(parse(lines[1]).rest, "2 kept");
}

TEST_F(RapidlogTest, InvalidArgumentsAreRejectedWithEinval) {
  struct Case {
    std::string file;
    const char* size;
    int rotations, bufferLog2, mode;
    unsigned maxRecord;
  };
  const std::string f = path("x.rl");
  const Case cases[] = {
      {path("a-%d-%d.rl"), nullptr, 0, 24, 0, 512},
      {f, "12Q", 0, 24, 0, 512},
      {f, "", 0, 24, 0, 512},
      {f, "K", 0, 24, 0, 512},
      {f, "99999999999999999999", 0, 24, 0, 512},
      {f, "17179869184G", 0, 24, 0, 512},  // overflows when shifted
      {f, "1K", 0, 24, 0, 512},            // below one record
      {f, nullptr, -1, 24, 0, 512},
      {f, nullptr, 1001, 24, 0, 512},
      {f, nullptr, 0, 9, 0, 512},
      {f, nullptr, 0, 31, 0, 512},
      {f, nullptr, 0, 10, 0, 512},  // buffer below two records
      {f, nullptr, 0, 24, 2, 512},
      {f, nullptr, 0, 24, 0, 15},
      {f, nullptr, 0, 24, 0, (1u << 20) + 1},
  };
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    const Case& c = cases[i];
    EXPECT_EQ(Rapidlog::initialize(c.file.c_str(), c.size, nullptr, c.rotations, c.bufferLog2,
                                   c.mode, true, c.maxRecord),
              EINVAL)
        << "case " << i;
    EXPECT_FALSE(Rapidlog::enabled()) << "case " << i;
  }
  EXPECT_TRUE(fs::is_empty(dir_));
  // The boundaries themselves are accepted.
  EXPECT_EQ(Rapidlog::initialize(f.c_str(), "1k", nullptr, 1000, 10, 1, true, 16), 0);
}

TEST_F(RapidlogTest, LongTextIsCutAndMarkedAndControlBytesEscaped) {
  const std::pair<std::string, std::string> cases[] = {
      {std::string(16, 'a'), std::string(16, 'a')},
      {std::string(40, 'b'), std::string(16, 'b') + " [truncated]"},
      // A two-byte character across the cap is left out whole.
      {std::string(15, 'c') + "\xc3\xa9" + "d", std::string(15, 'c') + " [truncated]"},
      {"a\nb\\c\t\x01", "a\\nb\\\\c\\t\\x01"},
  };
  ASSERT_EQ(open("m.rl", nullptr, 24, 16), 0);
  for (const auto& [text, shown] : cases)
    Rapidlog::writeText("h", 3, text);
  const auto lines = finish();
  ASSERT_EQ(lines.size(), std::size(cases));
  for (std::size_t i = 0; i < lines.size(); ++i)
    EXPECT_EQ(parse(lines[i]).rest, "3 " + cases[i].second) << i;
}

TEST_F(RapidlogTest, FullFileDropsAndCountsRecords) {
  ASSERT_EQ(open("d.rl", "4K", 10, 64), 0);
  constexpr int kWritten = 500;
  for (int i = 0; i < kWritten; ++i)
    Rapidlog::writeText("h", 0, "record " + std::to_string(i));
  EXPECT_GT(fs::file_size(path("d.rl")), 1024u);  // the 1 KiB buffer spilled on its own
  const uint64_t dropped = Rapidlog::droppedRecords();
  EXPECT_GT(dropped, 0u);
  const auto lines = finish();
  EXPECT_LE(fs::file_size(path("d.rl")), 4096u);
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back().substr(lines.back().find(' ')),
            " dropped " + std::to_string(dropped) + " records");
  EXPECT_EQ(lines.size() - 1 + dropped, static_cast<std::size_t>(kWritten));
}

TEST_F(RapidlogTest, RotationKeepsNewestFilesInSequence) {
  ASSERT_EQ(
      Rapidlog::initialize(path("r.rl").c_str(), "4K", path("old-%d").c_str(), 2, 10, 0, true, 64),
      0);
  constexpr int kWritten = 1000;
  for (int i = 0; i < kWritten; ++i) {
    RAPIDLOG_BLOCK_TIMER("rotatedBlock");
    Rapidlog::writeText("h", 0, std::to_string(i));
  }
  Rapidlog::shutdown();
  const std::string old = path("old-" + std::to_string(::getpid()));
  EXPECT_FALSE(fs::exists(old + ".3"));
  int expected = -1;
  for (const std::string& file : {old + ".2", old + ".1", path("r.rl")}) {
    EXPECT_LE(fs::file_size(file), 4096u) << file;
    for (const std::string& text : Rapidlog::decodeFile(file)) {
      const Line line = parse(text);
      ASSERT_NE(line.kind, "dropped") << file;
      if (line.kind != "text") continue;
      const int n = std::stoi(line.rest.substr(2));
      if (expected >= 0) {
        EXPECT_EQ(n, expected) << file;
      }
      expected = n + 1;
    }
  }
  EXPECT_EQ(expected, kWritten);
}

TEST_F(RapidlogTest, MutexModeKeepsEveryThreadsRecords) {
  ASSERT_EQ(open("mt.rl", nullptr, 12, 64, 1), 0);
  constexpr int kThreads = 4, kEach = 2000;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t] {
      for (int i = 0; i < kEach; ++i) {
        RAPIDLOG_BLOCK_TIMER("threadBlock");
        Rapidlog::writeText("thread" + std::to_string(t), 4, std::to_string(i));
      }
    });
  }
  for (auto& thread : threads)
    thread.join();
  std::map<std::string, int> next;
  int timers = 0;
  for (const std::string& text : finish()) {
    const Line line = parse(text);
    if (line.kind == "timer") {
      ++timers;
      continue;
    }
    ASSERT_EQ(line.kind, "text");
    EXPECT_EQ(line.rest, "4 " + std::to_string(next[line.name]++)) << line.name;
  }
  EXPECT_EQ(timers, kThreads * kEach);
  EXPECT_EQ(next,
            (std::map<std::string, int>{
                {"thread0", kEach}, {"thread1", kEach}, {"thread2", kEach}, {"thread3", kEach}}));
}

// A value whose formatting is observable, to prove a converter formats nothing while off.
struct Counted {
  int* calls;
};
std::ostream& operator<<(std::ostream& out, const Counted& c) {
  ++*c.calls;
  return out << "counted";
}

TEST_F(RapidlogTest, ConverterFormatsLikeOstreamOnlyWhenOn) {
  int calls = 0;
  Twinlog::RapidlogConverter("h", 5) << Counted{&calls} << 42;
  EXPECT_EQ(calls, 0);
  ASSERT_EQ(open("c.rl"), 0);
  {
    Twinlog::RapidlogConverter c("QuillX", 7);
    c << "x=" << 42 << ' ' << -7L << ' ' << static_cast<unsigned char>('u') << ' ' << 2.5 << ' '
      << true << ' ' << std::string("s") << ' ' << Counted{&calls};
    c.flush();
    c.write("second");
  }
  Twinlog::RapidlogConverter("QuillX", 7).flush();  // nothing gathered, nothing written
  const auto lines = finish();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(parse(lines[0]).rest, "7 x=42 -7 u 2.5 1 s counted");
  EXPECT_EQ(parse(lines[1]).rest, "7 second");
  EXPECT_EQ(calls, 1);
}

// --- decoding damaged input ---

std::string varint(uint64_t v) {
  char buf[Rapidlog::format::kMaxVarintBytes];
  return {buf, Rapidlog::format::putVarint(buf, v)};
}
std::string define(uint64_t id, const std::string& name) {
  return "\x01" + varint(id) + varint(name.size()) + name;
}
std::string text(uint64_t id, int level, const std::string& body, uint64_t length) {
  return "\x03" + varint(id) + std::string(1, static_cast<char>(level)) + varint(5) +
         std::string(1, '\0') + varint(length) + body;
}

class RapidlogDecodeTest : public RapidlogTest {
 protected:
  void SetUp() override {
    RapidlogTest::SetUp();
    ASSERT_EQ(open("v.rl"), 0);
    nestedBlocks(2);
    Rapidlog::shutdown();
    valid_ = readBytes(path("v.rl"));
  }
  std::string valid_;
};

TEST_F(RapidlogDecodeTest, DamageIsReportedWithOffsetAndReason) {
  struct Case {
    std::string bytes;
    std::size_t offset;
    const char* reason;
  };
  const std::size_t h = Rapidlog::format::kHeaderBytes;
  const std::string header = valid_.substr(0, h);
  const auto damaged = [this](std::size_t at, char byte) {
    std::string bytes = valid_;
    bytes[at] = byte;
    return bytes;
  };
  const Case cases[] = {
      {damaged(0, 'X'), 0, "bad magic"},
      {damaged(8, 2), 8, "unsupported format version 2"},
      {damaged(41, 7), 41, "multithreading mode 7"},
      {valid_.substr(0, 20), 0, "header truncated"},
      {header + "\x09", h, "unknown record type 9"},
      {header + std::string("\x02\x05\x00\x00", 4), h, "undefined name id 5"},
      {header + define(0, "a") + define(0, "b"), h + 4, "defined twice"},
      {header + define(0, "h") + text(0, 12, "x", 1), h + 4, "level 12"},
      {header + "\x02" + std::string(10, '\xff') + "\x01", h, "malformed"},
      {header + define(0, "h") + text(0, 1, "", 513), h + 4, "exceeds"},
      {header + define(0, "h") + text(0, 1, "abc", 10), h + 4, "text record truncated"},
  };
  for (const Case& c : cases) {
    try {
      Rapidlog::decode(c.bytes);
      ADD_FAILURE() << c.reason << ": no error";
    } catch (const Rapidlog::DecodeError& e) {
      EXPECT_EQ(e.offset(), c.offset) << e.what();
      EXPECT_NE(std::string(e.what()).find(c.reason), std::string::npos) << e.what();
      EXPECT_NE(std::string(e.what()).find("offset " + std::to_string(c.offset)), std::string::npos)
          << e.what();
    }
  }
}

// Every cut of a valid file either decodes to a prefix of its lines (a cut between records) or
// fails at an offset inside what is left.
TEST_F(RapidlogDecodeTest, EveryTruncationIsAPrefixOrAnError) {
  const auto full = Rapidlog::decode(valid_);
  ASSERT_EQ(full.size(), 5u);
  std::size_t prefixes = 0;
  for (std::size_t cut = 1; cut < valid_.size(); ++cut) {
    try {
      const auto lines = Rapidlog::decode(std::string_view(valid_).substr(0, cut));
      ASSERT_LE(lines.size(), full.size());
      EXPECT_TRUE(std::equal(lines.begin(), lines.end(), full.begin())) << cut;
      ++prefixes;
    } catch (const Rapidlog::DecodeError& e) {
      EXPECT_LT(e.offset(), cut) << e.what();
    }
  }
  EXPECT_GE(prefixes, 4u);  // the header alone, and after each of the definitions and records
}

using RapidlogDeathTest = RapidlogTest;

TEST_F(RapidlogDeathTest, ExitWritesBufferOnlyWhenAsked) {
  for (const bool flushAtExit : {true, false}) {
    const std::string file = path(flushAtExit ? "exit-flush.rl" : "exit-drop.rl");
    EXPECT_EXIT(
        {
          Rapidlog::initialize(file.c_str(), nullptr, nullptr, 0, 24, 0, flushAtExit, 512);
          Rapidlog::writeText("h", 1, "at exit");
          std::exit(0);
        },
        ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(Rapidlog::decodeFile(file).size(), flushAtExit ? 1u : 0u) << flushAtExit;
  }
}

TEST_F(RapidlogDeathTest, LevelOutsideRangeIsFatal) {
  ASSERT_EQ(open("l.rl"), 0);
  EXPECT_DEATH(Twinlog::RapidlogConverter("h", 10), "Twinlog level in 0..9");
  EXPECT_DEATH(Rapidlog::writeText("h", -1, "x"), "Rapidlog text level in 0..9");
}

}  // namespace

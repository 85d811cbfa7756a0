#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "base/logging.h"
#include "base/strings/string_split.h"
#include "base/strings/stringprintf.h"
#include "tev/testing/log_capture.h"

namespace {

using tev::testing::LogCapture;

TEST(StringPrintfTest, OutputLongerThanAnyFixedBuffer) {
  const std::string long_piece(300, 'x');
  const std::string result = base::StringPrintf("<%s|%d|%05.1f>", long_piece.c_str(), -42, 3.14159);
  EXPECT_EQ(result, "<" + long_piece + "|-42|003.1>");
  EXPECT_EQ(base::StringPrintf("%s", ""), "");

  std::string appended = "head:";
  base::StringAppendF(&appended, "%s", long_piece.c_str());
  base::StringAppendF(&appended, ":%c", 'z');
  EXPECT_EQ(appended, "head:" + long_piece + ":z");
}

TEST(SplitStringTest, TrimmingAndEmptyPieces) {
  using V = std::vector<std::string>;
  EXPECT_EQ(base::SplitString(" a , b ,, c ,", ",", base::TRIM_WHITESPACE, base::SPLIT_WANT_ALL),
            (V{"a", "b", "", "c", ""}));
  EXPECT_EQ(
      base::SplitString(" a , b ,, c ,", ",", base::TRIM_WHITESPACE, base::SPLIT_WANT_NONEMPTY),
      (V{"a", "b", "c"}));
  EXPECT_EQ(base::SplitString(" a ,b", ",", base::KEEP_WHITESPACE, base::SPLIT_WANT_ALL),
            (V{" a ", "b"}));
  // A piece of only whitespace is empty once trimmed.
  EXPECT_EQ(base::SplitString("a, \t,b", ",", base::TRIM_WHITESPACE, base::SPLIT_WANT_NONEMPTY),
            (V{"a", "b"}));
  EXPECT_EQ(base::SplitString("a;b,c", ",;", base::KEEP_WHITESPACE, base::SPLIT_WANT_ALL),
            (V{"a", "b", "c"}));
  EXPECT_EQ(base::SplitString("abc", ",", base::KEEP_WHITESPACE, base::SPLIT_WANT_ALL), (V{"abc"}));
  EXPECT_EQ(base::SplitString(",", ",", base::KEEP_WHITESPACE, base::SPLIT_WANT_ALL), (V{"", ""}));
}

TEST(SplitStringTest, EmptyInputHasNoPiecesEvenWhenAllAreWanted) {
  EXPECT_TRUE(base::SplitString("", ",", base::KEEP_WHITESPACE, base::SPLIT_WANT_ALL).empty());
  EXPECT_TRUE(base::SplitString("", ",", base::TRIM_WHITESPACE, base::SPLIT_WANT_NONEMPTY).empty());
}

// Every test here leaves the process-wide level and handler as it found them.
class LoggingTest : public ::testing::Test {
 protected:
  void SetUp() override { logging::SetMinLogLevel(logging::LOG_INFO); }
  void TearDown() override {
    logging::SetMinLogLevel(saved_level_);
    logging::SetLogMessageHandler(saved_handler_);
  }

 private:
  const logging::LogSeverity saved_level_ = logging::GetMinLogLevel();
  const logging::LogMessageHandlerFunction saved_handler_ = logging::GetLogMessageHandler();
};

TEST_F(LoggingTest, BelowTheMinimumLevelTheStreamIsNeverEvaluated) {
  LogCapture capture;
  int evaluated = 0;
  const auto touch = [&evaluated] { return ++evaluated; };
  logging::SetMinLogLevel(logging::LOG_WARNING);
  EXPECT_FALSE(LOG_IS_ON(INFO));
  EXPECT_TRUE(LOG_IS_ON(WARNING));

  LOG(INFO) << "dropped " << touch();
  LOG_IF(INFO, touch() > 0) << "dropped";
  EXPECT_EQ(evaluated, 0);

  LOG(WARNING) << "kept " << touch();
  LOG_IF(ERROR, false) << "not wanted " << touch();
  EXPECT_EQ(evaluated, 1);
  EXPECT_EQ(capture.Messages(), std::vector<std::string>{"kept 1"});

  logging::SetMinLogLevel(logging::LOG_VERBOSE);
  LOG(VERBOSE) << "chatty";
  EXPECT_TRUE(capture.Contains(logging::LOG_VERBOSE, "chatty"));
}

TEST_F(LoggingTest, FatalCannotBeFilteredOut) {
  logging::SetMinLogLevel(logging::LOG_FATAL + 5);
  EXPECT_EQ(logging::GetMinLogLevel(), logging::LOG_FATAL);
  EXPECT_FALSE(LOG_IS_ON(ERROR));
  EXPECT_TRUE(LOG_IS_ON(FATAL));
}

// What the raw handler hook last saw.
struct HandledMessage {
  int calls = 0;
  int severity = -100;
  std::string file;
  int line = 0;
  size_t message_start = 0;
  std::string str;
};
HandledMessage handled;
bool handler_result = true;

bool RecordingHandler(int severity, const char* file, int line, size_t message_start,
                      const std::string& str) {
  ++handled.calls;
  handled.severity = severity;
  handled.file = file;
  handled.line = line;
  handled.message_start = message_start;
  handled.str = str;
  return handler_result;
}

TEST_F(LoggingTest, TheHandlerSeesSeverityFileLineAndTheFormattedHeader) {
  handled = HandledMessage();
  handler_result = true;
  logging::SetLogMessageHandler(&RecordingHandler);
  const int line = __LINE__ + 1;
  LOG(ERROR) << "value=" << 42;
  ASSERT_EQ(handled.calls, 1);
  EXPECT_EQ(handled.severity, logging::LOG_ERROR);
  EXPECT_EQ(handled.file, __FILE__);
  EXPECT_EQ(handled.line, line);
  const std::string header = "[ERROR:" + std::string(__FILE__) + "(" + std::to_string(line) + ")] ";
  EXPECT_EQ(handled.str, header + "value=42");
  EXPECT_EQ(handled.message_start, header.size());
}

TEST_F(LoggingTest, TheHandlersAnswerDecidesWhetherStderrGetsTheLine) {
  handled = HandledMessage();
  logging::SetLogMessageHandler(&RecordingHandler);

  handler_result = true;
  ::testing::internal::CaptureStderr();
  LOG(WARNING) << "swallowed";
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");

  handler_result = false;
  ::testing::internal::CaptureStderr();
  LOG(WARNING) << "printed";
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), handled.str + "\n");
  EXPECT_EQ(handled.calls, 2);
}

TEST_F(LoggingTest, WithoutAHandlerStderrCarriesSeverityFileAndLine) {
  logging::SetLogMessageHandler(nullptr);
  ::testing::internal::CaptureStderr();
  const int line = __LINE__ + 1;
  LOG(INFO) << "plain";
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "[INFO:" + std::string(__FILE__) + "(" + std::to_string(line) + ")] plain\n");
}

TEST_F(LoggingTest, DcheckEvaluatesItsConditionOnlyWhenOn) {
  int evaluated = 0;
  DCHECK(++evaluated > 0) << "never fails";
  EXPECT_EQ(evaluated, DCHECK_IS_ON() ? 1 : 0);
  // Only a DCHECK reads this: it must still count as used when DCHECKs are compiled out.
  const bool only_checked = evaluated >= 0;
  DCHECK(only_checked);
}

using LoggingDeathTest = LoggingTest;

TEST_F(LoggingDeathTest, FatalAndFailedChecksAbortAfterLogging) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  int evaluated = 0;
  CHECK(true) << "unused " << ++evaluated;
  EXPECT_EQ(evaluated, 0);
  EXPECT_DEATH(LOG(FATAL) << "fatal text", "\\[FATAL:.*quarne_test\\.cc\\([0-9]+\\)\\] fatal text");
  EXPECT_DEATH(CHECK(1 + 1 == 3) << "arithmetic", "Check failed: 1 \\+ 1 == 3\\. arithmetic");
}

}  // namespace

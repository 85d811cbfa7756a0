#include "contract_row.h"

#include <gmock/gmock.h>

namespace tev {
namespace testing {
namespace {

const char* severityName(logging::LogSeverity severity) {
  switch (severity) {
    case logging::LOG_INFO:
      return "INFO ";
    case logging::LOG_WARNING:
      return "WARNING ";
    case logging::LOG_ERROR:
      return "ERROR ";
    default:
      return "FATAL ";
  }
}

std::vector<std::string> libraryLines(const LogCapture& logs) {
  std::vector<std::string> lines;
  for (const LogLine& line : logs.Lines()) {
    if (line.message.rfind("BluetoothTev: ", 0) == 0) {
      lines.push_back(severityName(line.severity) + line.message);
    }
  }
  return lines;
}

}  // namespace

void CheckContractRow(const ContractRow& row) {
  LibraryHarness h(row.options);
  if (row.arrange) row.arrange(h);
  if (row.start) h.Start();
  if (row.prepare) row.prepare(h);
  h.Settle();
  h.logs().Clear();
  h.stack().Clear();

  const int status = row.act(h);
  h.Settle();

  if (row.status != ContractRow::kNoStatus) {
    EXPECT_EQ(status, row.status);
  }
  if (row.linesInAnyOrder) {
    EXPECT_THAT(libraryLines(h.logs()), ::testing::UnorderedElementsAreArray(row.lines));
  } else {
    EXPECT_THAT(libraryLines(h.logs()), ::testing::ElementsAreArray(row.lines));
  }
  EXPECT_THAT(h.stack().Calls(), ::testing::ElementsAreArray(row.callbacks));
  if (row.callbackThread.empty()) return;
  for (const CallbackRecord& record : h.stack().Records()) {
    EXPECT_EQ(record.thread, row.callbackThread) << record.text();
  }
}

}  // namespace testing
}  // namespace tev

#pragma once

#include <termios.h>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "transcript.h"

namespace tev {
namespace bttev {

// The shell's terminal while standard input and output are one: a line editor with history, on
// a thread of its own that alone writes to the terminal. Text written from any thread shows
// above the line being typed, which is then drawn again as it was. Ctrl-C drops the line being
// typed, or ends the input on an empty line (during a command, once it returns); Ctrl-D on an
// empty line ends it too. At most one exists at a time; the terminal is given back as it was
// found when it is destroyed.
class TerminalConsole : public TranscriptSink {
 public:
  // Stack thread. Takes the terminal; null when the console cannot be set up.
  static std::unique_ptr<TerminalConsole> Open();
  // Stops first if Stop() was not called.
  ~TerminalConsole() override;
  TerminalConsole(const TerminalConsole&) = delete;
  TerminalConsole& operator=(const TerminalConsole&) = delete;

  // Stack thread. Shows the prompt once everything written so far is shown, and waits for a
  // line; false once the input has ended.
  bool ReadLine(std::string* line);
  // Stack thread. Shows what is still queued and gives the terminal back; text written later
  // goes straight to the process's standard output and error.
  void Stop();

  // Any thread.
  void Write(Stream stream, std::string text) override;

 private:
  TerminalConsole(int wakeRead, int wakeWrite);

  // Console thread.
  void run();
  void startLine();
  void takeLine(char* line);
  // Tells the stack thread the line it waits for, or the end of the input for null.
  void deliver(const char* line);
  // Clears the prompt and the line being typed, leaving the cursor where the prompt began.
  void hideLine() const;
  // Any thread, with the text kept in order by the caller.
  static void print(const std::deque<std::pair<Stream, std::string>>& texts, bool endLine);

  void wake(char reason) const;

  const int wakeRead_;
  const int wakeWrite_;
  bool hadTerminal_ = false;
  struct termios terminal_ {};
  std::thread::id consoleThread_;

  std::mutex mutex_;
  std::condition_variable lineDone_;
  std::deque<std::pair<Stream, std::string>> queued_;
  bool lineWanted_ = false;
  bool lineReady_ = false;
  bool ended_ = false;
  bool stopping_ = false;
  bool stopped_ = false;
  std::string line_;

  // Console thread only.
  bool editing_ = false;
  bool endRequested_ = false;

  std::thread thread_;
};

}  // namespace bttev
}  // namespace tev

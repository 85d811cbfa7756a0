#include "terminal_console.h"

#include <editline/readline.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/logging.h"

namespace tev {
namespace bttev {
namespace {

constexpr char kPrompt[] = "bttev> ";
constexpr int kHistoryLines = 1000;

// Why the console thread was woken, one byte each on the wake pipe.
constexpr char kWakeQueued = 'q';
constexpr char kWakeLineWanted = 'l';
constexpr char kWakeStop = 's';
constexpr char kWakeInterrupt = 'i';
constexpr char kWakeEnd = 'e';
constexpr char kWakeResize = 'r';

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGWINCH};

// The one console's, for the signal handler and the line editor's callback.
std::atomic<int> gWakeFd{-1};
TerminalConsole* gConsole = nullptr;
struct sigaction gPreviousActions[sizeof(kSignals) / sizeof(kSignals[0])];

void onSignal(int signal) {
  const int saved = errno;
  const char reason = signal == SIGINT ? kWakeInterrupt : signal == SIGWINCH ? kWakeResize : kWakeEnd;
  const int fd = gWakeFd.load();
  if (fd >= 0 && write(fd, &reason, 1) < 0) {
    // A full pipe already holds a wake-up.
  }
  errno = saved;
}

std::string historyFile() {
  const char* home = getenv("HOME");
  return home && *home ? std::string(home) + "/.bttev_history" : std::string();
}

}  // namespace

std::unique_ptr<TerminalConsole> TerminalConsole::Open() {
  DCHECK(!gConsole);
  int fds[2];
  if (pipe2(fds, O_CLOEXEC | O_NONBLOCK) != 0) return nullptr;
  return std::unique_ptr<TerminalConsole>(new TerminalConsole(fds[0], fds[1]));
}

TerminalConsole::TerminalConsole(int wakeRead, int wakeWrite) : wakeRead_(wakeRead), wakeWrite_(wakeWrite) {
  hadTerminal_ = tcgetattr(STDIN_FILENO, &terminal_) == 0;
  gConsole = this;
  gWakeFd.store(wakeWrite_);
  struct sigaction action {};
  action.sa_handler = &onSignal;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  for (size_t i = 0; i < sizeof(kSignals) / sizeof(kSignals[0]); ++i) {
    sigaction(kSignals[i], &action, &gPreviousActions[i]);
  }
  thread_ = std::thread(&TerminalConsole::run, this);
}

TerminalConsole::~TerminalConsole() { Stop(); }

void TerminalConsole::Stop() {
  if (!thread_.joinable()) return;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  wake(kWakeStop);
  thread_.join();
  for (size_t i = 0; i < sizeof(kSignals) / sizeof(kSignals[0]); ++i) {
    sigaction(kSignals[i], &gPreviousActions[i], nullptr);
  }
  gWakeFd.store(-1);
  close(wakeRead_);
  close(wakeWrite_);
  if (hadTerminal_) tcsetattr(STDIN_FILENO, TCSADRAIN, &terminal_);
  gConsole = nullptr;
}

bool TerminalConsole::ReadLine(std::string* line) {
  std::unique_lock<std::mutex> lock(mutex_);
  if (ended_) return false;
  lineWanted_ = true;
  lineReady_ = false;
  wake(kWakeLineWanted);
  lineDone_.wait(lock, [this] { return lineReady_; });
  lineWanted_ = false;
  if (ended_) return false;
  *line = std::move(line_);
  return true;
}

void TerminalConsole::Write(Stream stream, std::string text) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (stopped_) {
    print({{stream, std::move(text)}}, false);
    return;
  }
  queued_.emplace_back(stream, std::move(text));
  if (queued_.size() == 1) wake(kWakeQueued);
}

void TerminalConsole::wake(char reason) const {
  if (write(wakeWrite_, &reason, 1) < 0) {
    // A full pipe already holds a wake-up.
  }
}

void TerminalConsole::print(const std::deque<std::pair<Stream, std::string>>& texts, bool endLine) {
  bool atLineStart = true;
  for (const auto& [stream, text] : texts) {
    if (text.empty()) continue;
    if (stream == Stream::kErr) fflush(stdout);
    FILE* file = stream == Stream::kErr ? stderr : stdout;
    fwrite(text.data(), 1, text.size(), file);
    fflush(file);
    atLineStart = text.back() == '\n';
  }
  if (endLine && !atLineStart) fputc('\n', stdout);
  fflush(stdout);
}

void TerminalConsole::hideLine() const {
  DCHECK(std::this_thread::get_id() == consoleThread_);
  int rows = 0;
  int columns = 0;
  rl_get_screen_size(&rows, &columns);
  const int rowsAbove = columns > 0 ? static_cast<int>((sizeof(kPrompt) - 1 + rl_point) / columns) : 0;
  if (rowsAbove > 0) fprintf(stdout, "\033[%dA", rowsAbove);
  fputs("\r\033[J", stdout);
}

void TerminalConsole::startLine() {
  DCHECK(std::this_thread::get_id() == consoleThread_);
  rl_callback_handler_install(kPrompt, [](char* line) { gConsole->takeLine(line); });
  // The editor updates these only as keys arrive; the new line is empty.
  rl_point = 0;
  rl_end = 0;
  editing_ = true;
}

void TerminalConsole::takeLine(char* line) {
  DCHECK(std::this_thread::get_id() == consoleThread_);
  rl_callback_handler_remove();
  editing_ = false;
  if (!line) {
    fputs("\n", stdout);
    fflush(stdout);
    deliver(nullptr);
    return;
  }
  if (line[strspn(line, " \t")] != '\0') add_history(line);
  deliver(line);
  free(line);
}

void TerminalConsole::deliver(const char* line) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (line) {
    line_ = line;
  } else {
    ended_ = true;
  }
  lineReady_ = true;
  lineDone_.notify_one();
}

void TerminalConsole::run() {
  consoleThread_ = std::this_thread::get_id();
  // Signals come through the wake pipe, to this thread; the editor must not take them over.
  rl_catch_signals = 0;
  rl_catch_sigwinch = 0;
  rl_readline_name = "bttev";
  stifle_history(kHistoryLines);
  const std::string history = historyFile();
  if (!history.empty()) read_history(history.c_str());

  for (;;) {
    // Standard input is left alone between lines: a hang-up there would wake every poll.
    pollfd fds[2] = {{wakeRead_, POLLIN, 0}, {editing_ ? STDIN_FILENO : -1, POLLIN, 0}};
    if (poll(fds, 2, -1) < 0) continue;
    bool interrupted = false;
    bool resized = false;
    char reasons[64];
    const ssize_t count = (fds[0].revents & POLLIN) ? read(wakeRead_, reasons, sizeof(reasons)) : 0;
    for (ssize_t i = 0; i < count; ++i) {
      interrupted |= reasons[i] == kWakeInterrupt;
      resized |= reasons[i] == kWakeResize;
      endRequested_ |= reasons[i] == kWakeEnd;
    }

    std::deque<std::pair<Stream, std::string>> output;
    bool lineWanted;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      if (stopping_) {
        if (editing_) rl_callback_handler_remove();
        // Under the lock, so that text written from now on comes after it.
        print(queued_, false);
        queued_.clear();
        stopped_ = true;
        break;
      }
      output.swap(queued_);
      lineWanted = lineWanted_ && !lineReady_;
    }

    if (resized) rl_resize_terminal();
    if (!editing_) {
      print(output, false);
      if (interrupted && !endRequested_) {
        endRequested_ = true;
        // Over the terminal's own echo of the key.
        print({{Stream::kOut, "\r\033[K^C: the shell ends when this command returns\n"}}, false);
      }
      if (lineWanted && endRequested_) {
        deliver(nullptr);
      } else if (lineWanted) {
        startLine();
      }
      continue;
    }

    if (!output.empty() || interrupted || endRequested_) {
      hideLine();
      print(output, true);
      if (interrupted) {
        print({{Stream::kOut, kPrompt + std::string(rl_line_buffer ? rl_line_buffer : "", rl_end) + "^C\n"}}, false);
      }
      if (endRequested_ || (interrupted && rl_end == 0)) {
        rl_callback_handler_remove();
        editing_ = false;
        deliver(nullptr);
        continue;
      }
      if (interrupted) {
        // Drops the line: the editor starts each line empty.
        rl_callback_handler_remove();
        startLine();
        continue;
      }
      rl_forced_update_display();
    }
    if (fds[1].revents & (POLLHUP | POLLERR | POLLNVAL)) {
      takeLine(nullptr);
    } else if (fds[1].revents & POLLIN) {
      rl_callback_read_char();
    }
  }
  if (!history.empty()) write_history(history.c_str());
}

}  // namespace bttev
}  // namespace tev

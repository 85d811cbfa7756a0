#include "fuzz_session.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/logging.h"

namespace tev {
namespace fuzz {
namespace {

// Set by the library's own log lines: the pipes an input broke, to be restored.
std::atomic<bool> gInstancePipeLost{false};
std::atomic<bool> gHostPipeLost{false};

// Keeps the library's lines out of the fuzzer's output and notices lost pipes; fatal messages
// still print before the abort.
bool watchLog(logging::LogSeverity severity, const char*, int, size_t start,
              const std::string& text) {
  if (text.find("BluetoothTev: Mojo binding lost", start) != std::string::npos) {
    gInstancePipeLost = true;
  }
  if (text.find("BluetoothTev: BluetoothHost connection lost", start) != std::string::npos) {
    gHostPipeLost = true;
  }
  return severity < logging::LOG_FATAL;
}

}  // namespace

FuzzSession& FuzzSession::Get() {
  static FuzzSession* session = [] {
    auto* created = new FuzzSession();
    std::atexit([] {
      Get().session_.reset();
      logging::SetLogMessageHandler(nullptr);
    });
    return created;
  }();
  return *session;
}

FuzzSession::FuzzSession() {
  logging::SetLogMessageHandler(&watchLog);
  session_ = std::make_unique<stress::LibrarySession>();
  EnsureReady();
}

void FuzzSession::RestoreHostLater() { gHostPipeLost = true; }

// Only a new init brings a new instance pipe.
void FuzzSession::EnsureReady() {
  if (gInstancePipeLost.exchange(false) && session_->AdapterInstalled()) {
    if (session_->GattInstalled()) session_->CleanUpGatt();
    session_->CleanUpAdapter();
  }
  if (!session_->AdapterInstalled()) {
    session_->InstallAdapter();
    gHostPipeLost = false;
  }
  if (gHostPipeLost.exchange(false)) {
    session_->host().CallInit();
    session_->Settle();
  }
  if (!session_->GattInstalled()) session_->InstallGatt(session_->stack().gattCallbacks());
}

void FuzzSession::Settle() {
  session_->Settle();
  if (session_->stack().BreachCount() == 0) return;
  for (const std::string& breach : session_->stack().Breaches()) {
    std::fprintf(stderr, "callback contract breach: %s\n", breach.c_str());
  }
  std::abort();
}

}  // namespace fuzz
}  // namespace tev

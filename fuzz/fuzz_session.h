#pragma once

#include <memory>

#include "library_session.h"

namespace tev {
namespace fuzz {

// The one library of the process, kept for every input: both tables installed and the host
// connected. An input may tear parts of it down (clean-ups, severed pipes, a malformed message
// that closes the instance pipe, an Init without a host); the next input finds it restored. A
// breach of the callback contract aborts, so that the fuzzer keeps the input.
class FuzzSession {
 public:
  // Built on first use; torn down at exit, before the library's own statics go.
  static FuzzSession& Get();

  stress::LibrarySession& library() { return *session_; }

  // Both tables installed and the host connected, as far as the host's side allows.
  void EnsureReady();
  // Settles, then aborts if the stack saw a breach.
  void Settle();
  // The input left the host's proxy unusable without the library noticing a lost pipe: the next
  // EnsureReady calls Init again.
  void RestoreHostLater();

 private:
  FuzzSession();

  std::unique_ptr<stress::LibrarySession> session_;
};

}  // namespace fuzz
}  // namespace tev

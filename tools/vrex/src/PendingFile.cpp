#include "PendingFile.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstring>

namespace vrex::cli {

namespace {

// The temporary files a signal removes. Filled and emptied by the main
// thread; read, without allocating, by the signal handler.
struct SignalPath {
  volatile std::sig_atomic_t used = 0;
  char path[4096] = {};
};
std::array<SignalPath, 8> signalPaths;

extern "C" void RemoveAndExit(int signal) {
  for (const SignalPath& slot : signalPaths) {
    if (slot.used != 0) unlink(slot.path);
  }
  _exit(128 + signal);
}

}  // namespace

void PendingFile::SignalSlot::Take(const std::string& path) {
  for (std::size_t i = 0; i < signalPaths.size(); ++i) {
    SignalPath& slot = signalPaths[i];
    if (slot.used == 0 && path.size() < sizeof slot.path) {
      std::memcpy(slot.path, path.c_str(), path.size() + 1);
      std::atomic_signal_fence(std::memory_order_seq_cst);  // the path before the mark
      slot.used = 1;
      index = static_cast<int>(i);
      return;
    }
  }
}

void PendingFile::SignalSlot::Release() {
  if (index >= 0) signalPaths[static_cast<std::size_t>(index)].used = 0;
  index = -1;
}

PendingFile::PendingFile(const std::string& target) : file_(target) {
  if (file_.IsTemporary()) slot_.Take(file_.Path().string());
}

Error PendingFile::Write(std::string_view bytes) {
  file_.Write(bytes);
  return Status();
}

Error PendingFile::Flush() {
  file_.Flush();
  return Status();
}

Error PendingFile::Commit() {
  if (file_.Commit()) slot_.Release();
  return Status();
}

void RemovePendingFilesOnSignals() {
  struct sigaction action {};
  action.sa_handler = &RemoveAndExit;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

}  // namespace vrex::cli

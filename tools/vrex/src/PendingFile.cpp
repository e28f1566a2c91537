#include "PendingFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <vector>

namespace vrex::cli {

namespace {

// The temporary files a signal removes. Filled and emptied by the main
// thread; read, without allocating, by the signal handler.
struct SignalSlot {
  volatile std::sig_atomic_t used = 0;
  char path[4096] = {};
};
std::array<SignalSlot, 8> signalSlots;

void Register(const std::string& path) {
  for (SignalSlot& slot : signalSlots) {
    if (slot.used == 0 && path.size() < sizeof slot.path) {
      std::memcpy(slot.path, path.c_str(), path.size() + 1);
      std::atomic_signal_fence(std::memory_order_seq_cst);  // the path before the mark
      slot.used = 1;
      return;
    }
  }
}

void Unregister(const std::string& path) {
  for (SignalSlot& slot : signalSlots) {
    if (slot.used != 0 && path == slot.path) slot.used = 0;
  }
}

extern "C" void RemoveAndExit(int signal) {
  for (const SignalSlot& slot : signalSlots) {
    if (slot.used != 0) unlink(slot.path);
  }
  _exit(128 + signal);
}

bool IsSpecialFile(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
}

}  // namespace

PendingFile::PendingFile(std::string target) : target_(std::move(target)) {
  if (IsSpecialFile(target_)) {
    direct_ = true;
    temporary_ = target_;
    return;
  }
  std::vector<char> name(target_.begin(), target_.end());
  const std::string suffix = ".tmp-XXXXXX";
  name.insert(name.end(), suffix.begin(), suffix.end());
  name.push_back('\0');
  const int descriptor = mkstemp(name.data());
  if (descriptor < 0) {
    status_ = CannotWrite();
    return;
  }
  // mkstemp makes the file private; the result gets the permissions of a new file.
  const mode_t mask = umask(0);
  umask(mask);
  fchmod(descriptor, 0666 & ~mask);
  close(descriptor);
  temporary_ = name.data();
  Register(temporary_);
}

PendingFile::~PendingFile() {
  if (appending_ != nullptr) std::fclose(appending_);
  if (!committed_ && !direct_ && !temporary_.empty()) {
    std::remove(temporary_.c_str());
    Unregister(temporary_);
  }
}

Error PendingFile::CannotWrite() const {
  return Error("cannot write " + target_ + ": " + std::strerror(errno));
}

Error PendingFile::Write(const std::string& text) const {
  std::ofstream file(temporary_, std::ios::binary | std::ios::trunc);
  file << text;
  file.close();
  return file ? Error() : CannotWrite();
}

Error PendingFile::Append(std::string_view bytes) {
  if (appending_ == nullptr) appending_ = std::fopen(temporary_.c_str(), "wb");
  if (appending_ == nullptr ||
      std::fwrite(bytes.data(), 1, bytes.size(), appending_) != bytes.size()) {
    return CannotWrite();
  }
  return Error();
}

Error PendingFile::Commit() {
  if (appending_ != nullptr) {
    const int closed = std::fclose(appending_);
    appending_ = nullptr;
    if (closed != 0) return CannotWrite();
  }
  if (!direct_ && std::rename(temporary_.c_str(), target_.c_str()) != 0) {
    return CannotWrite();
  }
  Unregister(temporary_);
  committed_ = true;
  return Error();
}

void RemovePendingFilesOnSignals() {
  struct sigaction action {};
  action.sa_handler = &RemoveAndExit;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

}  // namespace vrex::cli

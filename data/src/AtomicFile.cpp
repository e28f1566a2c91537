#include "vrex/data/AtomicFile.h"

#include <cerrno>
#include <random>
#include <system_error>
#include <utility>

namespace vrex::data {

namespace {

std::string RandomSuffix() {
  thread_local std::mt19937_64 engine{std::random_device{}()};
  constexpr char kDigits[] = "0123456789abcdef";
  std::string suffix(12, '0');
  for (char& digit : suffix) {
    digit = kDigits[engine() % 16];
  }
  return suffix;
}

}  // namespace

AtomicFile::AtomicFile(std::filesystem::path target) : target_(std::move(target)) {
  static_cast<void>(Open());
}

AtomicFile::~AtomicFile() {
  if (file_ != nullptr) {
    std::fclose(file_);
  }
  if (!committed_ && !temporary_.empty()) {
    std::error_code ignored;
    std::filesystem::remove(temporary_, ignored);
  }
}

bool AtomicFile::Open() {
  std::error_code ignored;
  const auto type = std::filesystem::status(target_, ignored).type();
  if (type == std::filesystem::file_type::character || type == std::filesystem::file_type::block ||
      type == std::filesystem::file_type::fifo) {
    file_ = std::fopen(target_.c_str(), "wb");
    return file_ != nullptr || Fail(errno);
  }
  // "x" fails when the name exists, so a name chosen by another writer at
  // the same moment is never shared; a few tries find a free one.
  constexpr int kTries = 4;
  for (int attempt = 0; attempt < kTries; ++attempt) {
    std::filesystem::path candidate = target_;
    candidate += "." + RandomSuffix() + ".part";
    file_ = std::fopen(candidate.c_str(), "wbx");
    if (file_ != nullptr) {
      temporary_ = std::move(candidate);
      return true;
    }
    if (errno != EEXIST) return Fail(errno);
  }
  return Fail(EEXIST);
}

bool AtomicFile::Write(std::string_view bytes) {
  if (file_ == nullptr) return false;
  return std::fwrite(bytes.data(), 1, bytes.size(), file_) == bytes.size() || Fail(errno);
}

bool AtomicFile::Flush() {
  if (file_ == nullptr) return false;
  return std::fflush(file_) == 0 || Fail(errno);
}

bool AtomicFile::Commit() {
  if (file_ == nullptr) return false;
  const int closed = std::fclose(file_);
  file_ = nullptr;
  if (closed != 0) return Fail(errno);
  std::error_code error;
  if (!temporary_.empty()) std::filesystem::rename(temporary_, target_, error);
  if (error) return Fail(error.value());
  committed_ = true;
  return true;
}

// The target, not the temporary, is what the caller asked for.
bool AtomicFile::Fail(int errorNumber) {
  if (error_.empty()) {
    error_ =
        "cannot write " + target_.string() + ": " + std::generic_category().message(errorNumber);
  }
  return false;
}

}  // namespace vrex::data

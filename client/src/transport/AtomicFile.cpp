#include "transport/AtomicFile.h"

#include <cerrno>
#include <random>
#include <system_error>
#include <utility>

namespace vrex::internal {

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

AtomicFile::AtomicFile(std::filesystem::path target) : target_(std::move(target)) { Open(); }

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
  // A device or FIFO is written in place: a file renamed over it would replace it.
  std::error_code ignored;
  const auto type = std::filesystem::status(target_, ignored).type();
  if (type == std::filesystem::file_type::character || type == std::filesystem::file_type::block ||
      type == std::filesystem::file_type::fifo) {
    file_ = std::fopen(target_.c_str(), "wb");
    if (file_ == nullptr) Fail("cannot open", target_, errno);
    return file_ != nullptr;
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
    if (errno != EEXIST) {
      Fail("cannot create", candidate, errno);
      return false;
    }
  }
  Fail("cannot create a temporary file for", target_, EEXIST);
  return false;
}

bool AtomicFile::Write(std::string_view bytes) {
  if (file_ == nullptr) {
    return false;
  }
  if (std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) {
    Fail("cannot write", temporary_, errno);
    return false;
  }
  return true;
}

bool AtomicFile::Commit() {
  if (file_ == nullptr) {
    return false;
  }
  const int closed = std::fclose(file_);
  file_ = nullptr;
  if (closed != 0) {
    Fail("cannot write", temporary_, errno);
    return false;
  }
  std::error_code error;
  if (!temporary_.empty()) std::filesystem::rename(temporary_, target_, error);
  if (error) {
    Fail("cannot rename to", target_, error.value());
    return false;
  }
  committed_ = true;
  return true;
}

void AtomicFile::Fail(std::string_view action, const std::filesystem::path& path, int errorNumber) {
  error_ = std::string(action) + " " + path.string() + ": " +
           std::generic_category().message(errorNumber);
}

}  // namespace vrex::internal

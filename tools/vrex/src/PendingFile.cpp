#include "PendingFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <vector>

namespace vrex::cli {

namespace {

Error CannotWrite(const std::string& path) {
  return Error("cannot write " + path + ": " + std::strerror(errno));
}

}  // namespace

PendingFile::PendingFile(std::string target) : target_(std::move(target)) {
  std::vector<char> name(target_.begin(), target_.end());
  const std::string suffix = ".tmp-XXXXXX";
  name.insert(name.end(), suffix.begin(), suffix.end());
  name.push_back('\0');
  const int descriptor = mkstemp(name.data());
  if (descriptor < 0) {
    status_ = CannotWrite(target_);
    return;
  }
  // mkstemp makes the file private; the result gets the permissions of a new file.
  const mode_t mask = umask(0);
  umask(mask);
  fchmod(descriptor, 0666 & ~mask);
  close(descriptor);
  temporary_ = name.data();
}

PendingFile::~PendingFile() {
  if (!committed_ && !temporary_.empty()) std::remove(temporary_.c_str());
}

Error PendingFile::Write(const std::string& text) const {
  std::ofstream file(temporary_, std::ios::binary | std::ios::trunc);
  file << text;
  file.close();
  return file ? Error() : CannotWrite(target_);
}

Error PendingFile::Commit() {
  if (std::rename(temporary_.c_str(), target_.c_str()) != 0) {
    return CannotWrite(target_);
  }
  committed_ = true;
  return Error();
}

}  // namespace vrex::cli

#include "BoundedInput.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <istream>

#include "vrex/data/Text.h"

namespace vrex::cli {

namespace {

std::string KindOf(mode_t mode) {
  if (S_ISDIR(mode)) return "is a directory";
  if (S_ISFIFO(mode)) return "is a FIFO (pipe it to -d @- instead)";
  if (S_ISCHR(mode) || S_ISBLK(mode)) return "is a device";
  return "is not a regular file";
}

std::string TooLarge(const std::string& name, std::uint64_t limit) {
  return name + " is larger than " + data::FormatBytes(limit);
}

}  // namespace

Result<std::string> ReadRegularFile(const std::string& path, std::uint64_t limit,
                                    const std::string& what) {
  using TextResult = Result<std::string>;
  const std::string name = what + " \"" + path + "\"";
  // Non-blocking, so that opening a FIFO without a writer does not wait.
  const int descriptor = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) {
    return TextResult::Failure("cannot read " + name + ": " + std::strerror(errno));
  }
  struct stat status {};
  std::string text;
  std::string problem;
  if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
    problem = "cannot read " + name + ": it " + KindOf(status.st_mode);
  } else if (static_cast<std::uint64_t>(status.st_size) > limit) {
    problem = TooLarge(name, limit);
  } else {
    text.resize(static_cast<std::size_t>(status.st_size));
    const ssize_t got = read(descriptor, text.data(), text.size());
    if (got < 0) problem = "cannot read " + name + ": " + std::strerror(errno);
    text.resize(got < 0 ? 0 : static_cast<std::size_t>(got));
  }
  close(descriptor);
  return problem.empty() ? TextResult::Success(std::move(text)) : TextResult::Failure(problem);
}

Result<std::string> ReadStream(std::istream& in, std::uint64_t limit, const std::string& name) {
  std::string text;
  char block[65536];
  while (in.read(block, sizeof block) || in.gcount() > 0) {
    text.append(block, static_cast<std::size_t>(in.gcount()));
    if (text.size() > limit) {
      return Result<std::string>::Failure(TooLarge(name, limit));
    }
  }
  return Result<std::string>::Success(std::move(text));
}

}  // namespace vrex::cli

#include "vrex/stub/AnswerLoader.h"

#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <system_error>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <google/protobuf/util/json_util.h>

#include "AnswerMetaFile.h"
#include "vrex/RequestCatalog.h"

namespace vrex::stub {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kRawContentType = "application/octet-stream";

/// The files of one request type found in a data directory.
struct AnswerFiles {
  std::optional<fs::path> json;
  std::optional<fs::path> bin;
  std::optional<fs::path> meta;
};

std::string ReadWholeFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    throw AnswerLoadError(path.string() + ": cannot be opened");
  }
  std::string content((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad()) {
    throw AnswerLoadError(path.string() + ": cannot be read");
  }
  return content;
}

const RequestInfo& KnownRequest(std::string_view requestType) {
  const RequestInfo* info = FindRequest(requestType);
  if (info == nullptr) {
    throw AnswerLoadError("'" + std::string(requestType) +
                          "' is not a request type the server knows");
  }
  return *info;
}

const google::protobuf::Descriptor& AnswerMessageOf(const RequestInfo& request,
                                                    std::string_view answerType) {
  const google::protobuf::Descriptor* descriptor = AnswerDescriptor(request, answerType);
  if (descriptor != nullptr) {
    return *descriptor;
  }
  if (!answerType.empty()) {
    throw AnswerLoadError("answer-type '" + std::string(answerType) +
                          "' names no contract message");
  }
  throw AnswerLoadError(std::string(request.name) + " is a " +
                        std::string(ToString(request.kind)) +
                        " answered by no message: give its body as raw bytes (.bin) or "
                        "name the message with answer-type in its .meta");
}

std::map<std::string, AnswerFiles> FindAnswerFiles(const fs::path& directory) {
  std::error_code error;
  fs::directory_iterator entries(directory, error);
  if (error) {
    throw AnswerLoadError(directory.string() + ": cannot be read as a data directory (" +
                          error.message() + ")");
  }
  std::map<std::string, AnswerFiles> found;
  for (const fs::directory_entry& entry : entries) {
    if (!entry.is_regular_file()) {
      continue;
    }
    const fs::path& path = entry.path();
    const auto extension = path.extension();
    AnswerFiles& files = found[path.stem().string()];
    if (extension == ".json") {
      files.json = path;
    } else if (extension == ".bin") {
      files.bin = path;
    } else if (extension == ".meta") {
      files.meta = path;
    }
  }
  // Stems seen only with other extensions (README.md) are no answers.
  for (auto it = found.begin(); it != found.end();) {
    const AnswerFiles& files = it->second;
    it = (files.json || files.bin || files.meta) ? std::next(it) : found.erase(it);
  }
  return found;
}

/// Prefixes the error of loading one request type's files with the file at fault.
template <typename Load>
auto NamingFile(const fs::path& file, Load load) {
  try {
    return load();
  } catch (const AnswerLoadError& error) {
    const std::string what = error.what();
    const std::string prefix = file.string() + ":";
    throw AnswerLoadError(what.rfind(prefix, 0) == 0 ? what : prefix + " " + what);
  }
}

CannedAnswer LoadOneAnswer(const std::string& requestType, const AnswerFiles& files) {
  const fs::path& someFile = files.json ? *files.json : files.bin ? *files.bin : *files.meta;
  NamingFile(someFile, [&] { KnownRequest(requestType); });
  if (files.json && files.bin) {
    throw AnswerLoadError(files.json->string() + ": " + files.bin->filename().string() +
                          " gives the same answer's body; keep one of them");
  }

  AnswerMeta meta;
  if (files.meta) {
    meta = ParseAnswerMeta(ReadWholeFile(*files.meta), files.meta->string());
  }

  CannedAnswer answer;
  if (files.json) {
    answer = NamingFile(*files.json, [&] {
      return JsonAnswer(requestType, ReadWholeFile(*files.json), meta.answerType);
    });
  } else if (files.bin) {
    answer.body = ReadWholeFile(*files.bin);
    answer.contentType = std::string(kRawContentType);
  }
  ApplyAnswerMeta(meta, answer);
  return answer;
}

}  // namespace

CannedAnswer JsonAnswer(std::string_view requestType, std::string_view json,
                        std::string_view answerType) {
  const google::protobuf::Descriptor& descriptor =
      AnswerMessageOf(KnownRequest(requestType), answerType);
  const std::unique_ptr<google::protobuf::Message> message(
      google::protobuf::MessageFactory::generated_factory()->GetPrototype(&descriptor)->New());

  const auto status = google::protobuf::util::JsonStringToMessage(
      google::protobuf::StringPiece(json.data(), json.size()), message.get());
  if (!status.ok()) {
    throw AnswerLoadError("not a valid " + descriptor.name() + " in proto3 JSON: " +
                          status.ToString());
  }
  return MessageAnswer(*message);
}

AnswerSet LoadAnswerDirectory(const fs::path& directory) {
  AnswerSet answers;
  for (const auto& [requestType, files] : FindAnswerFiles(directory)) {
    answers.emplace(requestType, LoadOneAnswer(requestType, files));
  }
  return answers;
}

}  // namespace vrex::stub

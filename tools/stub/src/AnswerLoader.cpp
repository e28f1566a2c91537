#include "vrex/stub/AnswerLoader.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <google/protobuf/util/json_util.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <system_error>

#include "AnswerMetaFile.h"
#include "CaseJson.h"
#include "JsonAnswer.h"
#include "vrex/RequestCatalog.h"

namespace vrex::stub {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kCaseFileSuffix = ".cases.json";

/// The request type a case file is of, or nothing for another file.
std::optional<std::string> CaseFileType(const fs::path& path) {
  const std::string name = path.filename().string();
  if (name.size() <= kCaseFileSuffix.size() ||
      name.compare(name.size() - kCaseFileSuffix.size(), kCaseFileSuffix.size(), kCaseFileSuffix) !=
          0) {
    return std::nullopt;
  }
  return name.substr(0, name.size() - kCaseFileSuffix.size());
}

/// The files of one request type found in a data directory.
struct AnswerFiles {
  std::optional<fs::path> json;
  std::optional<fs::path> bin;
  std::optional<fs::path> meta;
};

Result<std::string> ReadWholeFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    return Result<std::string>::Failure(path.string() + ": cannot be opened");
  }
  std::string content((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad()) {
    return Result<std::string>::Failure(path.string() + ": cannot be read");
  }
  return Result<std::string>::Success(std::move(content));
}

Result<std::map<std::string, AnswerFiles>> FindAnswerFiles(const fs::path& directory) {
  using FilesResult = Result<std::map<std::string, AnswerFiles>>;
  std::error_code error;
  fs::directory_iterator entries(directory, error);
  if (error) {
    return FilesResult::Failure(directory.string() + ": cannot be read as a data directory (" +
                                error.message() + ")");
  }
  std::map<std::string, AnswerFiles> found;
  for (const fs::directory_entry& entry : entries) {
    if (!entry.is_regular_file() || CaseFileType(entry.path())) {
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
  return FilesResult::Success(std::move(found));
}

/// The error of loading one request type's files, prefixed with the file at fault.
Error NamingFile(const fs::path& file, const Error& error) {
  const std::string prefix = file.string() + ":";
  const std::string& what = error.Message();
  return what.rfind(prefix, 0) == 0 ? what : prefix + " " + what;
}

Result<CannedAnswer> LoadOneAnswer(const std::string& requestType, const AnswerFiles& files) {
  using AnswerResult = Result<CannedAnswer>;
  const fs::path& someFile = files.json ? *files.json : files.bin ? *files.bin : *files.meta;
  if (const auto known = KnownRequest(requestType); !known) {
    return AnswerResult::Failure(NamingFile(someFile, known.GetStatus()));
  }
  if (files.json && files.bin) {
    return AnswerResult::Failure(files.json->string() + ": " + files.bin->filename().string() +
                                 " gives the same answer's body; keep one of them");
  }

  AnswerMeta meta;
  if (files.meta) {
    const auto text = ReadWholeFile(*files.meta);
    if (!text) return AnswerResult::Failure(text.GetStatus());
    auto parsed = ParseAnswerMeta(text.Value(), files.meta->string());
    if (!parsed) return AnswerResult::Failure(parsed.GetStatus());
    meta = std::move(parsed).Value();
  }

  CannedAnswer answer;
  if (files.json) {
    const auto text = ReadWholeFile(*files.json);
    if (!text) return AnswerResult::Failure(text.GetStatus());
    auto parsed = JsonAnswer(requestType, text.Value(), meta.answerType);
    if (!parsed) return AnswerResult::Failure(NamingFile(*files.json, parsed.GetStatus()));
    answer = std::move(parsed).Value();
  } else if (files.bin) {
    const auto body = ReadWholeFile(*files.bin);
    if (!body) return AnswerResult::Failure(body.GetStatus());
    answer.body = body.Value();
    answer.contentType = std::string(kRawContentType);
  }
  ApplyAnswerMeta(meta, answer);
  return AnswerResult::Success(std::move(answer));
}

}  // namespace

Result<AnswerSet> LoadAnswerDirectory(const fs::path& directory) {
  const auto found = FindAnswerFiles(directory);
  if (!found) return Result<AnswerSet>::Failure(found.GetStatus());
  AnswerSet answers;
  for (const auto& [requestType, files] : found.Value()) {
    auto answer = LoadOneAnswer(requestType, files);
    if (!answer) return Result<AnswerSet>::Failure(answer.GetStatus());
    answers.emplace(requestType, std::move(answer).Value());
  }
  return Result<AnswerSet>::Success(std::move(answers));
}

Result<std::vector<StubCase>> LoadCaseDirectory(const fs::path& directory) {
  using CasesResult = Result<std::vector<StubCase>>;
  auto answers = LoadAnswerDirectory(directory);
  if (!answers) return CasesResult::Failure(answers.GetStatus());
  std::vector<StubCase> cases;
  for (auto& [requestType, answer] : answers.Value()) {
    cases.push_back({requestType, "default", {}, {std::move(answer)}});
  }
  std::map<std::string, fs::path> caseFiles;  // in name order, whatever the directory's
  for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
    if (const auto requestType = CaseFileType(entry.path());
        requestType && entry.is_regular_file()) {
      caseFiles.emplace(*requestType, entry.path());
    }
  }
  for (const auto& [requestType, path] : caseFiles) {
    const auto text = ReadWholeFile(path);
    if (!text) return CasesResult::Failure(text.GetStatus());
    auto parsed = ParseCaseFile(requestType, text.Value());
    if (!parsed) return CasesResult::Failure(NamingFile(path, parsed.GetStatus()));
    for (StubCase& stubCase : parsed.Value()) {
      if (stubCase.match.empty() && answers->count(requestType) != 0) {
        return CasesResult::Failure(path.string() + ": case \"" + stubCase.name +
                                    "\" is a second default case of " + requestType +
                                    "; its other answer file gives one already");
      }
      cases.push_back(std::move(stubCase));
    }
  }
  return CasesResult::Success(std::move(cases));
}

}  // namespace vrex::stub

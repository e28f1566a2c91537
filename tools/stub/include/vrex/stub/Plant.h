#pragma once
// A plant database (docs/plant.md) as the stub's last layer: the answers to
// the queries and commands of a request type are computed from the tests,
// shifts and tables it holds, every filter of a query honoured.
//
//   vrex::stub::StubServer server;
//   server.SetPlant(std::make_shared<vrex::stub::Plant>("plant.sqlite"));

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "vrex/stub/CannedAnswer.h"
#include "vrex/stub/JournalEntry.h"

namespace vrex::stub {

class Plant {
 public:
  /// Throws std::runtime_error naming the file when it is no plant database
  /// of this version.
  explicit Plant(std::filesystem::path file);

  /// The answer to a request of `requestType`; nothing when the plant holds
  /// no data of that type. Safe to call from several threads at once.
  std::optional<CannedAnswer> Answer(std::string_view requestType,
                                     const JournalEntry& request) const;

  const std::filesystem::path& File() const { return file_; }

  /// From now on a request whose GatewayApiAuthentication header is not
  /// `token` gets 401 from the plant. A plant whose token table holds a
  /// "gateway" row requires that token from the start.
  void RequireToken(std::string token) { token_ = std::move(token); }

 private:
  class Connections;

  std::filesystem::path file_;
  std::optional<std::string> token_;
  /// Read connections kept open between queries: opening one costs more
  /// than answering a small query.
  std::shared_ptr<Connections> connections_;
  /// The answer to the version query, which no command changes: read once,
  /// since a database read (its file locks) costs more than the rest of a
  /// small query.
  CannedAnswer version_;
};

/// Writes a plant of `tests` tests over `days` days up to `now` (seconds since
/// 1970) into `file`: the same arguments always give the same bytes.
void GeneratePlantFile(const std::filesystem::path& file, std::int64_t tests, int days,
                       std::uint64_t seed, std::int64_t now);

}  // namespace vrex::stub

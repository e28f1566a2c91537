// Slices and warm memory where an application meets them: vrex::Client
// parses an answer while it arrives, starts afresh on every attempt, and
// reads answers again and again into a vrex::AnswerArena.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>

#include "ProcessResources.h"
#include "SamplePlantAnswers.h"
#include "parse/BlockRecycler.h"
#include "parse/WarmArenas.h"
#include "vrex/AnswerArena.h"
#include "vrex/Client.h"
#include "vrex/Contracts.h"
#include "vrex/stub/CannedAnswer.h"

namespace {

namespace contracts = Korvan::KQ::DataContracts;
using vrex::internal::BlockRecycler;

// Sends a 200 answer's body in small chunks; the first attempt breaks off
// halfway, as a connection reset does.
class BreaksOffOnce : public vrex::Transport {
 public:
  explicit BreaksOffOnce(std::string body) : body_(std::move(body)) {}

  vrex::HttpResponse Post(const vrex::HttpRequest&) override { return {}; }
  vrex::HttpResponse PostStreaming(const vrex::HttpRequest&,
                                   const vrex::StreamHandler& onChunk) override {
    const bool first = attempts_++ == 0;
    const std::string_view sent =
        std::string_view(body_).substr(0, first ? body_.size() / 2 : body_.size());
    vrex::HttpResponse response;
    response.status = 200;
    if (first) {
      response.failure = vrex::TransferFailure::BrokenAnswer;
      response.transportError = "Connection reset by peer";
    }
    for (std::size_t offset = 0; offset < sent.size(); offset += 5) {
      if (!onChunk(sent.substr(offset, 5), body_.size())) {
        response.failure = vrex::TransferFailure::Cancelled;
        break;
      }
    }
    return response;
  }

 private:
  std::string body_;
  int attempts_ = 0;
};

TEST(ClientParsing, AnAttemptBrokenOffHalfwayLeavesNothingInTheAnswer) {
  const vrex::testing::Encoding measurements = vrex::testing::SamplePlantAnswer("MeasurementQuery");
  vrex::ClientOptions options;
  options.baseUrl = "http://results.example";
  options.retry.initialDelay = std::chrono::milliseconds(0);
  options.parsing = {0, 3};  // every answer in slices
  const vrex::Client client(options, std::make_shared<BreaksOffOnce>(measurements.body));

  const auto answer = client.Send(contracts::MeasurementQuery());

  ASSERT_TRUE(answer) << answer.GetStatus().Message();
  EXPECT_EQ(answer.GetStatus().Attempts(), 2);
  contracts::MeasurementContainer whole;
  whole.ParseFromString(measurements.body);
  EXPECT_EQ(vrex::stub::SerializeDeterministically(*answer),
            vrex::stub::SerializeDeterministically(whole));
}

std::string HeadersAnswer(int headers) {
  contracts::GeneralInformationContainer container;
  for (int id = 0; id < headers; ++id) container.add_values()->set_pkident(id);
  return container.SerializeAsString();
}

int ReadHeaders(google::protobuf::Arena& arena, const std::string& body) {
  auto* answer =
      google::protobuf::Arena::CreateMessage<contracts::GeneralInformationContainer>(&arena);
  return answer->ParseFromString(body) ? answer->values_size() : -1;
}

// The shipped AnswerArena, seen from outside: its blocks stay taken between
// answers and are given back with it.
TEST(AnswerArenaTest, KeepsTheMemoryOfTheLargestAnswerForTheNext) {
  const std::size_t heapBefore = vrex::testing::HeapBytesInUse();
  std::uint64_t kept = 0;
  {
    vrex::AnswerArena warm;
    EXPECT_EQ(ReadHeaders(warm.Next(), HeadersAnswer(20000)), 20000);
    EXPECT_EQ(ReadHeaders(warm.Next(), HeadersAnswer(10)), 10);
    kept = warm.KeptBytes();
    EXPECT_GT(kept, std::uint64_t{2} << 20);  // the blocks of 20 000 headers
    EXPECT_GT(vrex::testing::HeapBytesInUse(), heapBefore + kept / 2);

    EXPECT_EQ(ReadHeaders(warm.Next(), HeadersAnswer(10)), 10);
    EXPECT_EQ(warm.KeptBytes(), kept);
  }
  EXPECT_LT(vrex::testing::HeapBytesInUse(), heapBefore + kept / 2);
}

// A client's answer arenas keep its largest answer's blocks warm while it or an answer lives.
TEST(AnswerArenaTest, AClientsArenasKeepTheLargestAnswersMemoryWhileAnyOfThemLives) {
  const BlockRecycler& recycler = BlockRecycler::Instance();
  auto arenas = std::make_shared<vrex::internal::WarmArenas>();
  EXPECT_EQ(ReadHeaders(*arenas->New(), HeadersAnswer(20000)), 20000);
  const std::uint64_t warm = recycler.KeptBytes();
  EXPECT_GT(warm, std::uint64_t{2} << 20);  // the blocks of 20 000 headers
  std::shared_ptr<google::protobuf::Arena> kept = arenas->New();
  EXPECT_EQ(ReadHeaders(*kept, HeadersAnswer(20000)), 20000);
  EXPECT_LT(recycler.KeptBytes(), warm / 2);  // the next answer took them
  arenas.reset();                             // the client is gone, an answer lives on
  kept.reset();
  EXPECT_EQ(recycler.KeptBytes(), 0U);
}

}  // namespace

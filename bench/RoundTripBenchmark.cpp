// Small request round trips against the stub on loopback: the established
// Post (a new handle and connection per call), the session client, and a
// bare libcurl loop on one reused handle with the same options, the
// practical limit.
#include <string>

#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include "BenchServer.h"
#include "VrexClient.h"
#include "vrex/Client.h"

namespace {

namespace dc = Korvan::KQ::DataContracts;

dc::ApiVersionQuery SmallQuery() {
  dc::ApiVersionQuery query;
  query.set_factory("Plant-North");
  return query;
}

void EstablishedPost(benchmark::State& state) {
  const std::string url = bench::VersionUrl();
  const dc::ApiVersionQuery query = SmallQuery();
  for (auto _ : state) {
    dc::VersionDTO version;
    const auto status = VrexClient::Post(url, query, version, "");
    if (status.codecategory() != 0 || version.major() != 4) state.SkipWithError("call failed");
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(EstablishedPost)->UseRealTime();

vrex::Client SessionClientOfTheServer() {
  vrex::ClientOptions options;
  options.baseUrl = bench::SharedServer().BaseUrl();
  return vrex::Client(options);
}

void SessionClient(benchmark::State& state) {
  const vrex::Client client = SessionClientOfTheServer();
  const dc::ApiVersionQuery query = SmallQuery();
  for (auto _ : state) {
    const auto result = client.Send(query);
    if (!result || result->major() != 4) state.SkipWithError("call failed");
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(SessionClient)->UseRealTime();

// The same call with its answer on the heap, as Send made it before answers
// got an arena of their own: the small-call cost of that arena, side by side.
void SessionClientHeapAnswer(benchmark::State& state) {
  const vrex::Client client = SessionClientOfTheServer();
  const dc::ApiVersionQuery query = SmallQuery();
  for (auto _ : state) {
    dc::VersionDTO version;
    const vrex::Outcome outcome = client.Send(query, version);
    if (!outcome || version.major() != 4) state.SkipWithError("call failed");
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(SessionClientHeapAnswer)->UseRealTime();

std::size_t AppendBody(char* data, std::size_t size, std::size_t count, void* body) {
  static_cast<std::string*>(body)->append(data, size * count);
  return size * count;
}

void BareCurlReusedHandle(benchmark::State& state) {
  const std::string url = bench::VersionUrl();
  const std::string body = SmallQuery().SerializeAsString();
  curl_global_init(CURL_GLOBAL_ALL);
  CURL* handle = curl_easy_init();
  curl_slist* headers = nullptr;
  headers = curl_slist_append(headers, "Content-Type: application/x-protobuf");
  headers = curl_slist_append(headers, "accept: application/x-protobuf");
  headers = curl_slist_append(headers, "GatewayApiAuthentication: benchmark");
  std::string answer;
  curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers);
  curl_easy_setopt(handle, CURLOPT_POSTFIELDS, body.data());
  curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &AppendBody);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, &answer);
  for (auto _ : state) {
    answer.clear();
    dc::VersionDTO version;
    if (curl_easy_perform(handle) != CURLE_OK || !version.ParseFromString(answer) ||
        version.major() != 4) {
      state.SkipWithError("call failed");
    }
  }
  curl_slist_free_all(headers);
  curl_easy_cleanup(handle);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BareCurlReusedHandle)->UseRealTime();

}  // namespace

#include "vrex/stub/StubServer.h"

#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#include <iostream>
#include <set>
#include <stdexcept>
#include <utility>

#include "AdminApi.h"
#include "AnswerSelection.h"
#include "AnswerTable.h"
#include "HttpListener.h"
#include "RequestJournal.h"

namespace vrex::stub {

namespace {

LogSink OrStandardError(LogSink log) {
  if (log) {
    return log;
  }
  return [](std::string_view line) { std::cerr << "vrex-stub: " << line << '\n'; };
}

/// The request target without its query.
std::string_view PathOf(std::string_view target) { return target.substr(0, target.find('?')); }

}  // namespace

class StubServer::Impl final : public RequestHandler {
 public:
  explicit Impl(StubServerOptions options)
      : journal(options.journalEntries, options.journalBytes), options_(std::move(options)) {
    options_.log = OrStandardError(std::move(options_.log));
  }

  void Start() {
    if (listener_) {
      throw std::logic_error("vrex-stub: the server is already running");
    }
    listener_ = std::make_unique<HttpListener>(options_, *this);
  }
  void Stop() {
    std::unique_ptr<boost::asio::thread_pool> blocking;
    {
      const std::lock_guard lock(blockingMutex_);
      stopping_ = true;
      blocking = std::move(blockingCalls_);
    }
    if (blocking) {
      blocking->stop();  // the calls under way end, the others are dropped
      blocking->join();
      blocking.reset();  // before the connections' registry goes with the listener
    }
    listener_.reset();
    const std::lock_guard lock(blockingMutex_);
    stopping_ = false;
  }
  bool IsRunning() const { return listener_ != nullptr; }
  void ServeConnection(int socket) {
    if (!listener_) {
      throw std::logic_error("vrex-stub: a connection can only be served while running");
    }
    listener_->Serve(socket);
  }
  int Port() const { return listener_ ? listener_->Port() : 0; }
  std::string BaseUrl() const {
    // An IPv6 address is bracketed in a URL.
    const bool ipv6 = options_.host.find(':') != std::string::npos;
    const std::string host = ipv6 ? "[" + options_.host + "]" : options_.host;
    return "http://" + host + ":" + std::to_string(Port());
  }
  std::size_t PeakConnections() const { return listener_ ? listener_->Connections().Peak() : 0; }
  void ClearJournal() {
    journal.Clear();
    if (listener_) {
      listener_->Connections().RestartPeak();
    }
  }
  void SetObserver(RequestObserver observer) {
    const std::lock_guard lock(observerMutex_);
    observer_ = std::move(observer);
  }

  void SetBlocking(std::string_view requestType, bool blocking) {
    const std::lock_guard lock(blockingMutex_);
    if (blocking) {
      blockingTypes_.emplace(requestType);
    } else if (const auto found = blockingTypes_.find(requestType); found != blockingTypes_.end()) {
      blockingTypes_.erase(found);
    }
  }

  bool Blocks(std::string_view requestType) {
    const std::lock_guard lock(blockingMutex_);
    return blockingTypes_.count(requestType) != 0;
  }

  void Answer(JournalEntry request, AnswerReady ready) override {
    const std::string_view path = PathOf(request.path);
    if (options_.adminApi && IsAdminPath(path)) {
      ready(std::make_shared<const CannedAnswer>(
          AnswerAdmin(request.method, path, request, answers, journal, options_)));
      return;
    }
    const auto requestType = RequestTypeOf(path);
    if (!requestType || !Blocks(*requestType)) {
      ready(Chosen(std::move(request)));
      return;
    }
    const std::lock_guard lock(blockingMutex_);
    if (stopping_) return;  // its connection closes with the server
    if (!blockingCalls_) {
      blockingCalls_ = std::make_unique<boost::asio::thread_pool>(options_.threads);
    }
    boost::asio::post(*blockingCalls_, [this, request = std::move(request), ready]() mutable {
      try {
        ready(Chosen(std::move(request)));
      } catch (const std::exception& error) {
        options_.log(std::string("the answer of a blocking responder was lost: ") + error.what());
      }
    });
  }

  AnswerTable answers;
  RequestJournal journal;

 private:
  std::shared_ptr<const CannedAnswer> Chosen(JournalEntry request) {
    const std::string_view path = PathOf(request.path);
    Selection selection = SelectAnswer(request.method, path, request, answers);
    request.matchedCase = std::move(selection.caseName);
    request.unmatched = selection.unmatched;
    auto answer = std::make_shared<const CannedAnswer>(std::move(selection.answer));
    Notify(request, *answer);
    journal.Add(std::move(request));
    return answer;
  }

  void Notify(const JournalEntry& request, const CannedAnswer& answer) {
    RequestObserver observer;
    {
      const std::lock_guard lock(observerMutex_);
      observer = observer_;
    }
    if (!observer) {
      return;
    }
    try {
      observer(request, answer);
    } catch (const std::exception& error) {
      options_.log(std::string("the request observer failed: ") + error.what());
    }
  }

  StubServerOptions options_;
  std::unique_ptr<HttpListener> listener_;
  std::mutex observerMutex_;
  RequestObserver observer_;
  std::mutex blockingMutex_;
  std::set<std::string, std::less<>> blockingTypes_;  // whose responders block
  std::unique_ptr<boost::asio::thread_pool> blockingCalls_;  // made for the first such request
  bool stopping_ = false;
};

StubServer::StubServer(StubServerOptions options)
    : impl_(std::make_unique<Impl>(std::move(options))) {}

StubServer::~StubServer() { impl_->Stop(); }

void StubServer::Start() { impl_->Start(); }
void StubServer::Stop() { impl_->Stop(); }
bool StubServer::IsRunning() const { return impl_->IsRunning(); }
void StubServer::ServeConnection(int socket) { impl_->ServeConnection(socket); }
int StubServer::Port() const { return impl_->Port(); }
std::string StubServer::BaseUrl() const { return impl_->BaseUrl(); }

void StubServer::SetAnswer(std::string_view requestType, CannedAnswer answer) {
  impl_->answers.Set(requestType, std::move(answer));
}

void StubServer::SetAnswerMessage(std::string_view requestType,
                                  const google::protobuf::Message& message, int status) {
  CannedAnswer answer = MessageAnswer(message);
  answer.status = status;
  impl_->answers.Set(requestType, std::move(answer));
}

void StubServer::ClearAnswer(std::string_view requestType) { impl_->answers.Remove(requestType); }
void StubServer::ClearAnswers() { impl_->answers.Clear(); }

void StubServer::SetResponder(std::string_view requestType, Responder responder) {
  impl_->answers.SetResponder(requestType, std::move(responder));
  impl_->SetBlocking(requestType, false);
}

void StubServer::SetBlockingResponder(std::string_view requestType, Responder responder) {
  impl_->answers.SetResponder(requestType, std::move(responder));
  impl_->SetBlocking(requestType, true);
}

void StubServer::ClearResponder(std::string_view requestType) {
  impl_->answers.RemoveResponder(requestType);
  impl_->SetBlocking(requestType, false);
}

void StubServer::AddCase(StubCase stubCase) { impl_->answers.Add(std::move(stubCase)); }
std::vector<StubCase> StubServer::Cases() const { return impl_->answers.Cases(); }
void StubServer::ResetSequences() { impl_->answers.ResetSequences(); }

std::optional<CannedAnswer> StubServer::Answer(std::string_view requestType) const {
  return impl_->answers.Find(requestType);
}

Result<std::size_t> StubServer::LoadAnswers(const std::filesystem::path& directory) {
  auto loaded = LoadCaseDirectory(directory);
  if (!loaded) {
    return Result<std::size_t>::Failure(loaded.GetStatus());
  }
  const std::size_t count = loaded->size();
  try {
    impl_->answers.Replace(std::move(loaded).Value());
  } catch (const std::invalid_argument& error) {
    return Result<std::size_t>::Failure(directory.string() + ": " + error.what());
  }
  return Result<std::size_t>::Success(count);
}

std::vector<JournalEntry> StubServer::Journal() const { return impl_->journal.Entries(); }
void StubServer::ClearJournal() { impl_->ClearJournal(); }
std::size_t StubServer::PeakConnections() const { return impl_->PeakConnections(); }

void StubServer::SetRequestObserver(RequestObserver observer) {
  impl_->SetObserver(std::move(observer));
}

}  // namespace vrex::stub

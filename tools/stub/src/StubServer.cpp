#include "vrex/stub/StubServer.h"

#include <sys/socket.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>

#include "AnswerResponse.h"
#include "AnswerSelection.h"
#include "AnswerTable.h"
#include "RecordingServer.h"
#include "RequestHead.h"
#include "RequestJournal.h"

namespace vrex::stub {

namespace {

// Far more than any client sends on one connection; the library's default of
// 5 would make clients reconnect all the time.
constexpr std::size_t kKeepAliveMaxCount = 1'000'000;
// Bound on the wait for the listening thread to take up its work.
constexpr std::chrono::seconds kStartTimeout{10};

bool HasBody(const httplib::Request& request) {
  return request.has_header("Content-Length") || request.has_header("Transfer-Encoding");
}

JournalEntry EntryOf(const httplib::Request& request) {
  const std::string_view raw = RecordingServer::CurrentRequestBytes();
  return {request.method, request.target, ParseHeaderLines(raw), request.body,
          std::string(HeadOf(raw))};
}

}  // namespace

class StubServer::Impl {
 public:
  explicit Impl(StubServerOptions options) : options_(std::move(options)) {}

  void Start();
  void Stop();
  bool IsRunning() const { return thread_.joinable() && server_->is_running(); }
  void ServeConnection(int socket) {
    if (!IsRunning()) {
      throw std::logic_error("vrex-stub: a connection can only be served while running");
    }
    server_->ServeConnection(socket);
  }
  int Port() const { return IsRunning() ? port_ : 0; }
  std::string BaseUrl() const {
    // An IPv6 address is bracketed in a URL.
    const bool ipv6 = options_.host.find(':') != std::string::npos;
    const std::string host = ipv6 ? "[" + options_.host + "]" : options_.host;
    return "http://" + host + ":" + std::to_string(Port());
  }

  AnswerTable answers;
  RequestJournal journal;

  void SetObserver(RequestObserver observer) {
    const std::lock_guard lock(observerMutex_);
    observer_ = std::move(observer);
  }

 private:
  std::unique_ptr<RecordingServer> MakeServer();
  int Bind(RecordingServer& server) const;
  void WaitUntilServing();
  void Handle(const httplib::Request& request, httplib::Response& response);
  void Notify(const JournalEntry& entry, const CannedAnswer& answer);
  /// Waits `delay`, or less when the server stops meanwhile.
  void Delay(std::chrono::milliseconds delay);

  StubServerOptions options_;
  std::unique_ptr<RecordingServer> server_;
  std::thread thread_;
  int port_ = 0;

  std::mutex stopMutex_;
  std::condition_variable stopSignal_;
  bool stopping_ = false;

  std::mutex observerMutex_;
  RequestObserver observer_;

  const ConnectionControl control_{[this](std::chrono::milliseconds delay) { Delay(delay); },
                                   [] { RecordingServer::ShutDownCurrentConnection(); }};
};

std::unique_ptr<RecordingServer> StubServer::Impl::MakeServer() {
  auto server = std::make_unique<RecordingServer>();
  // Accepted sockets inherit it. Without it an answer (head and body are two
  // writes) waits about 40 ms on a kept-alive connection for the client's
  // delayed acknowledgement.
  server->set_tcp_nodelay(true);
  // The library's default also sets SO_REUSEPORT, which lets a second server
  // bind a port that is in use; address reuse alone still allows a quick restart.
  server->set_socket_options([](socket_t sock) {
    const int on = 1;
    ::setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  });
  server->set_keep_alive_max_count(kKeepAliveMaxCount);
  const std::size_t threads = options_.threads == 0 ? 1 : options_.threads;
  server->new_task_queue = [threads] { return new httplib::ThreadPool(threads); };

  auto handler = [this](const httplib::Request& request, httplib::Response& response) {
    Handle(request, response);
  };
  // The library would wait for the end of the connection to read the body of a
  // POST that states no length; HTTP gives such a request no body at all.
  server->set_pre_routing_handler(
      [this](const httplib::Request& request, httplib::Response& response) {
        if (HasBody(request)) {
          return httplib::Server::HandlerResponse::Unhandled;
        }
        Handle(request, response);
        return httplib::Server::HandlerResponse::Handled;
      });
  // Every method and path is journaled; SelectAnswer turns away what is no request.
  const std::string anyPath = ".*";
  server->Get(anyPath, handler);
  server->Post(anyPath, handler);
  server->Put(anyPath, handler);
  server->Patch(anyPath, handler);
  server->Delete(anyPath, handler);
  server->Options(anyPath, handler);
  return server;
}

int StubServer::Impl::Bind(RecordingServer& server) const {
  if (options_.port == 0) {
    return server.bind_to_any_port(options_.host);
  }
  return server.bind_to_port(options_.host, options_.port) ? options_.port : -1;
}

void StubServer::Impl::WaitUntilServing() {
  const auto deadline = std::chrono::steady_clock::now() + kStartTimeout;
  while (!server_->is_running()) {
    if (std::chrono::steady_clock::now() >= deadline) {
      throw std::runtime_error("vrex-stub: the server did not start serving");
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

void StubServer::Impl::Start() {
  if (thread_.joinable()) {
    throw std::logic_error("vrex-stub: the server is already running");
  }
  auto server = MakeServer();
  const int port = Bind(*server);
  if (port <= 0) {
    throw std::runtime_error("vrex-stub: cannot listen on " + options_.host + ":" +
                             std::to_string(options_.port));
  }
  {
    const std::lock_guard lock(stopMutex_);
    stopping_ = false;
  }
  server_ = std::move(server);
  port_ = port;
  thread_ = std::thread([this] { server_->listen_after_bind(); });
  try {
    WaitUntilServing();
  } catch (...) {
    Stop();
    throw;
  }
}

void StubServer::Impl::Stop() {
  if (!thread_.joinable()) {
    return;
  }
  {
    const std::lock_guard lock(stopMutex_);
    stopping_ = true;
  }
  stopSignal_.notify_all();
  server_->stop();
  thread_.join();
  port_ = 0;
}

void StubServer::Impl::Delay(std::chrono::milliseconds delay) {
  if (delay <= std::chrono::milliseconds::zero()) {
    return;
  }
  std::unique_lock lock(stopMutex_);
  stopSignal_.wait_for(lock, delay, [this] { return stopping_; });
}

void StubServer::Impl::Notify(const JournalEntry& entry, const CannedAnswer& answer) {
  RequestObserver observer;
  {
    const std::lock_guard lock(observerMutex_);
    observer = observer_;
  }
  if (observer) {
    observer(entry, answer);
  }
}

void StubServer::Impl::Handle(const httplib::Request& request, httplib::Response& response) {
  JournalEntry entry = EntryOf(request);
  const CannedAnswer answer = SelectAnswer(request.method, request.path, entry, answers);
  Notify(entry, answer);
  journal.Add(std::move(entry));
  WriteAnswer(answer, response, control_);
}

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
}

void StubServer::ClearResponder(std::string_view requestType) {
  impl_->answers.RemoveResponder(requestType);
}

std::optional<CannedAnswer> StubServer::Answer(std::string_view requestType) const {
  return impl_->answers.Find(requestType);
}

Result<std::size_t> StubServer::LoadAnswers(const std::filesystem::path& directory) {
  Result<AnswerSet> loaded = LoadAnswerDirectory(directory);
  if (!loaded) {
    return Result<std::size_t>::Failure(loaded.GetStatus());
  }
  const std::size_t count = loaded->size();
  impl_->answers.Merge(std::move(loaded).Value());
  return Result<std::size_t>::Success(count);
}

std::vector<JournalEntry> StubServer::Journal() const { return impl_->journal.Entries(); }
void StubServer::ClearJournal() { impl_->journal.Clear(); }

void StubServer::SetRequestObserver(RequestObserver observer) {
  impl_->SetObserver(std::move(observer));
}

}  // namespace vrex::stub

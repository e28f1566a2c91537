#include "transport/CurlTransfer.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <system_error>
#include <utility>

#include "vrex/data/Text.h"

namespace vrex::internal {

namespace {

// Header lines of one answer beyond this are a server that never stops
// sending them; real answers carry a few hundred bytes.
constexpr std::uint64_t kMaxHeaderBytes = 256 * 1024;

std::string_view TrimLineEnd(std::string_view line) {
  while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) {
    line.remove_suffix(1);
  }
  return line;
}

std::string Bytes(std::uint64_t count) {
  return std::to_string(count) + " bytes (" + data::FormatBytes(count) + ")";
}

// The failures that leave no connection to the server, with what they say
// of the cause.
struct ConnectionFailure {
  CURLcode result;
  FailureCause cause;
};

constexpr ConnectionFailure kConnectionFailures[] = {
    {CURLE_COULDNT_RESOLVE_PROXY, FailureCause::ProxyNotResolved},
    {CURLE_COULDNT_RESOLVE_HOST, FailureCause::HostNotResolved},
    {CURLE_COULDNT_CONNECT, FailureCause::Unknown},  // the system's error tells
    {CURLE_PROXY, FailureCause::ProxyFailed},
    {CURLE_PEER_FAILED_VERIFICATION, FailureCause::CertificateRejected},
    {CURLE_SSL_CACERT_BADFILE, FailureCause::CertificateRejected},
    {CURLE_SSL_ISSUER_ERROR, FailureCause::CertificateRejected},
    {CURLE_SSL_PINNEDPUBKEYNOTMATCH, FailureCause::CertificateRejected},
    {CURLE_SSL_INVALIDCERTSTATUS, FailureCause::CertificateRejected},
    {CURLE_SSL_CRL_BADFILE, FailureCause::CertificateRejected},
    {CURLE_SSL_CONNECT_ERROR, FailureCause::TlsFailed},
    {CURLE_SSL_CERTPROBLEM, FailureCause::TlsFailed},
    {CURLE_SSL_CIPHER, FailureCause::TlsFailed},
    {CURLE_USE_SSL_FAILED, FailureCause::TlsFailed},
    {CURLE_SSL_CLIENTCERT, FailureCause::TlsFailed},
};

const ConnectionFailure* FindConnectionFailure(CURLcode result) {
  for (const ConnectionFailure& failure : kConnectionFailures) {
    if (failure.result == result) {
      return &failure;
    }
  }
  return nullptr;
}

FailureCause CauseOfSystemError(int error) {
  switch (error) {
    case ECONNREFUSED:
      return FailureCause::ConnectionRefused;
    case ETIMEDOUT:
      return FailureCause::ConnectTimedOut;
    default:
      return FailureCause::Unknown;
  }
}

// A TLS 1.3 server checks the client's certificate once the client's side of
// the handshake is done, so its refusal comes as an alert where the answer
// would be; libcurl tells it only in OpenSSL's words ("... alert ...").
bool IsTlsAlertInsteadOfAnswer(CURLcode result, const char* errorText) {
  return result == CURLE_RECV_ERROR && std::strstr(errorText, " alert ") != nullptr;
}

bool IsBrokenHttp(CURLcode result) {
  switch (result) {
    case CURLE_PARTIAL_FILE:
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_BAD_CONTENT_ENCODING:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
    case CURLE_HTTP3:
      return true;
    default:
      return false;
  }
}

}  // namespace

CurlTransfer::CurlTransfer(CURL* handle, const HttpRequest& request, curl_slist* headers,
                           const StreamHandler* onChunk)
    : handle_(handle),
      unsent_(request.body),
      bodySize_(request.body.size()),
      onChunk_(onChunk),
      streamLimit_(request.maxStreamedBytes),
      body_(request.maxAnswerBytes) {
  curl_easy_setopt(handle, CURLOPT_URL, request.url.c_str());
  curl_easy_setopt(handle, CURLOPT_POST, 1L);
  curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE,
                   static_cast<curl_off_t>(request.body.size()));
  curl_easy_setopt(handle, CURLOPT_READFUNCTION, &SendBody);
  curl_easy_setopt(handle, CURLOPT_READDATA, this);
  curl_easy_setopt(handle, CURLOPT_SEEKFUNCTION, &RewindBody);
  curl_easy_setopt(handle, CURLOPT_SEEKDATA, this);
  curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers);
  curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, static_cast<long>(request.timeout.count()));
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &ReceiveBody);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, this);
  curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, &ReceiveHeader);
  curl_easy_setopt(handle, CURLOPT_HEADERDATA, this);
  curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, errorText_);
}

CurlTransfer::~CurlTransfer() {
  curl_easy_setopt(handle_, CURLOPT_ERRORBUFFER, nullptr);
  curl_easy_setopt(handle_, CURLOPT_WRITEDATA, nullptr);
  curl_easy_setopt(handle_, CURLOPT_HEADERDATA, nullptr);
  curl_easy_setopt(handle_, CURLOPT_READDATA, nullptr);
  curl_easy_setopt(handle_, CURLOPT_SEEKDATA, nullptr);
  curl_easy_setopt(handle_, CURLOPT_HTTPHEADER, nullptr);
}

std::size_t CurlTransfer::SendBody(char* buffer, std::size_t size, std::size_t count,
                                   void* self) {
  std::string_view& unsent = static_cast<CurlTransfer*>(self)->unsent_;
  const std::size_t length = std::min(size * count, unsent.size());
  unsent.copy(buffer, length);
  unsent.remove_prefix(length);
  return length;
}

// Once bytes of the body went out, libcurl asks to start it over only to
// send the request again.
int CurlTransfer::RewindBody(void* self, curl_off_t offset, int origin) {
  auto& transfer = *static_cast<CurlTransfer*>(self);
  if (offset == 0 && origin == SEEK_SET && transfer.unsent_.size() == transfer.bodySize_) {
    return CURL_SEEKFUNC_OK;
  }
  transfer.resendRefused_ = true;
  return CURL_SEEKFUNC_CANTSEEK;
}

// Returning less than the bytes handed in makes libcurl abort the transfer.
std::size_t CurlTransfer::ReceiveBody(char* data, std::size_t size, std::size_t count,
                                      void* self) {
  const std::size_t length = size * count;
  return static_cast<CurlTransfer*>(self)->OnBody(std::string_view(data, length)) ? length : 0;
}

std::size_t CurlTransfer::ReceiveHeader(char* data, std::size_t size, std::size_t count,
                                        void* self) {
  const std::size_t length = size * count;
  return static_cast<CurlTransfer*>(self)->OnHeaderLine(std::string_view(data, length)) ? length
                                                                                       : 0;
}

long CurlTransfer::Status() const {
  long status = 0;
  curl_easy_getinfo(handle_, CURLINFO_RESPONSE_CODE, &status);
  return status;
}

std::uint64_t CurlTransfer::Limit() const { return streaming_ ? streamLimit_ : body_.Limit(); }

bool CurlTransfer::StopWith(Stop reason, std::string detail) {
  stop_ = reason;
  stopDetail_ = std::move(detail);
  return false;
}

bool CurlTransfer::OnHeaderLine(std::string_view line) {
  // Every answer starts with its status line: interim ones (100 Continue)
  // come before the final one, each with its own header lines.
  if (line.rfind("HTTP/", 0) == 0) {
    headerBytes_ = 0;
    headersEnded_ = false;
  }
  headerBytes_ += line.size();
  if (headerBytes_ > kMaxHeaderBytes) {
    return StopWith(Stop::HeadersTooLarge,
                    "the answer's header lines pass " + Bytes(kMaxHeaderBytes));
  }
  return !TrimLineEnd(line).empty() || OnEndOfHeaders();
}

bool CurlTransfer::OnEndOfHeaders() {
  const long status = Status();
  if (status >= 100 && status < 200) {
    return true;  // an interim answer; the final one follows
  }
  headersEnded_ = true;
  streaming_ = onChunk_ != nullptr && status == 200;
  curl_off_t length = -1;
  curl_easy_getinfo(handle_, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
  announced_ = length > 0 ? static_cast<std::uint64_t>(length) : 0;
  const std::uint64_t limit = Limit();
  if (limit != 0 && announced_ > limit) {
    return StopWith(Stop::OverLimit, "the answer announces " + Bytes(announced_) +
                                         ", more than the limit of " + Bytes(limit));
  }
  if (!streaming_) {
    body_.ExpectLength(announced_);
  }
  return true;
}

bool CurlTransfer::OnBody(std::string_view bytes) {
  if (!headersEnded_ && !OnEndOfHeaders()) {
    return false;
  }
  received_ += bytes.size();
  try {
    return Deliver(bytes);
  } catch (const std::bad_alloc&) {
    return StopWith(Stop::OutOfMemory,
                    "memory ran out after " + Bytes(received_) + " of the answer");
  } catch (const std::exception& error) {
    return StopWith(Stop::HandlerThrew, std::string("the answer's handler failed: ") +
                                            error.what());
  } catch (...) {
    return StopWith(Stop::HandlerThrew, "the answer's handler failed");
  }
}

bool CurlTransfer::Deliver(std::string_view bytes) {
  const bool fits = streaming_ ? streamLimit_ == 0 || received_ <= streamLimit_
                               : body_.Append(bytes);
  if (!fits) {
    return StopWith(Stop::OverLimit,
                    "the answer passed the limit of " + Bytes(Limit()) + " while it arrived");
  }
  return !streaming_ || (*onChunk_)(bytes, announced_) || StopWith(Stop::HandlerStopped, "");
}

TransferFailure CurlTransfer::FailureOf(Stop stop) {
  switch (stop) {
    case Stop::OverLimit:
      return TransferFailure::AnswerTooLarge;
    case Stop::HeadersTooLarge:
      return TransferFailure::BrokenAnswer;
    case Stop::HandlerStopped:
      return TransferFailure::Cancelled;
    case Stop::HandlerThrew:
    case Stop::OutOfMemory:
      return TransferFailure::ClientFailed;
    case Stop::None:
      break;
  }
  return TransferFailure::None;
}

HttpResponse CurlTransfer::Finish(CURLcode result) {
  HttpResponse response;
  response.status = static_cast<int>(Status());
  response.bytesReceived = received_;
  response.bytesAnnounced = announced_;
  if (result != CURLE_OK) {
    // No part of a failed answer is handed on; joining it would only double
    // the memory of one that was stopped at the size limit.
    body_ = BodyBuffer(body_.Limit());
    Classify(result, response);
    return response;
  }
  response.body = body_.Take();
  return response;
}

void CurlTransfer::Classify(CURLcode result, HttpResponse& response) const {
  response.transportError = errorText_[0] != '\0' ? errorText_ : curl_easy_strerror(result);
  if (stop_ != Stop::None) {
    response.failure = FailureOf(stop_);
    response.transportError = stopDetail_;
    return;
  }
  if (resendRefused_ && result == CURLE_SEND_FAIL_REWIND) {
    response.failure = TransferFailure::NoAnswer;
    response.cause = FailureCause::ConnectionClosed;
    response.transportError =
        "the connection closed after the request was sent, without an answer; the request "
        "was not sent again";
    return;
  }
  long requestBytes = 0;
  curl_easy_getinfo(handle_, CURLINFO_REQUEST_SIZE, &requestBytes);
  const bool connected = requestBytes > 0;
  const bool answered = headerBytes_ > 0;
  if (const ConnectionFailure* failure = FindConnectionFailure(result)) {
    response.failure = TransferFailure::Unreachable;
    response.cause = failure->cause;
    if (result == CURLE_COULDNT_CONNECT) {
      NoteSystemError(response);
    }
  } else if (!answered && IsTlsAlertInsteadOfAnswer(result, errorText_)) {
    response.failure = TransferFailure::Unreachable;
    response.cause = FailureCause::TlsFailed;
  } else if (!connected && !answered) {
    response.failure = TransferFailure::Unreachable;
    response.cause = result == CURLE_OPERATION_TIMEDOUT     ? FailureCause::ConnectTimedOut
                     : result == CURLE_UNSUPPORTED_PROTOCOL ? FailureCause::UnsupportedScheme
                                                            : FailureCause::Unknown;
  } else if (IsBrokenHttp(result) || (answered && result == CURLE_RECV_ERROR) ||
             // After the request went out, libcurl says so of a status line it cannot read.
             (connected && result == CURLE_UNSUPPORTED_PROTOCOL)) {
    response.failure = TransferFailure::BrokenAnswer;
  } else if (result == CURLE_FILESIZE_EXCEEDED) {
    response.failure = TransferFailure::AnswerTooLarge;
  } else if (result == CURLE_OUT_OF_MEMORY) {
    response.failure = TransferFailure::ClientFailed;
  } else if (result == CURLE_OPERATION_TIMEDOUT) {
    response.failure = answered ? TransferFailure::ReceiveTimedOut : TransferFailure::NoAnswer;
    response.cause = FailureCause::AnswerTimedOut;
  } else if (result == CURLE_GOT_NOTHING || result == CURLE_RECV_ERROR ||
             result == CURLE_SEND_ERROR) {
    response.failure = TransferFailure::NoAnswer;
    response.cause = FailureCause::ConnectionClosed;
  } else {
    response.failure = TransferFailure::TransportFailed;
  }
}

// Read only after a failed connect: the handle keeps the error of an
// earlier transfer otherwise.
void CurlTransfer::NoteSystemError(HttpResponse& response) const {
  long error = 0;
  curl_easy_getinfo(handle_, CURLINFO_OS_ERRNO, &error);
  if (error != 0) {
    response.cause = CauseOfSystemError(static_cast<int>(error));
    response.systemReason = std::generic_category().message(static_cast<int>(error));
  }
}

}  // namespace vrex::internal

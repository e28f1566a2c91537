#pragma once
// One exchange on a libcurl easy handle: puts the request and the callbacks
// on the handle, collects the answer within its limits, and turns the way
// libcurl ended into an HttpResponse that says where it broke off.
//
// Nothing thrown by a stream handler, nor running out of memory, crosses
// libcurl's C frames: the callbacks catch it, stop the transfer and record
// why, which the response then reports.
//
// The request goes out once per transfer. libcurl sends a request again by
// itself when a kept-alive connection closes before any answer; the body is
// therefore handed to it by a read callback that refuses to start over once
// it gave bytes, which makes such a transfer fail (as NoAnswer) instead, and
// the caller's retry policy decides whether the request may go again.

#include <curl/curl.h>

#include <cstdint>
#include <string>

#include "parse/BodyBuffer.h"
#include "vrex/Transport.h"

namespace vrex::internal {

class CurlTransfer {
 public:
  /// Sets `request` (with `headers`, which must outlive the transfer) on
  /// `handle`; a 200 body goes to `onChunk` when it is not null. `request`
  /// and `onChunk` must outlive the transfer too.
  CurlTransfer(CURL* handle, const HttpRequest& request, curl_slist* headers,
               const StreamHandler* onChunk);
  /// Leaves nothing on the handle that points here: the handle outlives it.
  ~CurlTransfer();
  CurlTransfer(const CurlTransfer&) = delete;
  CurlTransfer& operator=(const CurlTransfer&) = delete;

  CURL* Handle() const { return handle_; }
  /// The response, once libcurl ended the transfer with `result`.
  HttpResponse Finish(CURLcode result);

 private:
  /// Why the transfer was stopped from this side, if it was.
  enum class Stop { None, OverLimit, HeadersTooLarge, HandlerStopped, HandlerThrew, OutOfMemory };

  static std::size_t ReceiveBody(char* data, std::size_t size, std::size_t count, void* self);
  static std::size_t ReceiveHeader(char* data, std::size_t size, std::size_t count, void* self);
  static std::size_t SendBody(char* buffer, std::size_t size, std::size_t count, void* self);
  static int RewindBody(void* self, curl_off_t offset, int origin);

  bool OnHeaderLine(std::string_view line);
  bool OnEndOfHeaders();
  bool OnBody(std::string_view bytes);
  bool Deliver(std::string_view bytes);
  bool StopWith(Stop reason, std::string detail);
  long Status() const;
  std::uint64_t Limit() const;
  void Classify(CURLcode result, HttpResponse& response) const;
  void NoteSystemError(HttpResponse& response) const;
  static TransferFailure FailureOf(Stop stop);

  CURL* handle_;
  std::string_view unsent_;  // of the request's body
  std::size_t bodySize_;
  bool resendRefused_ = false;
  const StreamHandler* onChunk_;  // null: keep every body
  std::uint64_t streamLimit_;
  BodyBuffer body_;
  bool streaming_ = false;        // this answer's body goes to onChunk_
  bool headersEnded_ = false;
  std::uint64_t headerBytes_ = 0;  // of the current header block
  std::uint64_t announced_ = 0;
  std::uint64_t received_ = 0;
  Stop stop_ = Stop::None;
  std::string stopDetail_;
  char errorText_[CURL_ERROR_SIZE] = {};
};

}  // namespace vrex::internal

#pragma once
// What became of one call of vrex::Client: the status the established API
// reports for the same event, plus what a person needs to act on it.

#include <chrono>
#include <string>
#include <string_view>

#include "MessageContainer.pb.h"
#include "vrex/Export.h"

namespace vrex {

class VREX_EXPORT Outcome {
 public:
  /// What happened. The events from Unreachable to TransportFailed are the
  /// ways an exchange can fail before a complete HTTP answer is in; they say
  /// where it broke off (see IsTransferFailure).
  enum class Event {
    Succeeded,         ///< HTTP 200 and, for a query, an answer that parsed
    Unreachable,       ///< no connection: name resolution, refused, connect time-out, TLS, proxy
    NoAnswer,          ///< connected and sent, but no answer came (in time, or at all)
    ReceiveTimedOut,   ///< the answer began but did not finish in time
    BrokenAnswer,      ///< the server answered, but not in readable HTTP: cut short,
                       ///< malformed, header lines without end
    AnswerTooLarge,    ///< the answer passed ClientOptions::maxAnswerBytes or
                       ///< DownloadOptions::maxBytes
    ClientFailed,      ///< on this side: the caller's handler threw, or memory ran out
    TransportFailed,   ///< any other failure of the transfer
    Cancelled,         ///< the caller's callback stopped a download
    HttpStatusFailed,  ///< the server answered with a status other than 200
    AnswerUnreadable,  ///< HTTP 200, but the body is not the expected message
    FileFailed,        ///< a download could not be written to its file
  };

  /// `errorText` says what went wrong: libcurl's text or the client's own
  /// account after a transfer failure, or the local reason (unreadable
  /// answer, file error); empty otherwise.
  Outcome(std::string requestType, Event event, int httpStatus, std::string errorText,
          std::chrono::microseconds elapsed = {}, int attempts = 1);

  /// True when the call succeeded (category CodeCategory_None).
  bool Ok() const { return event_ == Event::Succeeded; }
  explicit operator bool() const { return Ok(); }

  Event GetEvent() const { return event_; }
  /// True when no complete HTTP answer came in (Unreachable to TransportFailed).
  bool IsTransferFailure() const {
    return event_ >= Event::Unreachable && event_ <= Event::TransportFailed;
  }

  /// The same values VrexClient::Post reports for the same event: all zero on
  /// success; Backend/NoDetailCode/Error for a transfer failure, a cancelled
  /// transfer and an unreadable answer; ApiPipeline/ApiPipeline_Unauthorized/Error for
  /// 4xx; ApiPipeline/ApiPipeline_Failed/Error for any other status;
  /// File/NoDetailCode/Error when a download could not be written.
  const ::Korvan::KQ::DataContracts::MessageContainer& Status() const { return status_; }

  /// The request type the call sent, e.g. "MeasurementQuery".
  const std::string& RequestType() const { return requestType_; }
  /// The HTTP status of the last attempt; 0 when none was received.
  int HttpStatus() const { return httpStatus_; }
  /// libcurl's error text, or the local reason of a failure; empty otherwise.
  const std::string& ErrorText() const { return errorText_; }
  /// Time from the start of the call to its end, retries and waits included.
  std::chrono::microseconds Elapsed() const { return elapsed_; }
  /// Attempts made: 1 unless the call was retried.
  int Attempts() const { return attempts_; }

  /// One line for people naming the request, what happened and the detail
  /// code, e.g. "MeasurementQuery: server rejected the request: HTTP 401
  /// (ApiPipeline_Unauthorized)".
  std::string Message() const;

 private:
  std::string requestType_;
  Event event_ = Event::Succeeded;
  int httpStatus_ = 0;
  std::string errorText_;
  std::chrono::microseconds elapsed_{};
  int attempts_ = 0;
  ::Korvan::KQ::DataContracts::MessageContainer status_;
};

VREX_EXPORT std::string_view ToString(Outcome::Event event);

}  // namespace vrex

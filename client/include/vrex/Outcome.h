#pragma once
// What became of one call of vrex::Client: the status the established API
// reports for the same event, plus what a person needs to act on it.

#include <chrono>
#include <string>
#include <string_view>

#include "MessageContainer.pb.h"
#include "vrex/CallEvent.h"
#include "vrex/Export.h"

namespace vrex {

class VREX_EXPORT Outcome {
 public:
  /// What happened; one list with the transport's (see CallEvent).
  using Event = CallEvent;

  /// `errorText` says what went wrong: libcurl's text or the client's own
  /// account after a transfer failure, or the local reason (unreadable
  /// answer, file error); empty otherwise. `cause` and `systemReason` say
  /// why a transfer failed, as the transfer told.
  Outcome(std::string requestType, Event event, int httpStatus, std::string errorText,
          std::chrono::microseconds elapsed = {}, int attempts = 1,
          FailureCause cause = FailureCause::Unknown, std::string systemReason = {});

  /// True when the call succeeded (category CodeCategory_None).
  bool Ok() const { return event_ == Event::Succeeded; }
  explicit operator bool() const { return Ok(); }

  Event GetEvent() const { return event_; }
  /// True when no complete HTTP answer came in (Unreachable to TransportFailed).
  bool IsTransferFailure() const { return vrex::IsTransferFailure(event_); }
  /// Why a transfer failed, where the transfer could tell; Unknown otherwise.
  FailureCause Cause() const { return cause_; }
  /// The operating system's reason for a failed connection, e.g.
  /// "Connection refused"; empty when it gave none.
  const std::string& SystemReason() const { return systemReason_; }

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
  FailureCause cause_ = FailureCause::Unknown;
  std::string systemReason_;
  ::Korvan::KQ::DataContracts::MessageContainer status_;
};

}  // namespace vrex

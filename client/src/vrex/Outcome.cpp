#include "vrex/Outcome.h"

#include <utility>

#include "vrex/HttpStatus.h"
#include "vrex/data/Time.h"

namespace vrex {

namespace {

namespace contracts = ::Korvan::KQ::DataContracts;
namespace enums = contracts::Enumerator;

enums::DetailCode DetailCodeForStatus(int httpStatus) {
  return IsRejectedStatus(httpStatus) ? enums::ApiPipeline_Unauthorized : enums::ApiPipeline_Failed;
}

contracts::MessageContainer StatusFor(Outcome::Event event, int httpStatus) {
  contracts::MessageContainer status;
  switch (event) {
    case Outcome::Event::Succeeded:
      return status;
    case Outcome::Event::HttpStatusFailed:
      status.set_codecategory(enums::CodeCategory_ApiPipeline);
      status.set_detailcode(DetailCodeForStatus(httpStatus));
      break;
    case Outcome::Event::FileFailed:
      status.set_codecategory(enums::CodeCategory_File);
      break;
    case Outcome::Event::TransportFailed:
    case Outcome::Event::Cancelled:
    case Outcome::Event::AnswerUnreadable:
      status.set_codecategory(enums::CodeCategory_Backend);
      break;
  }
  status.set_level(enums::Error);
  return status;
}

std::string_view Summary(Outcome::Event event, int httpStatus) {
  switch (event) {
    case Outcome::Event::Succeeded:
      return "succeeded";
    case Outcome::Event::TransportFailed:
      return "transfer failed";
    case Outcome::Event::Cancelled:
      return "cancelled by the caller";
    case Outcome::Event::HttpStatusFailed:
      return IsRejectedStatus(httpStatus) ? "server rejected the request"
                                          : "server failed the request";
    case Outcome::Event::AnswerUnreadable:
      return "answer could not be read";
    case Outcome::Event::FileFailed:
      return "download could not be written";
  }
  return "unknown outcome";
}

// "(ApiPipeline_Failed)", or the category as well where no detail code says more.
std::string CodeNames(const contracts::MessageContainer& status) {
  const std::string& detail = enums::DetailCode_Name(status.detailcode());
  if (status.detailcode() != enums::NoDetailCode) {
    return "(" + detail + ")";
  }
  return "(" + enums::CodeCategory_Name(status.codecategory()) + ", " + detail + ")";
}

}  // namespace

Outcome::Outcome(std::string requestType, Event event, int httpStatus, std::string errorText,
                 std::chrono::microseconds elapsed, int attempts)
    : requestType_(std::move(requestType)),
      event_(event),
      httpStatus_(httpStatus),
      errorText_(std::move(errorText)),
      elapsed_(elapsed),
      attempts_(attempts),
      status_(StatusFor(event, httpStatus)) {}

std::string Outcome::Message() const {
  std::string line = requestType_ + ": " + std::string(Summary(event_, httpStatus_));
  if (!errorText_.empty()) {
    line += ": " + errorText_;
  }
  if (httpStatus_ != 0 && event_ != Event::TransportFailed) {
    line += (errorText_.empty() ? ": HTTP " : ", HTTP ") + std::to_string(httpStatus_);
  }
  line += " " + CodeNames(status_);
  if (attempts_ > 1) {
    line += " after " + std::to_string(attempts_) + " attempts";
  }
  return line + " in " + data::FormatElapsed(elapsed_);
}

std::string_view ToString(Outcome::Event event) {
  switch (event) {
    case Outcome::Event::Succeeded:
      return "Succeeded";
    case Outcome::Event::TransportFailed:
      return "TransportFailed";
    case Outcome::Event::Cancelled:
      return "Cancelled";
    case Outcome::Event::HttpStatusFailed:
      return "HttpStatusFailed";
    case Outcome::Event::AnswerUnreadable:
      return "AnswerUnreadable";
    case Outcome::Event::FileFailed:
      return "FileFailed";
  }
  return "unknown";
}

}  // namespace vrex

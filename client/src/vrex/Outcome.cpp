#include "vrex/Outcome.h"

#include <iterator>
#include <utility>

#include "transport/StatusDetail.h"
#include "vrex/HttpStatus.h"
#include "vrex/data/TimeText.h"

namespace vrex {

namespace {

namespace contracts = ::Korvan::KQ::DataContracts;
namespace enums = contracts::Enumerator;

// What people and programs read of each event; listed in the enumeration's order.
struct EventText {
  std::string_view name;
  std::string_view summary;  ///< empty: it depends on the HTTP status
};

constexpr EventText kEventTexts[] = {
    {"Succeeded", "succeeded"},
    {"Unreachable", "cannot reach the server"},
    {"NoAnswer", "no answer from the server"},
    {"ReceiveTimedOut", "timed out while receiving the answer"},
    {"BrokenAnswer", "the answer is not readable HTTP"},
    {"AnswerTooLarge", "the answer is too large"},
    {"ClientFailed", "failed on the client's side"},
    {"TransportFailed", "transfer failed"},
    {"Cancelled", "cancelled"},
    {"HttpStatusFailed", ""},
    {"AnswerUnreadable", "answer could not be read"},
    {"FileFailed", "download could not be written"},
};

static_assert(std::size(kEventTexts) == static_cast<std::size_t>(Outcome::Event::FileFailed) + 1,
              "every event has its texts");

const EventText& TextOf(Outcome::Event event) {
  return kEventTexts[static_cast<std::size_t>(event)];
}

contracts::MessageContainer StatusFor(Outcome::Event event, int httpStatus) {
  contracts::MessageContainer status;
  if (event == Outcome::Event::Succeeded) {
    return status;
  }
  if (event == Outcome::Event::HttpStatusFailed) {
    status.set_codecategory(enums::CodeCategory_ApiPipeline);
    status.set_detailcode(internal::DetailCodeForStatus(httpStatus));
  } else {
    status.set_codecategory(event == Outcome::Event::FileFailed ? enums::CodeCategory_File
                                                                 : enums::CodeCategory_Backend);
  }
  status.set_level(enums::Error);
  return status;
}

std::string_view Summary(Outcome::Event event, int httpStatus) {
  if (event == Outcome::Event::HttpStatusFailed) {
    return IsRejectedStatus(httpStatus) ? "server rejected the request"
                                        : "server failed the request";
  }
  return TextOf(event).summary;
}

// The status adds nothing where the server was not reached or said nothing.
bool ShowsStatus(Outcome::Event event, int httpStatus) {
  return httpStatus != 0 && event != Outcome::Event::Unreachable &&
         event != Outcome::Event::NoAnswer && event != Outcome::Event::TransportFailed;
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
                 std::chrono::microseconds elapsed, int attempts, FailureCause cause,
                 std::string systemReason)
    : requestType_(std::move(requestType)),
      event_(event),
      httpStatus_(httpStatus),
      errorText_(std::move(errorText)),
      elapsed_(elapsed),
      attempts_(attempts),
      cause_(cause),
      systemReason_(std::move(systemReason)),
      status_(StatusFor(event, httpStatus)) {}

std::string Outcome::Message() const {
  std::string line = requestType_ + ": " + std::string(Summary(event_, httpStatus_));
  if (!errorText_.empty()) {
    line += ": " + errorText_;
  }
  if (ShowsStatus(event_, httpStatus_)) {
    line += (errorText_.empty() ? ": HTTP " : ", HTTP ") + std::to_string(httpStatus_);
  }
  if (event_ == Event::AnswerTooLarge) {
    line += "; raise ClientOptions::maxAnswerBytes (DownloadOptions::maxBytes for a file)";
  }
  line += " " + CodeNames(status_);
  if (attempts_ > 1) {
    line += " after " + std::to_string(attempts_) + " attempts";
  }
  return line + " in " + data::FormatElapsed(elapsed_);
}

std::string_view ToString(CallEvent event) { return TextOf(event).name; }

}  // namespace vrex

#include "CaseJson.h"

#include <google/protobuf/descriptor.h>

#include <array>
#include <memory>
#include <utility>

#include "AnswerSelection.h"
#include "CredentialMask.h"
#include "JsonAnswer.h"
#include "RequestMatch.h"
#include "StubFiles.pb.h"
#include "vrex/MessageJson.h"
#include "vrex/RequestCatalog.h"
#include "vrex/data/SecretMask.h"

namespace vrex::stub {

namespace {

namespace pb = google::protobuf;

constexpr std::array<std::pair<Delivery, std::string_view>, 6> kDeliveries{{
    {Delivery::Whole, "whole"},
    {Delivery::Chunked, "chunked"},
    {Delivery::CloseWithoutAnswer, "close-without-answer"},
    {Delivery::CloseMidBody, "close-mid-body"},
    {Delivery::Raw, "raw"},
    {Delivery::EndlessHeaders, "endless-headers"},
}};

Result<Delivery> DeliveryNamed(std::string_view name) {
  for (const auto& [delivery, text] : kDeliveries) {
    if (text == name) return Result<Delivery>::Success(delivery);
  }
  std::string known;
  for (const auto& entry : kDeliveries)
    known += (known.empty() ? "" : ", ") + std::string(entry.second);
  return Result<Delivery>::Failure("unknown delivery '" + std::string(name) + "' (known: " + known +
                                   ")");
}

std::string_view DeliveryName(Delivery delivery) {
  for (const auto& [value, text] : kDeliveries) {
    if (value == delivery) return text;
  }
  return kDeliveries.front().second;
}

/// `json` parsed as the message `T`, or the parser's complaint.
template <typename T>
Result<T> Parsed(std::string_view json, std::string_view what) {
  T message;
  if (std::string problem = MergeJsonInto(json, message); !problem.empty()) {
    return Result<T>::Failure("not " + std::string(what) + ": " + problem);
  }
  return Result<T>::Success(std::move(message));
}

/// The body an answer gives, and its usual content type.
Result<CannedAnswer> BodyOf(std::string_view requestType, const files::AnswerEntry& entry) {
  if (entry.has_json()) {
    const auto json = MessageToJson(entry.json(), JsonLayout{false});
    if (!json) return Result<CannedAnswer>::Failure(json.GetStatus());
    return JsonAnswer(requestType, json.Value(), entry.answertype());
  }
  CannedAnswer answer;
  if (!entry.text().empty()) {
    answer.body = entry.text();
    answer.contentType = "text/plain";
  } else if (!entry.body().empty()) {
    answer.body = entry.body();
    answer.contentType = std::string(kRawContentType);
  }
  return Result<CannedAnswer>::Success(std::move(answer));
}

Result<CannedAnswer> AnswerOf(std::string_view requestType, const files::AnswerEntry& entry) {
  auto answer = BodyOf(requestType, entry);
  if (!answer) return answer;
  const auto delivery = DeliveryNamed(entry.delivery().empty() ? "whole" : entry.delivery());
  if (!delivery) return Result<CannedAnswer>::Failure(delivery.GetStatus());
  answer->delivery = delivery.Value();
  if (entry.status() != 0) answer->status = entry.status();
  if (!entry.contenttype().empty()) answer->contentType = entry.contenttype();
  answer->delay = std::chrono::milliseconds(entry.delayms());
  for (const files::Header& header : entry.headers()) {
    answer->headers.push_back({header.name(), header.value()});
  }
  return answer;
}

Result<StubCase> CaseOf(std::string_view requestType, const files::CaseEntry& entry,
                        std::size_t index) {
  StubCase stubCase{std::string(requestType), entry.name(), {}, {}};
  if (stubCase.name.empty()) stubCase.name = "#" + std::to_string(index + 1);
  const std::string label = "case \"" + stubCase.name + "\"";
  if (FindRequest(requestType) == nullptr) {
    return Result<StubCase>::Failure(label + ": '" + std::string(requestType) +
                                     "' is not a request type the server knows");
  }
  if (entry.has_match()) {
    const auto json = MessageToJson(entry.match(), JsonLayout{false});
    const auto match = RequestMatch::Parse(requestType, json ? json.Value() : "");
    if (!match) return Result<StubCase>::Failure(label + ": " + match.GetStatus().Message());
    stubCase.match = match->Json();
  }
  for (int i = 0; i < entry.answers_size(); ++i) {
    auto answer = AnswerOf(requestType, entry.answers(i));
    if (!answer) {
      return Result<StubCase>::Failure(label + ", answer " + std::to_string(i + 1) + ": " +
                                       answer.GetStatus().Message());
    }
    stubCase.answers.push_back(std::move(answer).Value());
  }
  return Result<StubCase>::Success(std::move(stubCase));
}

/// The answer's body in the form a reader can edit: the answer message in
/// JSON when it decodes as one, else the bytes. Either way the content type
/// is written beside it, so the same bytes go out with the same type.
void WriteBody(std::string_view requestType, const CannedAnswer& answer,
               files::AnswerEntry& entry) {
  const RequestInfo* request = FindRequest(requestType);
  const pb::Descriptor* type = request ? AnswerDescriptor(*request) : nullptr;
  if (type != nullptr) {
    std::unique_ptr<pb::Message> message(
        pb::MessageFactory::generated_factory()->GetPrototype(type)->New());
    // Only a body the message gives back byte for byte: nothing lost in JSON.
    if (message->ParseFromString(answer.body) &&
        SerializeDeterministically(*message) == answer.body) {
      const auto json = MessageToJson(*message, JsonLayout{false});
      if (json && MergeJsonInto(json.Value(), *entry.mutable_json()).empty()) return;
    }
  }
  entry.clear_json();
  entry.set_body(answer.body);
}

template <typename NameAndValue>
void AddHeader(const NameAndValue& header, pb::RepeatedPtrField<files::Header>& headers) {
  files::Header* written = headers.Add();
  written->set_name(header.name);
  written->set_value(header.value);
}

files::AnswerEntry EntryOf(std::string_view requestType, const CannedAnswer& answer) {
  files::AnswerEntry entry;
  entry.set_status(answer.status);
  entry.set_contenttype(answer.contentType);
  WriteBody(requestType, answer, entry);
  entry.set_delayms(static_cast<std::uint32_t>(answer.delay.count()));
  for (const ResponseHeader& header : answer.headers) AddHeader(header, *entry.mutable_headers());
  if (answer.delivery != Delivery::Whole)
    entry.set_delivery(std::string(DeliveryName(answer.delivery)));
  return entry;
}

std::string Printed(const pb::Message& message) {
  auto json = MessageToJson(message);
  return json ? std::move(json).Value() : "{}";
}

}  // namespace

Result<std::vector<StubCase>> ParseCaseFile(std::string_view requestType, std::string_view json) {
  using CasesResult = Result<std::vector<StubCase>>;
  const auto file = Parsed<files::CaseFile>(json, "a case file");
  if (!file) return CasesResult::Failure(file.GetStatus());
  std::vector<StubCase> cases;
  for (int i = 0; i < file->cases_size(); ++i) {
    const files::CaseEntry& entry = file->cases(i);
    if (!entry.requesttype().empty() && entry.requesttype() != requestType) {
      return CasesResult::Failure("case #" + std::to_string(i + 1) + " is of " +
                                  entry.requesttype() + ", not of " + std::string(requestType));
    }
    auto stubCase = CaseOf(requestType, entry, static_cast<std::size_t>(i));
    if (!stubCase) return CasesResult::Failure(stubCase.GetStatus());
    cases.push_back(std::move(stubCase).Value());
  }
  return CasesResult::Success(std::move(cases));
}

Result<StubCase> ParseCase(std::string_view json) {
  const auto entry = Parsed<files::CaseEntry>(json, "a case");
  if (!entry) return Result<StubCase>::Failure(entry.GetStatus());
  return CaseOf(entry->requesttype(), entry.Value(), 0);
}

std::string CaseFileJson(const std::vector<StubCase>& cases) {
  files::CaseFile file;
  for (const StubCase& stubCase : cases) {
    files::CaseEntry* entry = file.add_cases();
    entry->set_requesttype(stubCase.requestType);
    entry->set_name(stubCase.name);
    if (!stubCase.match.empty()) MergeJsonInto(stubCase.match, *entry->mutable_match());
    for (const CannedAnswer& answer : stubCase.answers) {
      *entry->add_answers() = EntryOf(stubCase.requestType, answer);
    }
  }
  return Printed(file);
}

std::string JournalJson(const std::vector<JournalEntry>& entries, std::uint64_t dropped) {
  files::Journal journal;
  journal.set_dropped(dropped);
  for (const JournalEntry& entry : entries) {
    files::JournalRecord* record = journal.add_requests();
    record->set_method(entry.method);
    record->set_path(entry.path);
    for (const HeaderField& header : entry.headers) {
      AddHeader(HeaderField{header.name, data::CarriesCredentials(header.name)
                                             ? MaskedSecret(header.value)
                                             : header.value},
                *record->mutable_headers());
    }
    const std::string path = entry.path.substr(0, entry.path.find('?'));
    const auto requestType = RequestTypeOf(path);
    const auto request = requestType ? DecodeRequest(*requestType, entry.body) : nullptr;
    const auto json = request ? MessageToJson(*request, JsonLayout{false})
                              : Result<std::string>::Failure("no request");
    if (!json || !MergeJsonInto(json.Value(), *record->mutable_body()).empty()) {
      record->clear_body();
      record->set_rawbody(entry.body);
    }
    record->set_matchedcase(entry.matchedCase);
    record->set_unmatched(entry.unmatched);
    record->set_connection(entry.connection);
  }
  return Printed(journal);
}

}  // namespace vrex::stub

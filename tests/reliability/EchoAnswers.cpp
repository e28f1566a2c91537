#include "EchoAnswers.h"

#include <string>

namespace vrex::reliability {

contracts::GeneralInformationContainer EchoOf(
    const contracts::GeneralInformationByIdQuery& query) {
  contracts::GeneralInformationContainer answer;
  for (const int identifier : query.identifier()) {
    contracts::GeneralInformation& header = *answer.add_values();
    header.set_pkident(identifier);
    header.set_serial(query.factory() + "/" + query.line() + "/" + std::to_string(identifier));
    (*header.mutable_additionalinfo())["line"] = query.line();
  }
  return answer;
}

stub::Responder EchoResponder() {
  return [](const stub::JournalEntry& request) {
    contracts::GeneralInformationByIdQuery query;
    stub::CannedAnswer answer;
    if (!query.ParseFromString(request.body)) {
      answer.status = 400;
      return answer;
    }
    answer.body = EchoOf(query).SerializeAsString();
    return answer;
  };
}

}  // namespace vrex::reliability

#include "AnswerResponse.h"

namespace vrex::stub {

void WriteAnswer(const CannedAnswer& answer, httplib::Response& response) {
  response.status = answer.status;
  for (const ResponseHeader& header : answer.headers) {
    response.set_header(header.name, header.value);
  }
  response.set_content(answer.body, answer.contentType);
}

}  // namespace vrex::stub

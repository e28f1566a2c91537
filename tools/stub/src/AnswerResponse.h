#pragma once
// Turns a canned answer into the HTTP library's response. Every way the stub
// shapes what goes on the wire passes through here.

#include <httplib.h>

#include "vrex/stub/CannedAnswer.h"

namespace vrex::stub {

void WriteAnswer(const CannedAnswer& answer, httplib::Response& response);

}  // namespace vrex::stub

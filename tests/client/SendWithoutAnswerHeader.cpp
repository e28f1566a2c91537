// Compiled by ctest and expected to fail: a query sent without its answer's
// header names the header to include.
#include "GeneralInformationQuery.pb.h"
#include "vrex/Client.h"

void SendWithoutTheAnswersHeader(const vrex::Client& client) {
  client.Send(Korvan::KQ::DataContracts::GeneralInformationQuery());
}

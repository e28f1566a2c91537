#pragma once
// Answers that the stub computes from each request, so that every caller can
// tell its own answer from anybody else's.

#include "GeneralInformationByIdQuery.pb.h"
#include "GeneralInformationContainer.pb.h"
#include "vrex/stub/Responder.h"

namespace vrex::reliability {

namespace contracts = ::Korvan::KQ::DataContracts;

/// The answer to `query`: one test header per identifier asked for, each
/// carrying the identifier and the query's factory and line.
contracts::GeneralInformationContainer EchoOf(const contracts::GeneralInformationByIdQuery& query);

/// Answers a GeneralInformationByIdQuery with EchoOf its body; a body that
/// is no such query gets status 400.
stub::Responder EchoResponder();

}  // namespace vrex::reliability

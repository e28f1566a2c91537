#pragma once
// The detail code a status other than 200 is reported with, by the
// established functions and the session client alike; what the status
// means is decided in vrex/HttpStatus.h.

#include "MessageContainer.pb.h"
#include "vrex/HttpStatus.h"

namespace vrex::internal {

inline ::Korvan::KQ::DataContracts::Enumerator::DetailCode DetailCodeForStatus(int httpStatus) {
  namespace enums = ::Korvan::KQ::DataContracts::Enumerator;
  return IsRejectedStatus(httpStatus) ? enums::ApiPipeline_Unauthorized : enums::ApiPipeline_Failed;
}

}  // namespace vrex::internal

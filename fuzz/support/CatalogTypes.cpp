#include "CatalogTypes.h"

#include <google/protobuf/descriptor.h>

#include <algorithm>
#include <stdexcept>
#include <string>

#include "vrex/ContractTypes.h"
#include "vrex/RequestCatalog.h"

namespace vrex::fuzz {

namespace {

using google::protobuf::Descriptor;

// One selector byte must be able to reach every type.
constexpr std::size_t kSelectorValues = 256;

TypeList SortedUnique(TypeList types) {
  std::sort(types.begin(), types.end(), [](const Descriptor* a, const Descriptor* b) {
    return a->full_name() < b->full_name();
  });
  types.erase(std::unique(types.begin(), types.end()), types.end());
  if (types.empty() || types.size() > kSelectorValues) {
    throw std::logic_error("the catalog gives " + std::to_string(types.size()) +
                           " types; a selector byte reaches 1 to 256");
  }
  return types;
}

// A catalog entry whose message is missing from the contract is a build
// fault, not a fuzz finding; fail loudly at start-up.
const Descriptor& Required(const Descriptor* type, std::string_view name) {
  if (type == nullptr) {
    throw std::logic_error("the catalog names " + std::string(name) + ", which the contract lacks");
  }
  return *type;
}

TypeList CollectAnswerTypes() {
  TypeList types;
  for (const RequestInfo& request : Requests()) {
    if (request.kind == RequestKind::Query) {
      types.push_back(&Required(AnswerDescriptor(request), request.answerType));
    }
  }
  return SortedUnique(std::move(types));
}

TypeList CollectRequestTypes() {
  TypeList types;
  for (const RequestInfo& request : Requests()) {
    types.push_back(&Required(FindContractMessage(request.name), request.name));
  }
  return SortedUnique(std::move(types));
}

}  // namespace

const TypeList& AnswerTypes() {
  static const TypeList types = CollectAnswerTypes();
  return types;
}

const TypeList& RequestTypes() {
  static const TypeList types = CollectRequestTypes();
  return types;
}

const Descriptor& SelectType(const TypeList& types, std::uint8_t selector) {
  return *types.at(selector % types.size());
}

std::uint8_t SelectorOf(const TypeList& types, const Descriptor& type) {
  const auto found = std::find(types.begin(), types.end(), &type);
  if (found == types.end()) {
    throw std::out_of_range(type.full_name() + " is not in the list");
  }
  return static_cast<std::uint8_t>(found - types.begin());
}

}  // namespace vrex::fuzz

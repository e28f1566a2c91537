#include "vrex/ContractTypes.h"

#include <google/protobuf/descriptor.h>

namespace vrex {

namespace {

const google::protobuf::DescriptorPool& Pool() {
  return *google::protobuf::DescriptorPool::generated_pool();
}

std::string InPackage(std::string_view package, std::string_view name) {
  std::string fullName(package);
  fullName += '.';
  fullName.append(name);
  return fullName;
}

bool StartsWithPackage(std::string_view fullName, std::string_view package) {
  return fullName.size() > package.size() && fullName.substr(0, package.size()) == package &&
         fullName[package.size()] == '.';
}

}  // namespace

const google::protobuf::Descriptor* FindContractMessage(std::string_view typeName) {
  if (typeName.empty()) {
    return nullptr;
  }
  // A short name is tried in the contract package first, so "Factory" is the
  // contract's message and not some type of that name elsewhere.
  if (typeName.find('.') == std::string_view::npos) {
    if (const auto* found = Pool().FindMessageTypeByName(InPackage(kContractPackage, typeName))) {
      return found;
    }
  }
  return Pool().FindMessageTypeByName(std::string(typeName));
}

const google::protobuf::EnumDescriptor* FindContractEnum(std::string_view typeName) {
  for (const std::string& candidate :
       {InPackage(kEnumeratorPackage, typeName), InPackage(kContractPackage, typeName),
        std::string(typeName)}) {
    if (const auto* found = Pool().FindEnumTypeByName(candidate)) {
      return found;
    }
  }
  return nullptr;
}

std::string ContractShortName(std::string_view fullName) {
  if (StartsWithPackage(fullName, kEnumeratorPackage)) {
    return "Enumerator." + std::string(fullName.substr(kEnumeratorPackage.size() + 1));
  }
  if (StartsWithPackage(fullName, kContractPackage)) {
    return std::string(fullName.substr(kContractPackage.size() + 1));
  }
  return std::string(fullName);
}

}  // namespace vrex

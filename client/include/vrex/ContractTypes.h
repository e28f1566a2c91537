#pragma once
// The contract's types by name: where the packages are and how a short name
// ("MeasurementQuery", "Enumerator.DataType") leads to a descriptor. Every
// part of the library and its tools looks types up here.

#include <string>
#include <string_view>

#include "vrex/Export.h"

namespace google::protobuf {
class Descriptor;
class EnumDescriptor;
}  // namespace google::protobuf

namespace vrex {

/// The package of the contract's messages, and of its enumerations.
inline constexpr std::string_view kContractPackage = "Korvan.KQ.DataContracts";
inline constexpr std::string_view kEnumeratorPackage = "Korvan.KQ.DataContracts.Enumerator";

/// A message named short ("Factory", found in the contract's package first)
/// or in full ("bcl.DateTime"); nullptr when there is none.
VREX_EXPORT const google::protobuf::Descriptor* FindContractMessage(std::string_view typeName);

/// An enumeration named short ("DataType" or "Enumerator.DataType") or in
/// full; nullptr when there is none.
VREX_EXPORT const google::protobuf::EnumDescriptor* FindContractEnum(std::string_view typeName);

/// A full type name as people read it: contract messages by their short name,
/// enumerations as "Enumerator.<Name>", anything else in full.
VREX_EXPORT std::string ContractShortName(std::string_view fullName);

}  // namespace vrex

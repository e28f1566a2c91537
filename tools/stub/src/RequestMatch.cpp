#include "RequestMatch.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/text_format.h>

#include "vrex/ContractTypes.h"
#include "vrex/MessageJson.h"

namespace vrex::stub {

namespace {

namespace pb = google::protobuf;
using Field = pb::FieldDescriptor;

/// Index of a singular field's value for the reflection calls below.
constexpr int kSingular = -1;

bool SameScalar(const pb::Message& a, int ia, const pb::Message& b, int ib, const Field* field) {
  const pb::Reflection* ra = a.GetReflection();
  const pb::Reflection* rb = b.GetReflection();
  const bool sa = ia == kSingular;
  const bool sb = ib == kSingular;
#define VREX_SAME(Type)                                                   \
  (sa ? ra->Get##Type(a, field) : ra->GetRepeated##Type(a, field, ia)) == \
      (sb ? rb->Get##Type(b, field) : rb->GetRepeated##Type(b, field, ib))
  switch (field->cpp_type()) {
    case Field::CPPTYPE_INT32:
      return VREX_SAME(Int32);
    case Field::CPPTYPE_INT64:
      return VREX_SAME(Int64);
    case Field::CPPTYPE_UINT32:
      return VREX_SAME(UInt32);
    case Field::CPPTYPE_UINT64:
      return VREX_SAME(UInt64);
    case Field::CPPTYPE_DOUBLE:
      return VREX_SAME(Double);
    case Field::CPPTYPE_FLOAT:
      return VREX_SAME(Float);
    case Field::CPPTYPE_BOOL:
      return VREX_SAME(Bool);
    case Field::CPPTYPE_ENUM:
      return VREX_SAME(EnumValue);
    case Field::CPPTYPE_STRING:
      return VREX_SAME(String);
    case Field::CPPTYPE_MESSAGE:
      break;
  }
#undef VREX_SAME
  return false;
}

std::string ValueText(const pb::Message& message, const Field* field, int index) {
  if (index == kSingular && field->cpp_type() == Field::CPPTYPE_MESSAGE) {
    return message.GetReflection()->HasField(message, field) ? "a message" : "none";
  }
  std::string text;
  pb::TextFormat::PrintFieldValueToString(message, field, index, &text);
  return text;
}

/// The match's entry for `field`: under its JSON name or its own.
const pb::Value* MaskOf(const pb::Struct& mask, const Field* field) {
  for (const std::string& key : {field->json_name(), field->name()}) {
    const auto found = mask.fields().find(key);
    if (found != mask.fields().end()) return &found->second;
  }
  return nullptr;
}

class Comparison {
 public:
  MatchOutcome outcome;

  void Messages(const pb::Message& want, const pb::Message& got, const pb::Struct& mask,
                const std::string& path) {
    const pb::Descriptor* type = want.GetDescriptor();
    for (int i = 0; i < type->field_count(); ++i) {
      const Field* field = type->field(i);
      if (const pb::Value* entry = MaskOf(mask, field)) {
        const std::string name =
            path.empty() ? field->json_name() : path + "." + field->json_name();
        if (field->is_repeated()) {
          Repeated(want, got, field, *entry, name);
        } else {
          Singular(want, got, field, *entry, name);
        }
      }
    }
  }

 private:
  void Agree() { ++outcome.agreeing; }
  void Differ(std::string difference) {
    if (outcome.matched) {
      outcome.difference = std::move(difference);
    }
    outcome.matched = false;
  }

  void Singular(const pb::Message& want, const pb::Message& got, const Field* field,
                const pb::Value& mask, const std::string& name) {
    if (field->cpp_type() != Field::CPPTYPE_MESSAGE) {
      if (SameScalar(want, kSingular, got, kSingular, field)) return Agree();
      return Differ(name + ": wanted " + ValueText(want, field, kSingular) + ", got " +
                    ValueText(got, field, kSingular));
    }
    const pb::Reflection* reflection = got.GetReflection();
    if (mask.has_null_value() || !reflection->HasField(got, field)) {
      if (reflection->HasField(got, field) == want.GetReflection()->HasField(want, field)) {
        return Agree();
      }
      return Differ(name + ": wanted " + ValueText(want, field, kSingular) + ", got " +
                    ValueText(got, field, kSingular));
    }
    Messages(want.GetReflection()->GetMessage(want, field), reflection->GetMessage(got, field),
             mask.struct_value(), name);
  }

  /// Whether element `wi` of `want` agrees with element `gi` of `got`.
  static bool ElementAgrees(const pb::Message& want, int wi, const pb::Message& got, int gi,
                            const Field* field, const pb::Value& mask) {
    if (field->cpp_type() != Field::CPPTYPE_MESSAGE) {
      return SameScalar(want, wi, got, gi, field);
    }
    Comparison inner;
    inner.Messages(want.GetReflection()->GetRepeatedMessage(want, field, wi),
                   got.GetReflection()->GetRepeatedMessage(got, field, gi), mask.struct_value(),
                   {});
    return inner.outcome.matched;
  }

  void Repeated(const pb::Message& want, const pb::Message& got, const Field* field,
                const pb::Value& mask, const std::string& name) {
    const int wanted = want.GetReflection()->FieldSize(want, field);
    const int present = got.GetReflection()->FieldSize(got, field);
    for (int wi = 0; wi < wanted; ++wi) {
      // The match was parsed from the same JSON: its list has every element.
      const pb::Value& elementMask = mask.list_value().values(wi);
      bool found = false;
      for (int gi = 0; gi < present && !found; ++gi) {
        found = ElementAgrees(want, wi, got, gi, field, elementMask);
      }
      if (found) {
        Agree();
      } else {
        Differ(name + ": no element matches " + ElementText(want, field, wi));
      }
    }
  }

  static std::string ElementText(const pb::Message& message, const Field* field, int index) {
    if (field->cpp_type() != Field::CPPTYPE_MESSAGE) return ValueText(message, field, index);
    std::string text;
    pb::TextFormat::Printer printer;
    printer.SetSingleLineMode(true);
    printer.PrintToString(message.GetReflection()->GetRepeatedMessage(message, field, index),
                          &text);
    return "{" + text.substr(0, text.find_last_not_of(' ') + 1) + "}";
  }
};

std::unique_ptr<pb::Message> NewMessage(const pb::Descriptor* type) {
  return std::unique_ptr<pb::Message>(
      pb::MessageFactory::generated_factory()->GetPrototype(type)->New());
}

}  // namespace

Result<RequestMatch> RequestMatch::Parse(std::string_view requestType, std::string_view json) {
  auto wanted = MessageFromJson(requestType, json);
  if (!wanted) {
    return Result<RequestMatch>::Failure("the match is no " + std::string(requestType) + ": " +
                                         wanted.GetStatus().Message());
  }
  auto mask = std::make_shared<pb::Struct>();
  if (std::string problem = MergeJsonInto(json, *mask); !problem.empty()) {
    return Result<RequestMatch>::Failure("the match is no JSON object: " + problem);
  }
  RequestMatch match;
  match.wanted_ = std::move(wanted).Value();
  match.mask_ = std::move(mask);
  const auto text = MessageToJson(*match.mask_, JsonLayout{false});
  match.json_ = text ? text.Value() : std::string(json);
  return Result<RequestMatch>::Success(std::move(match));
}

MatchOutcome RequestMatch::Compare(const pb::Message& request) const {
  Comparison comparison;
  comparison.Messages(*wanted_, request, *mask_, {});
  return comparison.outcome;
}

std::unique_ptr<pb::Message> DecodeRequest(std::string_view requestType, std::string_view body) {
  const pb::Descriptor* type = FindContractMessage(requestType);
  if (type == nullptr) return nullptr;
  std::unique_ptr<pb::Message> request = NewMessage(type);
  // Clients send an all-default request as the JSON text "{}": the empty message.
  const auto first = body.find_first_not_of(" \t\r\n");
  if (first != std::string_view::npos && body.substr(first, 2) == "{}" &&
      body.find_first_not_of(" \t\r\n", first + 2) == std::string_view::npos) {
    return request;
  }
  if (!request->ParseFromArray(body.data(), static_cast<int>(body.size()))) return nullptr;
  return request;
}

}  // namespace vrex::stub

#pragma once
// Compile-time facts about every request of the catalog: its kind, its
// endpoint name and, for a query, the message it is answered with. Made from
// the same list as the run-time catalog (RequestList.inc), so both agree.
//
// Only forward declarations of the contract classes are needed here; a
// translation unit that sends a request includes the generated headers of the
// request and its answer (or vrex/Contracts.h for all of them).

#include <string_view>
#include <type_traits>

#include "vrex/RequestCatalog.h"

namespace Korvan::KQ::DataContracts {
#define VREX_QUERY(Area, Request, Answer, Repeat) \
  class Request;                                  \
  class Answer;
#define VREX_COMMAND(Area, Request, Repeat) class Request;
#define VREX_FILE(Area, Request, Repeat) class Request;
#include "vrex/RequestList.inc"
}  // namespace Korvan::KQ::DataContracts

namespace vrex {

namespace internal {
template <class T, class = void>
inline constexpr bool kIsComplete = false;
template <class T>
inline constexpr bool kIsComplete<T, std::void_t<decltype(sizeof(T))>> = true;
}  // namespace internal

/// Specialised for every request of the catalog; `kIsRequest` is false for
/// any other type.
template <class Request>
struct RequestTraits {
  static constexpr bool kIsRequest = false;
};

// Answer is void for commands and files: they have no answer message.
// AnswerIsDeclared fails to compile, naming the header to include, where a
// query is sent without its answer's class.
#define VREX_IS_REPEATABLE_Repeatable true
#define VREX_IS_REPEATABLE_Once false
#define VREX_REQUEST_TRAITS(Request, Kind, Repeat, AnswerType, AnswerHeader)                  \
  template <>                                                                                 \
  struct RequestTraits<::Korvan::KQ::DataContracts::Request> {                                \
    static constexpr bool kIsRequest = true;                                                  \
    static constexpr RequestKind kKind = RequestKind::Kind;                                   \
    static constexpr bool kRepeatable = VREX_IS_REPEATABLE_##Repeat;                          \
    static constexpr std::string_view kName = #Request;                                       \
    using Answer = AnswerType;                                                                \
    template <class A = Answer>                                                               \
    static constexpr bool AnswerIsDeclared() {                                                \
      static_assert(internal::kIsComplete<A>,                                                 \
                    "sending " #Request " needs its answer's class: #include \"" AnswerHeader \
                    "\"");                                                                    \
      return true;                                                                            \
    }                                                                                         \
  };
#define VREX_QUERY(Area, Request, Answer, Repeat) \
  VREX_REQUEST_TRAITS(Request, Query, Repeat, ::Korvan::KQ::DataContracts::Answer, #Answer ".pb.h")
#define VREX_COMMAND(Area, Request, Repeat) VREX_REQUEST_TRAITS(Request, Command, Repeat, void, "")
#define VREX_FILE(Area, Request, Repeat) VREX_REQUEST_TRAITS(Request, File, Repeat, void, "")
#include "vrex/RequestList.inc"
#undef VREX_REQUEST_TRAITS
#undef VREX_IS_REPEATABLE_Repeatable
#undef VREX_IS_REPEATABLE_Once

namespace internal {
template <class Request>
constexpr bool IsRequestOfKind([[maybe_unused]] RequestKind kind) {
  if constexpr (RequestTraits<Request>::kIsRequest) {
    return RequestTraits<Request>::kKind == kind;
  } else {
    return false;
  }
}
}  // namespace internal

template <class Request>
inline constexpr bool kIsQuery = internal::IsRequestOfKind<Request>(RequestKind::Query);
template <class Request>
inline constexpr bool kIsCommand = internal::IsRequestOfKind<Request>(RequestKind::Command);
template <class Request>
inline constexpr bool kIsFileRequest = internal::IsRequestOfKind<Request>(RequestKind::File);

/// The message a query is answered with.
template <class Query>
using AnswerOf = typename RequestTraits<Query>::Answer;

}  // namespace vrex

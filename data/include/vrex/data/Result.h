#pragma once
// The one result shape of the data helpers: a value, or the text of what went
// wrong. The library raises no exceptions of its own, so the helpers report
// bad input here instead of throwing.
//
//   vrex::data::Result<bcl::Guid> guid = vrex::data::ParseGuid(text);
//   if (!guid.ok()) { std::cerr << guid.error() << '\n'; return; }
//   use(guid.value());

#include <optional>
#include <string>
#include <utility>

namespace vrex::data {

template <typename T>
class Result {
 public:
  static Result Success(T value) {
    Result result;
    result.value_.emplace(std::move(value));
    return result;
  }
  static Result Failure(std::string error) {
    Result result;
    result.error_ = std::move(error);
    return result;
  }

  bool ok() const noexcept { return value_.has_value(); }
  explicit operator bool() const noexcept { return ok(); }

  /// The value; only when ok() (std::bad_optional_access otherwise).
  const T& value() const& { return value_.value(); }
  T& value() & { return value_.value(); }
  T&& value() && { return std::move(value_).value(); }

  /// Why there is no value; empty when ok().
  const std::string& error() const noexcept { return error_; }

 private:
  Result() = default;

  std::optional<T> value_;
  std::string error_;
};

}  // namespace vrex::data

#pragma once
// The one result shape of the library: a value together with the status of
// the work that produced it. The library raises no exceptions of its own, so
// every function that can fail says so here.
//
//   vrex::Result<bcl::Guid> guid = vrex::data::ParseGuid(text);
//   if (!guid) { std::cerr << guid.GetStatus().Message() << '\n'; return; }
//   use(guid.Value());
//
// The status is an Error (a text, empty when nothing went wrong) for the data
// helpers, the JSON conversions and the stub's loader, and an Outcome for the
// calls of vrex::Client, which also say how the server answered.

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace vrex {

/// What went wrong, in words for people; no message means success.
class Error {
 public:
  Error() = default;
  // Implicit: a text is an error, so `return Result<T>::Failure("...")` reads naturally.
  Error(std::string message) : message_(std::move(message)) {}  // NOLINT
  Error(const char* message) : message_(message) {}             // NOLINT

  bool Ok() const noexcept { return message_.empty(); }
  const std::string& Message() const noexcept { return message_; }

 private:
  std::string message_;
};

/// A value and the status of the work that produced it. `Status` has `Ok()`
/// and `Message()`. Test `Ok()` before using the value: a failed result holds
/// no value (Error), or one the work left incomplete (Outcome: an answer as
/// the parser left it, like VrexClient::Post's response).
template <class T, class Status = Error>
class Result {
 public:
  static Result Success(T value) { return Result(std::make_unique<T>(std::move(value)), Status()); }
  static Result Failure(Status status) { return Result(std::unique_ptr<T>(), std::move(status)); }

  /// A value this Result owns (none when `value` is empty).
  Result(std::unique_ptr<T> value, Status status)
      : owned_(std::move(value)), value_(owned_.get()), status_(std::move(status)) {}
  /// A value that lives elsewhere, such as on a google::protobuf::Arena, and
  /// must outlive this Result.
  Result(T* valueElsewhere, Status status) : value_(valueElsewhere), status_(std::move(status)) {}

  Result(const Result& other)
      : owned_(other.owned_ ? std::make_unique<T>(*other.owned_) : nullptr),
        value_(other.owned_ ? owned_.get() : other.value_),
        status_(other.status_) {}
  Result& operator=(const Result& other) {
    if (this != &other) *this = Result(other);
    return *this;
  }
  Result(Result&&) noexcept = default;
  Result& operator=(Result&&) noexcept = default;
  ~Result() = default;

  bool Ok() const { return status_.Ok(); }
  explicit operator bool() const { return Ok(); }
  const Status& GetStatus() const { return status_; }

  /// Whether there is a value to look at (always after a call of vrex::Client).
  bool HasValue() const noexcept { return value_ != nullptr; }
  /// The value; throws std::bad_optional_access when there is none.
  T& Value() & { return Checked(); }
  const T& Value() const& { return Checked(); }
  // By value: a reference into a temporary Result would dangle in
  // `for (auto& x : Load().Value())`.
  T Value() && { return std::move(Checked()); }
  T& operator*() { return Checked(); }
  const T& operator*() const { return Checked(); }
  T* operator->() { return &Checked(); }
  const T* operator->() const { return &Checked(); }

 private:
  T& Checked() const {
    if (value_ == nullptr) throw std::bad_optional_access();
    return *value_;
  }

  std::unique_ptr<T> owned_;  // empty when the value lives elsewhere or is missing
  T* value_ = nullptr;
  Status status_;
};

}  // namespace vrex

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

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "vrex/Export.h"

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

/// Thrown by the value accessors of a Result that has no value to give: the
/// one programming error the library reports by exception, as reading a
/// failed call's answer as if it were an empty one would hide the failure.
class VREX_EXPORT BadResultAccess : public std::exception {
 public:
  explicit BadResultAccess(const std::string& failure)
      : what_(failure.empty() ? "the result holds no value"
                              : "no value, the work failed: " + failure) {}
  const char* what() const noexcept override { return what_.c_str(); }

 private:
  std::string what_;
};

/// A value and the status of the work that produced it; `Status` has `Ok()`
/// and `Message()`. Test `Ok()` (or the Result itself) before `Value()`:
/// `Value()`, `*` and `->` of a failed Result throw BadResultAccess.
///
/// The value is held inline, or elsewhere: on an arena the caller keeps, or
/// on one this Result keeps alive (the answers of vrex::Client). Moving the
/// value out of an arena (`std::move(result).Value()`) copies it; a copy of a
/// Result holds its own copy of the value, except that of a value on the
/// caller's arena, which the copies share.
template <class T, class Status = Error>
class [[nodiscard]] Result {
 public:
  static Result Success(T value) { return Result(std::move(value), Status()); }
  static Result Failure(Status status) { return Result(std::move(status)); }

  /// A value held inline.
  Result(T value, Status status) : inline_(std::move(value)), status_(std::move(status)) {}
  /// No value at all.
  explicit Result(Status status) : status_(std::move(status)) {}
  /// A value that lives elsewhere, such as on a google::protobuf::Arena, and
  /// must outlive this Result.
  Result(T* valueElsewhere, Status status)
      : elsewhere_(valueElsewhere), status_(std::move(status)) {}
  /// A value that lives in storage `keeper` owns (its arena), which this
  /// Result keeps alive.
  Result(T* valueElsewhere, std::shared_ptr<void> keeper, Status status)
      : elsewhere_(valueElsewhere), keeper_(std::move(keeper)), status_(std::move(status)) {}

  Result(const Result& other)
      : inline_(other.keeper_ ? std::optional<T>(*other.elsewhere_) : other.inline_),
        elsewhere_(other.keeper_ ? nullptr : other.elsewhere_),
        status_(other.status_) {}
  Result& operator=(const Result& other) {
    if (this != &other) *this = Result(other);
    return *this;
  }
  Result(Result&& other) noexcept
      : inline_(std::move(other.inline_)),
        elsewhere_(std::exchange(other.elsewhere_, nullptr)),
        keeper_(std::move(other.keeper_)),
        status_(std::move(other.status_)) {}
  Result& operator=(Result&& other) noexcept {
    inline_ = std::move(other.inline_);
    elsewhere_ = std::exchange(other.elsewhere_, nullptr);
    keeper_ = std::move(other.keeper_);
    status_ = std::move(other.status_);
    return *this;
  }
  ~Result() = default;

  bool Ok() const { return status_.Ok(); }
  explicit operator bool() const { return Ok(); }
  const Status& GetStatus() const { return status_; }

  /// Whether there is a value to look at, failed or not (always after a call
  /// of vrex::Client).
  bool HasValue() const noexcept { return Get() != nullptr; }

  /// The value of a successful Result; throws BadResultAccess after a failure.
  T& Value() & { return Checked(); }
  const T& Value() const& { return Checked(); }
  // By value: a reference into a temporary Result would dangle in
  // `for (auto& x : Load().Value())`.
  T Value() && { return std::move(Checked()); }
  T& operator*() { return Checked(); }
  const T& operator*() const { return Checked(); }
  T* operator->() { return &Checked(); }
  const T* operator->() const { return &Checked(); }

  /// The value whatever the status: after a failed call of vrex::Client, the
  /// answer as the parser left it (empty, or half of it). Throws
  /// BadResultAccess only when there is no value at all.
  T& PartialValue() & { return Present(); }
  const T& PartialValue() const& { return Present(); }
  T PartialValue() && { return std::move(Present()); }

 private:
  T* Get() const noexcept {
    return elsewhere_ != nullptr ? elsewhere_ : inline_ ? const_cast<T*>(&*inline_) : nullptr;
  }
  T& Present() const {
    if (T* value = Get()) return *value;
    throw BadResultAccess(status_.Message());
  }
  T& Checked() const {
    if (!Ok()) throw BadResultAccess(status_.Message());
    return Present();
  }

  std::optional<T> inline_;
  T* elsewhere_ = nullptr;        // set when the value is not inline
  std::shared_ptr<void> keeper_;  // owns the storage of *elsewhere_, when this Result does
  Status status_;
};

}  // namespace vrex

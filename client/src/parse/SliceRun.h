#pragma once
// The slices of one answer on their way to the answer: each is parsed on its
// own by a pool thread as soon as it is added (by at most `helpers` pool
// threads at once), or by the thread that finishes the run when nobody has
// started it yet; then they are joined in order. That thread never waits for
// a slice no thread has started, so the run completes even when the pool
// has no threads, or when it is itself a pool thread.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace google::protobuf {
class Message;
}

namespace vrex::internal {

class ParsePool;

class SliceRun {
 public:
  /// Slices of `answer`'s type, parsed onto its arena (or the heap).
  SliceRun(ParsePool& pool, unsigned helpers, google::protobuf::Message& answer);
  /// Cancels.
  ~SliceRun();
  SliceRun(const SliceRun&) = delete;
  SliceRun& operator=(const SliceRun&) = delete;

  /// The next slice, whose bytes the run keeps.
  void Add(std::string bytes);
  /// The next slice, in bytes that stay unchanged until the run ends.
  void AddView(std::string_view bytes);

  /// Parses the slices nobody started, waits for the others and joins them
  /// into the answer. False, with the answer cleared, when a slice does not
  /// parse or the join lacks required fields. Rethrows what a parse threw
  /// (std::bad_alloc).
  bool Finish();

  /// Stops: starts no more slices, waits for those being parsed and drops
  /// what they parsed. Their bytes stay, in order (see Bytes).
  void Cancel();
  std::vector<std::string_view> Bytes() const;
  /// How many slices were added.
  std::size_t Count() const;

 private:
  struct Slice;
  struct State;
  void Offer();

  ParsePool& pool_;
  google::protobuf::Message& answer_;
  std::shared_ptr<State> state_;  // shared with the pool's tasks
};

}  // namespace vrex::internal

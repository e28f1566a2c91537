#include "parse/SliceRun.h"

#include <google/protobuf/message.h>

#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <utility>

#include "parse/ParsePool.h"
#include "parse/SliceJoin.h"

namespace vrex::internal {

struct SliceRun::Slice {
  std::string storage;  // the bytes, when the run keeps them
  std::string_view bytes;
  google::protobuf::Message* message = nullptr;  // on the answer's arena, or:
  std::unique_ptr<google::protobuf::Message> onHeap;
  bool parsed = false;
};

struct SliceRun::State {
  const google::protobuf::Message* prototype;
  google::protobuf::Arena* arena;
  std::mutex mutex;
  std::condition_variable idle;
  std::deque<Slice> slices;  // grows at the back; elements never move
  std::size_t next = 0;      // the first slice nobody has started
  std::size_t running = 0;
  unsigned helpers = 0;  // how many pool threads may parse at once
  unsigned helping = 0;
  std::exception_ptr failure;

  // A pool thread's offer: parses slices while there are any, unless enough
  // pool threads help already (they take the slices this one would).
  void Help() {
    {
      const std::lock_guard<std::mutex> lock(mutex);
      if (helping == helpers) {
        return;
      }
      ++helping;
    }
    while (ParseNext(true)) {
    }
  }

  // Parses the first slice nobody has started; false when there is none. A
  // helper that finds none stops helping in the same step, so the offer of
  // a slice added after it looked finds room.
  bool ParseNext(bool helper) {
    Slice* slice = nullptr;
    {
      const std::lock_guard<std::mutex> lock(mutex);
      if (next == slices.size()) {
        helping -= helper ? 1 : 0;
        return false;
      }
      slice = &slices[next++];
      ++running;
    }
    try {
      slice->message = prototype->New(arena);
      if (arena == nullptr) {
        slice->onHeap.reset(slice->message);
      }
      slice->parsed = slice->message->ParsePartialFromArray(slice->bytes.data(),
                                                            static_cast<int>(slice->bytes.size()));
    } catch (...) {  // pool threads must not throw
      const std::lock_guard<std::mutex> lock(mutex);
      failure = std::current_exception();
    }
    {
      const std::lock_guard<std::mutex> lock(mutex);
      --running;
    }
    idle.notify_all();
    return true;
  }

  void WaitIdle() {
    std::unique_lock<std::mutex> lock(mutex);
    idle.wait(lock, [this] { return running == 0; });
  }
};

SliceRun::SliceRun(ParsePool& pool, unsigned helpers, google::protobuf::Message& answer)
    : pool_(pool), answer_(answer), state_(std::make_shared<State>()) {
  state_->helpers = helpers;
  state_->prototype = &answer;
  state_->arena = answer.GetArena();
}

SliceRun::~SliceRun() { Cancel(); }

void SliceRun::Add(std::string bytes) {
  {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    Slice& slice = state_->slices.emplace_back();
    slice.storage = std::move(bytes);
    slice.bytes = slice.storage;
  }
  Offer();
}

void SliceRun::AddView(std::string_view bytes) {
  {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    state_->slices.emplace_back().bytes = bytes;
  }
  Offer();
}

void SliceRun::Offer() {
  pool_.Post([state = state_] { state->Help(); });
}

bool SliceRun::Finish() {
  while (state_->ParseNext(false)) {
  }
  state_->WaitIdle();
  if (state_->failure) {
    std::rethrow_exception(state_->failure);
  }
  std::vector<google::protobuf::Message*> messages;
  for (const Slice& slice : state_->slices) {
    if (!slice.parsed) {
      answer_.Clear();
      return false;
    }
    messages.push_back(slice.message);
  }
  JoinSlices(messages, answer_);
  if (!answer_.IsInitialized()) {
    answer_.Clear();
    return false;
  }
  return true;
}

void SliceRun::Cancel() {
  {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    state_->next = state_->slices.size();
  }
  state_->WaitIdle();
  for (Slice& slice : state_->slices) {
    slice.onHeap.reset();
    slice.message = nullptr;
    slice.parsed = false;
  }
}

std::vector<std::string_view> SliceRun::Bytes() const {
  std::vector<std::string_view> bytes;
  for (const Slice& slice : state_->slices) {
    bytes.push_back(slice.bytes);
  }
  return bytes;
}

std::size_t SliceRun::Count() const {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  return state_->slices.size();
}

}  // namespace vrex::internal

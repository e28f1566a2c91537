#pragma once
// Reusable libcurl easy handles. A handle keeps its connections open between
// transfers, so a caller that gets a handle back gets its connection too.

#include <curl/curl.h>

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace vrex::internal {

class CurlHandlePool {
 public:
  struct HandleCloser {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
  };
  using Handle = std::unique_ptr<CURL, HandleCloser>;

  /// A handle lent to one caller, given back when the lease ends.
  class Lease {
   public:
    Lease(CurlHandlePool& pool, Handle handle) : pool_(pool), handle_(std::move(handle)) {}
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;
    ~Lease() { pool_.GiveBack(std::move(handle_)); }
    CURL* get() const { return handle_.get(); }

   private:
    CurlHandlePool& pool_;
    Handle handle_;
  };

  /// `configure` sets the options every handle shares, once per handle.
  explicit CurlHandlePool(std::function<void(CURL*)> configure);

  /// An idle handle, or a new one when all are busy; its get() is null when
  /// libcurl could not make one.
  Lease Acquire();

 private:
  void GiveBack(Handle handle);

  std::function<void(CURL*)> configure_;
  std::mutex mutex_;
  std::vector<Handle> idle_;  // at most as many as calls ever ran at once
};

}  // namespace vrex::internal

#pragma once
// What every libcurl handle of one transport shares: the options set on each
// handle, the request header lists and the wire trace. The transport and its
// event loop both hold it, so a handle never points at memory that went
// before the handle did, whichever of the two ends last.

#include <curl/curl.h>

#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <string_view>

#include "vrex/ClientOptions.h"

namespace vrex::internal {

class CurlSettings {
 public:
  explicit CurlSettings(const ClientOptions& options);
  CurlSettings(const CurlSettings&) = delete;
  CurlSettings& operator=(const CurlSettings&) = delete;

  /// Sets the options every handle shares, once per handle.
  void Configure(CURL* handle);
  /// The headers of a request with `contentType`; kept as long as this is.
  curl_slist* HeadersFor(const std::string& contentType);
  /// No trace line reaches the options' handler after this returns: the
  /// transport is gone, and with it the caller's promise to keep the handler.
  void EndTrace();

 private:
  struct HeaderListFree {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  };
  using HeaderList = std::unique_ptr<curl_slist, HeaderListFree>;

  static int Trace(CURL*, curl_infotype type, char* data, std::size_t size, void* self);
  HeaderList BuildHeaders(std::string_view contentType) const;
  std::string_view Token() const;

  ClientOptions options_;  // without the token, which lives in the header lists only
  std::string authenticationHeader_;
  std::mutex headersMutex_;
  std::map<std::string, HeaderList, std::less<>> headers_;  // by content type
  std::shared_mutex traceMutex_;  // shared while a line is traced; EndTrace takes it whole
  bool tracing_;                  // guarded by traceMutex_
};

}  // namespace vrex::internal

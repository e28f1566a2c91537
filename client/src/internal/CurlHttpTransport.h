#pragma once
// The libcurl implementation of vrex::Transport.

#include <curl/curl.h>

#include <memory>
#include <string_view>

#include "internal/CurlHandlePool.h"
#include "vrex/ClientOptions.h"
#include "vrex/Transport.h"

namespace vrex::internal {

class CurlHttpTransport final : public Transport {
 public:
  explicit CurlHttpTransport(const ClientOptions& options);

  HttpResponse Post(const HttpRequest& request) override;
  HttpResponse PostStreaming(const HttpRequest& request, const StreamHandler& onChunk) override;

 private:
  struct HeaderListFree {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  };
  using HeaderList = std::unique_ptr<curl_slist, HeaderListFree>;

  HeaderList BuildHeaders(std::string_view contentType) const;
  void Configure(CURL* handle) const;
  HttpResponse Perform(const HttpRequest& request, const StreamHandler* onChunk);

  ClientOptions options_;  // without the token, which lives in the header lists only
  std::string authenticationHeader_;
  HeaderList protobufHeaders_;
  HeaderList jsonHeaders_;
  CurlHandlePool pool_;
};

}  // namespace vrex::internal

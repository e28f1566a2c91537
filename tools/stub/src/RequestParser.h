#pragma once
// Boost.Beast's HTTP request parser, filling a journal entry as the request
// arrives: the method and target, the header fields in arrival order (its
// own message type keeps repeated names together) and the body, chunked
// transfer coding removed. One parser per request.

#include <boost/beast/http/basic_parser.hpp>
#include <cstdint>
#include <string_view>

#include "vrex/stub/JournalEntry.h"

namespace vrex::stub {

class RequestParser final : public boost::beast::http::basic_parser<true> {
 public:
  JournalEntry& Request() { return request_; }

 private:
  using error_code = boost::beast::error_code;
  using verb = boost::beast::http::verb;
  using field = boost::beast::http::field;

  void on_request_impl(verb method, std::string_view methodText, std::string_view target,
                       int version, error_code& error) override;
  void on_response_impl(int status, std::string_view reason, int version,
                        error_code& error) override;
  void on_field_impl(field name, std::string_view nameText, std::string_view value,
                     error_code& error) override;
  void on_header_impl(error_code& error) override;
  void on_body_init_impl(const boost::optional<std::uint64_t>& length, error_code& error) override;
  std::size_t on_body_impl(std::string_view body, error_code& error) override;
  void on_chunk_header_impl(std::uint64_t size, std::string_view extensions,
                            error_code& error) override;
  std::size_t on_chunk_body_impl(std::uint64_t remain, std::string_view body,
                                 error_code& error) override;
  void on_finish_impl(error_code& error) override;

  JournalEntry request_;
};

}  // namespace vrex::stub

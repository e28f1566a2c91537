#include "RequestParser.h"

#include <boost/beast/http/error.hpp>
#include <string>

#include "vrex/data/Text.h"

namespace vrex::stub {

void RequestParser::on_request_impl(verb, std::string_view methodText, std::string_view target, int,
                                    error_code&) {
  request_.method = std::string(methodText);
  request_.path = std::string(target);
}

void RequestParser::on_response_impl(int, std::string_view, int, error_code&) {}

void RequestParser::on_field_impl(field name, std::string_view nameText, std::string_view value,
                                  error_code& error) {
  // The parser takes a body it cannot frame (identity, xchunked, "chunked,
  // identity") as none, and serves its bytes as the next request: refused.
  if (name == field::transfer_encoding && !data::EqualsIgnoringCase(value, "chunked")) {
    error = boost::beast::http::error::bad_transfer_encoding;
  }
  request_.headers.push_back({std::string(nameText), std::string(value)});
}

void RequestParser::on_header_impl(error_code&) {}

void RequestParser::on_body_init_impl(const boost::optional<std::uint64_t>&, error_code&) {}

std::size_t RequestParser::on_body_impl(std::string_view body, error_code&) {
  request_.body.append(body);
  return body.size();
}

void RequestParser::on_chunk_header_impl(std::uint64_t, std::string_view, error_code&) {}

std::size_t RequestParser::on_chunk_body_impl(std::uint64_t, std::string_view body, error_code&) {
  request_.body.append(body);
  return body.size();
}

void RequestParser::on_finish_impl(error_code&) {}

}  // namespace vrex::stub

#include "vrex/data/SecretMask.h"

#include <array>

#include "vrex/data/Text.h"

namespace vrex::data {

namespace {

constexpr std::string_view kMask = "***";

// Replaces each occurrence of `secret` in `text`.
void MaskOccurrences(std::string& text, std::string_view secret) {
  for (std::size_t at = text.find(secret); at != std::string::npos;
       at = text.find(secret, at + kMask.size())) {
    text.replace(at, secret.size(), kMask);
  }
}

// Masks the value of every header line of `text` that carries credentials.
void MaskCredentialHeaders(std::string& text) {
  for (std::size_t line = 0; line < text.size();) {
    std::size_t end = text.find_first_of("\r\n", line);
    if (end == std::string::npos) end = text.size();
    const std::size_t colon = text.find(':', line);
    if (colon < end && CarriesCredentials(std::string_view(text).substr(line, colon - line))) {
      text.replace(colon + 1, end - colon - 1, " ***");
      end = colon + 1 + 4;
    }
    line = end + 1;
  }
}

}  // namespace

bool CarriesCredentials(std::string_view headerName) {
  static constexpr std::array<std::string_view, 3> kNames = {
      "GatewayApiAuthentication", "Authorization", "Proxy-Authorization"};
  for (const std::string_view name : kNames) {
    if (EqualsIgnoringCase(headerName, name)) return true;
  }
  return false;
}

std::string MaskUrlPasswords(std::string_view text) {
  std::string masked(text);
  constexpr std::string_view kSchemeEnd = "://";
  for (std::size_t scheme = masked.find(kSchemeEnd); scheme != std::string::npos;
       scheme = masked.find(kSchemeEnd, scheme + kSchemeEnd.size())) {
    const std::size_t start = scheme + kSchemeEnd.size();
    // The user information ends at the last "@" before the path.
    const std::size_t authorityEnd = masked.find_first_of("/?# \t\r\n\"'", start);
    const std::size_t at =
        masked.rfind('@', authorityEnd == std::string::npos ? std::string::npos : authorityEnd);
    if (at == std::string::npos || at < start) continue;
    const std::size_t colon = masked.find(':', start);
    if (colon < at) masked.replace(colon + 1, at - colon - 1, kMask);
  }
  return masked;
}

std::string MaskSecrets(std::string_view text, std::string_view secret) {
  std::string masked = MaskUrlPasswords(text);
  if (!secret.empty()) MaskOccurrences(masked, secret);
  MaskCredentialHeaders(masked);
  return masked;
}

}  // namespace vrex::data

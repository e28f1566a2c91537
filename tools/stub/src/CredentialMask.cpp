#include "CredentialMask.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <random>

#include "vrex/data/SecretMask.h"

namespace vrex::stub {

namespace {

// Shorter values are no credentials worth hiding, and replacing them would
// garble every text that happens to hold them.
constexpr std::size_t kShortestSecret = 4;

std::uint64_t ProcessKey() {
  static const std::uint64_t key = [] {
    std::random_device random;
    return (std::uint64_t{random()} << 32) ^ random();
  }();
  return key;
}

/// FNV-1a from a keyed start, then a full mix of the state, so that the
/// digest's bits depend on every bit of the key.
std::uint64_t KeyedDigest(std::string_view text) {
  std::uint64_t state = 0xcbf29ce484222325ULL ^ ProcessKey();
  for (const char c : text) {
    state = (state ^ static_cast<unsigned char>(c)) * 0x100000001b3ULL;
  }
  state = (state ^ (state >> 30)) * 0xbf58476d1ce4e5b9ULL;
  state = (state ^ (state >> 27)) * 0x94d049bb133111ebULL;
  return state ^ (state >> 31);
}

}  // namespace

std::string MaskedSecret(std::string_view secret) {
  std::array<char, 9> digits{};
  std::snprintf(digits.data(), digits.size(), "%08x",
                static_cast<unsigned>(KeyedDigest(secret) >> 32));
  return "***" + std::string(digits.data());
}

std::vector<std::string> SecretsOf(const std::vector<HeaderField>& headers) {
  std::vector<std::string> secrets;
  for (const HeaderField& header : headers) {
    if (!data::CarriesCredentials(header.name)) continue;
    secrets.push_back(header.value);
    if (const auto blank = header.value.find(' '); blank != std::string::npos) {
      secrets.push_back(header.value.substr(blank + 1));
    }
  }
  return secrets;
}

std::string WithoutSecrets(std::string text, const std::vector<std::string>& secrets) {
  for (const std::string& secret : secrets) {
    if (secret.size() < kShortestSecret) continue;
    const std::string mask = MaskedSecret(secret);
    for (auto at = text.find(secret); at != std::string::npos;
         at = text.find(secret, at + mask.size())) {
      text.replace(at, secret.size(), mask);
    }
  }
  return text;
}

}  // namespace vrex::stub

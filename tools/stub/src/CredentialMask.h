#pragma once
// Secrets a client sends (the gateway token, other credentials), as the stub
// shows them wherever they leave its process: the admin API's journal and
// recordings. A mask is "***" and a short digest keyed with a random number
// drawn once per process: within one run equal secrets have equal masks, so a
// test tells two tokens apart, and the mask tells nothing of the secret.

#include <string>
#include <string_view>
#include <vector>

#include "vrex/stub/JournalEntry.h"

namespace vrex::stub {

/// "***" and 8 hex digits.
std::string MaskedSecret(std::string_view secret);

/// The secrets among `headers`: each value of a header that carries one and,
/// for a value with a scheme ("Basic dXNlcjpwYXNz"), the credentials after it.
std::vector<std::string> SecretsOf(const std::vector<HeaderField>& headers);

/// `text` with each of `secrets` replaced by its mask wherever it occurs.
std::string WithoutSecrets(std::string text, const std::vector<std::string>& secrets);

}  // namespace vrex::stub

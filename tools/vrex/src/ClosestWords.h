#pragma once
// What a mistyped word was probably meant to be, so that a message can name
// it ("did you mean tests?") instead of only refusing.

#include <string>
#include <string_view>
#include <vector>

namespace vrex::cli {

/// The candidates fewest edits (insertions, deletions, substitutions, swaps
/// of neighbours) away from `word`, all those at that distance, in their
/// order; none when even the closest is more than a third of the word away
/// (at least 2 edits are always allowed).
std::vector<std::string> ClosestWords(std::string_view word,
                                      const std::vector<std::string>& candidates);

}  // namespace vrex::cli

// What somebody may have meant by a word that is not known.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace BX::tool {

// How many letters are to be inserted, left out, replaced, or exchanged with their neighbour to make `b` of `a`; upper
// and lower case of ASCII count as the same letter.
std::size_t editDistance(std::string_view a, std::string_view b);

// The known word that is nearest to `word`; none when all differ from it in more than a third of their letters.
std::optional<std::string> nearestOf(const std::vector<std::string>& known, std::string_view word);

}  // namespace BX::tool

// What somebody may have meant by a word that is not known.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace BX::arguments {

// The known word that is nearest to `word`, or begins with it; empty when none does and all differ from it in more than
// a third of their letters. Letters left out, put in, mistaken for others or swapped with their neighbours count; upper
// and lower case of ASCII are the same.
std::string nearestOf(const std::vector<std::string>& known, std::string_view word);

}  // namespace BX::arguments

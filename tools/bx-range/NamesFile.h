// The names of shooters, beside the board: {"a/1": "Anna Berg", ...}.
#pragma once

#include <optional>
#include <string>

#include "BoardFeed.h"
#include "tools/bx/Console.h"

namespace BX::range {

class NamesFile {
 public:
  // An empty path: no names.
  NamesFile(tool::Console& console, std::string path) : console_(console), path_(std::move(path)) {}

  // What the file says now, if that is something else than before. A file that is wrong is told once, and the last good
  // names stay.
  std::optional<Names> changed();

 private:
  tool::Console& console_;
  const std::string path_;
  Names names_;
  std::string trouble_;
};

}  // namespace BX::range

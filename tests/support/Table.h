// Tables of cases, written as text.
#pragma once

#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace BX::test {

// The rows of `text`: a line each that is not blank, its cells between bars and without the blanks around them.
inline std::vector<std::vector<std::string>> rowsOf(const std::string& text) {
  static const std::regex bar(R"(\s*\|\s*)");
  std::vector<std::vector<std::string>> rows;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines >> std::ws, line);) {
    line += '|';  // an empty last cell is one
    rows.emplace_back(std::sregex_token_iterator(line.begin(), line.end(), bar, -1), std::sregex_token_iterator());
  }
  return rows;
}

// The text of a file, such as that of a table beside its test.
inline std::string textIn(const std::string& path) {
  const std::ifstream file(path);
  if (!file) throw std::runtime_error("cannot read " + path);
  return (std::ostringstream() << file.rdbuf()).str();
}

}  // namespace BX::test

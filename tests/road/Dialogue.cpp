#include "Dialogue.h"

#include <gmock/gmock.h>

#include <memory>
#include <regex>

#include "Program.h"
#include "tests/support/Table.h"

namespace BX::test {

namespace {

using Words = std::map<std::string, std::string>;

std::string replaced(std::string text, const std::string& what, const std::string& with) {
  for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size()) {
    text.replace(at, what.size(), with);
  }
  return text;
}

// A cell of an output as an extended regular expression.
std::string patternOf(std::string cell, const Words& words) {
  for (const auto& [name, value] : words) cell = replaced(cell, '$' + name, value);
  cell = replaced(replaced(cell, "\\n", "\n"), "\\p", "|");
  cell = std::regex_replace(cell, std::regex(R"([\\^$.|?+(){}\[\]])"), R"(\$&)");
  return replaced(replaced(cell, "***", "(.|\n)*"), R"(\.\.\.)", "[^\n]*");
}

std::vector<std::string> typed(const std::string& command, const Words& words) {
  std::vector<std::string> shell = {"env"};
  for (const auto& [name, value] : words) shell.push_back(name + '=' + value);
  const std::string programs =
      R"(bx() { ")" BX_PROGRAM R"(" --skip-startup "$@"; }; bx-sim() { exec $VIA ")" BX_SIM_PROGRAM R"(" "$@"; }; )"
      // until a command succeeds, or the program behind has ended
      R"(await() { until eval "$1" 2>/dev/null; do kill -0 $! 2>/dev/null || break; sleep 0.01; done; }; )"
      R"(on-terminal() { script --quiet --return --command ")" BX_PROGRAM R"( --skip-startup $*" /dev/null; }; )";
  shell.insert(shell.end(), {"bash", "-c", programs + replaced(command, "\\p", "|")});
  return shell;
}

void expectOutput(std::string output, const std::string& cell, const Words& words) {
  constexpr std::size_t enough = 2000;
  if (output.ends_with('\n')) output.pop_back();
  EXPECT_TRUE(::testing::Matches(::testing::MatchesRegex(patternOf(cell, words)))(output))
      << "expected: " << cell << "\ncame: " << output.substr(0, enough);
}

}  // namespace

void expectDialogues(const std::string& rows, Words words) {
  const Folder folder;
  words["BX"] = BX_PROGRAM;
  words["FOLDER"] = folder.path("").substr(0, folder.path("").size() - 1);
  std::unique_ptr<Device> device;
  for (const auto& row : rowsOf(rows)) {
    SCOPED_TRACE(row[0]);
    if (row.size() == 1) {
      device.reset();
      device = std::make_unique<Device>(std::vector<std::string>(), typed(row[0], words));
      words["PORT"] = device->port();
      continue;
    }
    ASSERT_EQ(row.size(), 4U);
    const Outcome outcome = Program(typed(row[0], words)).await();
    EXPECT_EQ(outcome.status, std::stoi(row[1])) << outcome.err;
    expectOutput(outcome.out, row[2], words);
    expectOutput(outcome.err, row[3], words);
  }
}

}  // namespace BX::test

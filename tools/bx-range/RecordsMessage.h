// Lines of a session on their way from its gate to the archive: what a message of LANE/records says, and what the
// archive answers by LANE/archived.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace BX::range {

// What is wrong with a message: a reason alone.
class Unusable : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct RecordsMessage {
  std::int64_t session = 0;
  std::int64_t first = 0;               // number of the first line
  std::vector<std::string_view> lines;  // of the message, byte for byte
  bool isEnd = false;                   // the session has no more lines than these
  std::string problem;                  // for which all but the session's number is worth nothing; empty: none
};

// Each line of the session stands on a line of its own in the message, so that it comes out with every byte: no JSON
// parser keeps how a number was written. Throws Unusable when the message does not even tell the session.
RecordsMessage readRecords(std::string_view message);

// Throws Unusable when line 0 is not that of this session.
void requireHeader(std::string_view line, std::int64_t session);

// The archive has these lines of a session for good.
struct Standing {
  std::string machine;
  std::string lane;
  std::int64_t session = 0;
  std::int64_t lines = 0;
  bool ended = false;  // and that is all of them
  bool operator==(const Standing&) const = default;
};

// As the run of an archive that has this number tells it.
std::string messageOf(const Standing& standing, std::uint64_t archive);
// The number in such a message; nothing when there is none.
std::optional<std::uint64_t> archiveOf(std::string_view message);

}  // namespace BX::range

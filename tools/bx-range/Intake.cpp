#include "Intake.h"

#include <algorithm>
#include <utility>

namespace BX::range {

void Intake::take(const std::string& machine, const std::string& lane, std::string_view message) {
  const RecordsMessage chunk = readRecords(message);
  Arrived& arrived = of({machine, lane, chunk.session});
  if (!chunk.problem.empty()) throw Unusable(chunk.problem);
  const std::int64_t known = arrived.kept.lines + arrived.addition.lines;
  if (chunk.first > known) return;
  if (chunk.first + static_cast<std::int64_t>(chunk.lines.size()) > known) {
    if (arrived.kept.ended || arrived.addition.ends) throw Unusable("it goes on after its end");
    if (known == 0) requireHeader(chunk.lines.front(), chunk.session);
    append(arrived, chunk);
  }
  if (chunk.isEnd) arrived.addition.ends = true;
}

Intake::Arrived& Intake::of(const SessionName& name) {
  const auto found = arrived_.find(name);
  if (found != arrived_.end()) return found->second;
  return arrived_.emplace(name, Arrived{store_.find(name), {}}).first->second;
}

void Intake::append(Arrived& arrived, const RecordsMessage& chunk) {
  auto& [text, lines, ends] = arrived.addition;
  const auto isKnown = static_cast<std::size_t>(arrived.kept.lines + lines - chunk.first);
  for (std::size_t i = isKnown; i < chunk.lines.size(); ++i) {
    text.append(chunk.lines[i]) += '\n';
    bytes_ += chunk.lines[i].size() + 1;
    ++lines;
  }
}

std::vector<Standing> Intake::commit() {
  const auto arrived = std::exchange(arrived_, {});
  bytes_ = 0;
  const auto hasNews = [](const auto& entry) {
    const auto& [kept, addition] = entry.second;
    const bool isThere = kept.lines + addition.lines > 0;  // else it ended before it began: nothing to keep
    return addition.lines > 0 || (isThere && addition.ends && !kept.ended);
  };
  if (std::any_of(arrived.begin(), arrived.end(), hasNews)) {
    Transaction transaction = store_.begin();
    for (const auto& entry : arrived) {
      if (hasNews(entry)) store_.add(entry.first, entry.second.kept, entry.second.addition);
    }
    transaction.commit();
  }
  std::vector<Standing> standings;
  for (const auto& [name, state] : arrived) {
    const auto& [kept, addition] = state;
    committed_ += static_cast<std::size_t>(addition.lines);
    standings.push_back(
        {name.machine, name.lane, name.number, kept.lines + addition.lines, kept.ended || addition.ends});
  }
  return standings;
}

}  // namespace BX::range

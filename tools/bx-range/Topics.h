// What is published where: below bx/v1/RANGE each machine has its own level, so that a broker can confine each gate to
// its lanes.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace BX::range {

namespace what {
inline constexpr auto status = "status";      // of a machine (the connection's will: lost) or a lane; retained
inline constexpr auto session = "session";    // of a lane; retained
inline constexpr auto score = "score";        // of a lane; retained
inline constexpr auto records = "records";    // of a lane
inline constexpr auto archived = "archived";  // of a lane, from the archive; retained
}  // namespace what

struct Topic {
  std::string machine;
  std::string lane;  // empty: the machine's own
  std::string what;
  bool operator==(const Topic&) const = default;
};

// Of ranges, machines and lanes: 1 to 64 of A-Z a-z 0-9 _ and -.
inline bool isName(std::string_view name) {
  constexpr std::string_view allowed = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-";
  return !name.empty() && name.size() <= 64 && name.find_first_not_of(allowed) == std::string_view::npos;
}

// The topics of one range.
class Topics {
 public:
  explicit Topics(const std::string& range) : root_("bx/v1/" + range + '/') {}

  std::string of(const Topic& topic) const {
    return root_ + topic.machine + '/' + (topic.lane.empty() ? "" : topic.lane + '/') + topic.what;
  }

  // For subscriptions: `what` of every lane, and of every machine.
  std::string ofLanes(const std::string& what) const { return root_ + "+/+/" + what; }
  std::string ofMachines(const std::string& what) const { return root_ + "+/" + what; }

  // Nothing for a topic of another shape.
  std::optional<Topic> parse(std::string_view text) const {
    if (!text.starts_with(root_)) return std::nullopt;
    text.remove_prefix(root_.size());
    const auto first = text.find('/');
    const auto last = text.rfind('/');
    if (first == std::string_view::npos) return std::nullopt;
    Topic topic{std::string(text.substr(0, first)), {}, std::string(text.substr(last + 1))};
    if (last != first) topic.lane = text.substr(first + 1, last - first - 1);
    const bool isValid = isName(topic.machine) && (last == first || isName(topic.lane)) && isName(topic.what);
    return isValid ? std::optional(topic) : std::nullopt;
  }

 private:
  std::string root_;
};

}  // namespace BX::range

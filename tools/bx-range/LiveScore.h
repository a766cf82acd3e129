// What the shots of the session in hand are worth, as it is told to boards.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "Sender.h"
#include "scoring/Scores.h"
#include "tools/bx/Records.h"

namespace BX::range {

class LiveScore {
 public:
  // `header` is that of the session file.
  LiveScore(SessionNumber number, const tool::Json& header);

  // A shot that came at this time.
  void add(const tool::Json& shot, const std::string& time);
  std::size_t shots() const { return session_.shots().size(); }

  // The message, as JSON.
  std::string text() const;

 private:
  const SessionNumber number_;
  const tool::Json target_;  // an empty object: none
  scoring::Session session_;
  std::string lastTime_;
};

}  // namespace BX::range

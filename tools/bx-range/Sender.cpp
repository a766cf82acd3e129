#include "Sender.h"

#include <algorithm>

namespace BX::range {

void Sender::reconnect() {
  sent_ = confirmed_;
  ahead_ = mostLines;
  isEndSent_ = false;
}

void Sender::resend(Clock::time_point now) {
  reconnect();
  progress_ = now;
}

void Sender::recall(SessionNumber session, std::size_t lines) {
  sessions_.push_front({session, lines, true});
  confirmed_ = 0;
  reconnect();
}

bool Sender::knows(SessionNumber session) const {
  return std::any_of(sessions_.begin(), sessions_.end(), [&](const Session& one) { return one.number == session; });
}

std::optional<Sender::Over> Sender::confirm(const Confirmation& confirmation, Clock::time_point now) {
  const auto session = std::find_if(sessions_.begin(), sessions_.end(),
                                    [&](const Session& one) { return one.number == confirmation.session; });
  if (session == sessions_.end()) return std::nullopt;
  const bool isInHand = session == sessions_.begin();
  if (session->isEnded && confirmation.isEnded && !confirmation.isRetained) {
    // A power cut may have taken lines from us that the archive has.
    const Over over{session->number, confirmation.lines >= session->lines};
    if (!isInHand) sessions_.erase(session);
    if (isInHand) drop();
    return over;
  }
  if (!isInHand) return std::nullopt;
  if (confirmation.lines == confirmed_) {
    // Something has come there, but nothing that it could use: what was to come before it is lost.
    if (!confirmation.isRetained && now - progress_ >= gapPatience) resend(now);
    return std::nullopt;
  }
  // Less than before, from an archive that was restored from a copy, or more than was sent, to another run of ours.
  const std::size_t lines = std::min(confirmation.lines, session->lines);
  const bool isBack = lines < confirmed_;
  confirmed_ = lines;
  ahead_ = std::min(2 * ahead_, mostAhead);
  if (isBack || sent_ < confirmed_) reconnect();
  progress_ = now;
  return std::nullopt;
}

std::size_t Sender::unconfirmed() const {
  std::size_t count = sessions_.size();
  for (const auto& session : sessions_) count += session.lines;
  return count - confirmed_;
}

bool Sender::drop() {
  if (!sessions_.front().isEnded) return false;
  sessions_.pop_front();
  confirmed_ = 0;
  reconnect();
  return true;
}

std::optional<Chunk> Sender::next(Clock::time_point now) {
  if (sessions_.empty()) return std::nullopt;
  const Session& session = sessions_.front();
  const bool isUnderWay = sent_ > confirmed_ || isEndSent_;
  if (!isUnderWay) progress_ = now;
  if (now - progress_ >= patience) resend(now);
  const std::size_t limit = std::min(session.lines, confirmed_ + ahead_);
  if (sent_ < limit) {
    const Chunk chunk{session.number, sent_, std::min(mostLines, limit - sent_), false};
    sent_ += chunk.count;
    return chunk;
  }
  if (!session.isEnded || sent_ < session.lines || isEndSent_) return std::nullopt;
  isEndSent_ = true;
  return Chunk{session.number, session.lines, 0, true};
}

}  // namespace BX::range

#include "Outlet.h"

#include <rapidjson/document.h>

#include <utility>

#include "platform/OutputFile.h"
#include "scoring/Members.h"

namespace BX::range {

std::optional<Confirmation> confirmationOf(const Message& message) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseIterativeFlag>(message.payload.data(), message.payload.size());
  if (document.HasParseError()) return std::nullopt;
  const auto& session = scoring::memberOf(document, "session");
  const auto& lines = scoring::memberOf(document, "lines");
  if (!session.IsUint64() || !lines.IsUint64()) return std::nullopt;
  const bool isEnded = scoring::memberOf(document, "ended").IsTrue();
  return Confirmation{session.GetUint64(), lines.GetUint64(), isEnded, message.isRetained};
}

Outlet::Outlet(const Spool& spool, const Topics& topics, Topic topic, std::function<void(const std::string&)> complain)
    : spool_(spool), topics_(topics), topic_(std::move(topic)), complain_(std::move(complain)) {}

void Outlet::add(const SpooledSession& session) {
  names_[session.number] = session.name;
  sender_.begin(session.number);
  sender_.grow(session.lines);
  sender_.end();
}

void Outlet::take(const Lane::News& news) {
  for (const auto& session : news.sessions) {
    if (names_.emplace(session.number, session.name).second) sender_.begin(session.number);
    sender_.grow(session.lines);
    if (session.isEnded) sender_.end();
  }
  for (const auto& [what, text] : news.retained) {
    retained_[what] = text;
    unsent_.insert(what);
  }
}

void Outlet::reconnect() {
  sender_.reconnect();
  for (const auto& [what, text] : retained_) unsent_.insert(what);
}

void Outlet::confirm(const Confirmation& confirmation) try {
  if (!sender_.knows(confirmation.session)) {
    if (confirmation.isEnded) return;
    const auto session = spool_.recall(topic_.lane, confirmation.session);
    if (!session) return;
    names_[session->number] = session->name;
    sender_.recall(session->number, session->lines);
  }
  const auto over = sender_.confirm(confirmation, Sender::Clock::now());
  if (!over) return;
  const std::string name = names_.extract(over->session).mapped();
  if (over->isWhole) return spool_.finish(name);
  spool_.putAside(name, "the archive has its end after " + std::to_string(confirmation.lines) + " lines");
} catch (const platform::OutputError& error) {
  complain_(error.what());
}

void Outlet::send(Publisher& publisher) {
  sendRetained(publisher);
  while (publisher.isConnected()) {
    const auto chunk = sender_.next(Sender::Clock::now());
    if (!chunk || !sendChunk(publisher, *chunk)) return;
  }
}

void Outlet::sendRetained(Publisher& publisher) {
  std::erase_if(unsent_,
                [&](const std::string& what) { return publisher.publish(topicOf(what), retained_[what], true); });
}

bool Outlet::sendChunk(Publisher& publisher, const Chunk& chunk) try {
  std::string text;
  if (chunk.count > 0) {
    if (std::exchange(opened_, chunk.session) != chunk.session || !lines_) {
      lines_.reset();
      lines_ = std::make_unique<SessionLines>(spool_.pathOf(names_.at(chunk.session)));
    }
    text = lines_->read(chunk.first, chunk.count) + '\n';
  }
  return publisher.publish(topicOf(what::records),
                           "{\"session\":" + std::to_string(chunk.session) +
                               ",\"first\":" + std::to_string(chunk.first) + ",\"lines\":[" + text + ']' +
                               (chunk.isEnd ? ",\"end\":true}" : "}"),
                           false);
} catch (const platform::OutputError& error) {
  if (!spool_.hasLost(names_.at(chunk.session)) || !sender_.drop()) {
    complain_(error.what());
    return false;
  }
  complain_(std::string(error.what()) + "; what the archive does not have of this session is lost");
  names_.erase(chunk.session);
  return true;
}

std::string Outlet::topicOf(const std::string& what) const {
  Topic topic = topic_;
  topic.what = what;
  return topics_.of(topic);
}

}  // namespace BX::range

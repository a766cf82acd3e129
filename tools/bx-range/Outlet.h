// What of a lane goes out: the session files in the spool, until the archive has them, and what is retained of it. Used
// on the network's thread alone.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "Broker.h"
#include "Lane.h"
#include "Sender.h"
#include "SessionLines.h"
#include "Spool.h"
#include "Topics.h"

namespace BX::range {

class Outlet {
 public:
  // `topic` is the lane's, whatever its `what`. Problems are told to `complain`.
  Outlet(const Spool& spool, const Topics& topics, Topic topic, std::function<void(const std::string&)> complain);

  // A session of an earlier run; these come first.
  void add(const SpooledSession& session);
  void take(const Lane::News& news);
  // To a broker that knows nothing.
  void reconnect();
  void confirm(const Confirmation& confirmation);
  // What is to be sent now.
  void send(Publisher& publisher);
  // Sessions that the archive does not have as a whole.
  std::size_t waiting() const { return sender_.waiting(); }
  // Their lines and ends that it has not confirmed.
  std::size_t unconfirmed() const { return sender_.unconfirmed(); }

 private:
  void sendRetained(Publisher& publisher);
  // False when no more can be sent now.
  bool sendChunk(Publisher& publisher, const Chunk& chunk);
  std::string topicOf(const std::string& what) const;

  const Spool& spool_;
  const Topics& topics_;
  const Topic topic_;
  const std::function<void(const std::string&)> complain_;
  Sender sender_;
  std::map<SessionNumber, std::string> names_;  // of the sender's files
  SessionNumber opened_ = 0;                    // the session that is read
  std::unique_ptr<SessionLines> lines_;         // of it
  std::map<std::string, std::string> retained_;
  std::set<std::string> unsent_;  // of what is retained
};

// Nothing when the message is none.
std::optional<Confirmation> confirmationOf(const Message& message);

}  // namespace BX::range

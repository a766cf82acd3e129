// Serves one page and the events that keep it up to date, over HTTP, to browsers on this machine or in its network:
//
//   GET /        the page
//   GET /events  server-sent events, until the server or the viewer ends; Last-Event-ID is honoured
//
// HEAD is answered as well, and nothing else. A request has 8 KB, and 5 seconds to come. 64 viewers follow the events;
// each reads from the feed at its own place, 20 times a second at most, so that nothing waits for a slow one. A viewer
// that takes nothing for two seconds is let go, and may come back to its place.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace BX::viewer {

// Where a viewer stands in a feed.
struct Place {
  std::optional<std::uint64_t> event;  // the number of the last one that it has; nothing: it has none
  std::uint64_t state = 0;             // the feed's own, for what has no number
};

// What a server serves. Used on the server's thread alone.
class Feed {
 public:
  virtual ~Feed() = default;

  virtual std::string page() = 0;
  // One event as it goes over the wire, which brings a viewer to the feed's end, and `place` with it; null when it is
  // there.
  virtual std::shared_ptr<const std::string> next(Place& place) = 0;
};

// "ADDRESS:PORT: listen: in use by another program".
class ListenError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

class EventServer {
 public:
  // Listens, and answers from now on, on a thread of its own. `endpoint` is ADDRESS:PORT: an address or a name of this
  // machine, IPv6 in brackets, and 0 for any port that is free. Throws ListenError. The feed outlives the server.
  EventServer(const std::string& endpoint, Feed& feed);
  // Ends at once.
  ~EventServer();
  EventServer(const EventServer&) = delete;
  EventServer& operator=(const EventServer&) = delete;

  // "http://127.0.0.1:8080/"; with this machine's name when it listens at all of its addresses.
  const std::string& url() const { return url_; }

  // Does these on the server's thread, in order, and returns at once. Any thread.
  void post(std::function<void()> task);

  // Takes no more viewers, and blocks until all have all of the feed, but no longer than `patience`. Once.
  void finish(std::chrono::milliseconds patience);

 private:
  class Listener;

  std::unique_ptr<Listener> listener_;
  std::string url_;
};

}  // namespace BX::viewer

// A session as it goes on, fed to viewers: first the document of all so far, then the changes.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "viewer/Document.h"
#include "viewer/EventServer.h"
#include "viewer/Page.h"

namespace BX::viewer {

// Events are numbered by the records that a viewer has with them: shots and measurements. The session itself is the log
// that all viewers read from, each at its own place. A document is an event "session"; changes have no name.
class LiveSession : public Feed {
 public:
  enum class State { Training, Lost, Ended, BrokenOff };

  // Until the session begins its viewers get nothing.
  void begin(const rapidjson::Value& header);
  // A record, or a gap.
  void add(const rapidjson::Value& record);
  void setState(State state);

  std::string page() override { return page_; }
  std::shared_ptr<const std::string> next(Place& place) override;

 private:
  struct Prepared {
    Place place;  // of the viewer that it is for
    std::shared_ptr<const std::string> text;
  };

  std::string eventFor(const Place& place) const;

  scoring::Session session_{rapidjson::Value()};
  std::string page_ = livePageOf(session_, {});  // without records: they come as events
  std::uint64_t records_ = 0;
  State state_ = State::Training;
  std::uint64_t stateNumber_ = 0;   // 0: not begun
  std::vector<Prepared> prepared_;  // events of the present end; most viewers want the same
};

}  // namespace BX::viewer

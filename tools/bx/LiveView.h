// A training as browsers follow it: beside all else that becomes of its records.
#pragma once

#include <memory>
#include <string>

#include "Records.h"
#include "viewer/EventServer.h"
#include "viewer/LiveSession.h"

namespace BX::tool {

class LiveView {
 public:
  using State = viewer::LiveSession::State;

  // Listens at `endpoint`. Throws Failure.
  explicit LiveView(const std::string& endpoint);

  const std::string& url() const { return server_.url(); }

  // These return at once.
  void begin(const Json& header);
  void add(std::shared_ptr<const Json> record, Milliseconds received);
  void addGap(Milliseconds from, Milliseconds to);
  void setState(State state);

  // Blocks until the viewers have all of it, but a few seconds only.
  void finish();

 private:
  viewer::LiveSession session_;  // of the server's thread
  viewer::EventServer server_;
};

}  // namespace BX::tool

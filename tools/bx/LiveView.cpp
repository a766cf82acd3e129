#include "LiveView.h"

#include <utility>

namespace BX::tool {

namespace {

constexpr std::chrono::seconds patience{5};

}  // namespace

LiveView::LiveView(const std::string& endpoint) try : server_(endpoint, session_) {
} catch (const viewer::ListenError& error) {
  throw Failure(wrongUsage, error.what());
}

void LiveView::begin(const Json& header) {
  server_.post([this, header] { session_.begin(header.getDocument()); });
}

void LiveView::add(std::shared_ptr<const Json> record, Milliseconds received) {
  server_.post([this, record = std::move(record), received] {
    Json timed = *record;
    setReceived(timed, received);
    session_.add(timed.getDocument());
  });
}

void LiveView::addGap(Milliseconds from, Milliseconds to) {
  server_.post([this, gap = gapBetween(from, to)] { session_.add(gap.getDocument()); });
}

void LiveView::setState(State state) {
  server_.post([this, state] { session_.setState(state); });
}

void LiveView::finish() { server_.finish(patience); }

}  // namespace BX::tool

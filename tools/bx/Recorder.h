// What becomes of a training's records: they are written on a thread of their own, and shown on another one. Neither a
// reader nor a terminal that stands still keeps the device waiting, and no terminal keeps the file waiting.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

#include "LiveTable.h"
#include "LiveView.h"
#include "Records.h"
#include "WriterThread.h"

namespace BX::tool {

class Recorder {
 public:
  // A table is shown on a terminal when the records go elsewhere, and a page is served at `live`, unless that is empty.
  // Throws Failure when `output` cannot be begun, or the page cannot be served there.
  Recorder(Console& console, std::string port, const Output& output, const std::string& live);
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  // Makes the session file, empty. Throws Failure.
  void open() { records_.open(); }
  // The time counts from here. `target`, when it is known, is the one that shots are decoded with. Throws Failure.
  void begin(Json header, const std::optional<Json>& target);
  // These return at once.
  void add(Json record);
  // The device is lost; what comes is missed until the gap ends.
  void beginGap();
  void endGap();
  void warn(const std::string& text);
  void note(const std::string& text);
  // From now on until the next record or text.
  void showConnecting();

  // Records that are not written yet.
  std::size_t waiting() const { return writer_.waiting(); }
  // Whether nothing is written any more: nobody reads, or it has failed.
  bool isOver() const { return writer_.isOver(); }
  // Blocks until all is written and shown. Throws Failure when something could not be written.
  void finish();
  // What was written until now.
  std::string summary() const { return records_.summary(); }
  std::string kept() const { return records_.kept(); }

 private:
  using Clock = std::chrono::steady_clock;

  Milliseconds now() const { return std::chrono::duration_cast<Milliseconds>(Clock::now() - start_); }
  void showLive(LiveView::State state);
  bool write(const Json& record, Milliseconds received);
  void show(std::function<void()> task);
  void showRecord(const Json& record, Milliseconds received);
  void look(const Json& shot);
  void showTime();

  Console& console_;
  const std::string port_;
  Records records_;
  std::optional<LiveView> live_;
  std::optional<LiveTable> table_;  // of the screen's thread
  Clock::time_point start_ = Clock::now();
  Milliseconds latest_{0};  // when the last record was received
  std::int32_t ringTarget_;
  std::int32_t silhouetteTarget_;
  bool isLost_ = false;
  bool isWarned_ = false;
  std::atomic<bool> showsTime_ = false;
  WriterThread screen_{[this] { showTime(); }};
  WriterThread writer_{[] {}};
};

}  // namespace BX::tool

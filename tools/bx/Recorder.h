// What becomes of a training's records: they are written, shown, and looked at, on a thread of their own.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

#include "LiveTable.h"
#include "Records.h"
#include "WriterThread.h"

namespace BX::tool {

class Recorder {
 public:
  // A table is shown on a terminal when the records go elsewhere. Throws Failure when `output` cannot be begun.
  Recorder(Console& console, std::string port, const Output& output);
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  bool showsTable() const { return table_.has_value(); }

  // The time counts from here. `target`, when it is known, is the one that shots are decoded with. Throws Failure.
  void begin(Json header, const std::optional<Json>& target);
  // These return at once.
  void add(Json record);
  // Since the last record something may have been missed.
  void endGap();

  // Records that are not written yet.
  std::size_t waiting() const { return writer_.waiting(); }
  // Whether nothing is written any more: nobody reads, or it has failed.
  bool isOver() const { return writer_.isOver(); }
  // Blocks until all is written. Throws Failure when something could not be.
  void finish() { writer_.finish(); }
  // What was written until now.
  std::string summary() const { return records_.summary(); }
  std::string kept() const { return records_.kept(); }

 private:
  using Clock = std::chrono::steady_clock;

  Milliseconds now() const { return std::chrono::duration_cast<Milliseconds>(Clock::now() - start_); }
  bool write(const Json& record, Milliseconds received);
  void look(const Json& shot);
  void showTime();

  Console& console_;
  const std::string port_;
  Records records_;
  std::optional<LiveTable> table_;
  Clock::time_point start_ = Clock::now();
  Milliseconds latest_{0};  // when the last record was received
  std::int32_t ringTarget_;
  std::int32_t silhouetteTarget_;
  bool isWarned_ = false;
  std::atomic<bool> isBegun_ = false;
  WriterThread writer_{[this] { showTime(); }};
};

}  // namespace BX::tool

// Reading and writing an open stream of Boost.Asio, whatever it leads to. Asynchronous only: a synchronous read never
// returns after close(), and fails on every signal.
#pragma once

#include <utility>

#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/write.hpp>
#include <boost/system/error_code.hpp>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "bx/BXSerialLink.h"

namespace BX::link {

// What differs between streams is Kind's:
//   Kind::Stream                      the stream
//   Kind::writeAtOnce(stream, bytes)  writes what the stream takes without waiting; returns how many bytes that were
//   Kind::onRead(stream)              after each read
//   Kind::reasonOf(error)             why a line that has failed is gone
//
// Outlives its transport until the last operation that was under way has ended. Every member, and every event, runs on
// the thread that runs the context, one at a time.
template <typename Kind>
class AsyncLine : public std::enable_shared_from_this<AsyncLine<Kind>> {
 public:
  explicit AsyncLine(boost::asio::io_context& context) : stream(context) {}

  // The stream is open.
  void start(Transport::Events events) {
    events_ = std::move(events);
    read();
  }

  void write(std::vector<std::uint8_t> bytes) {
    if (closed_) return;
    if (!reads_ && events_.hungUp) read();  // the last read could not be started, or threw
    // Nearly always the stream takes all of it now, which spares a completion to wait for.
    const std::size_t taken = outgoing_.empty() ? Kind::writeAtOnce(stream, bytes) : 0;
    if (taken == bytes.size()) return;
    waiting_.insert(waiting_.end(), bytes.begin() + static_cast<std::ptrdiff_t>(taken), bytes.end());
    if (outgoing_.empty()) writeNext();
  }

  // No event comes from now on. False when that was so already. The stream is the caller's to close.
  bool stop() {
    events_ = {};
    return !std::exchange(closed_, true);
  }

  typename Kind::Stream stream;

 private:
  using Error = boost::system::error_code;

  // One read at a time: a second one would bring what follows before the first is handled, into the same buffer.
  void read() {
    reads_ = false;
    auto handle = [self = this->shared_from_this()](const Error& error, std::size_t count) {
      self->onRead(error, count);
    };
    stream.async_read_some(boost::asio::buffer(incoming_), std::move(handle));
    reads_ = true;
  }

  void onRead(const Error& error, std::size_t count) {
    if (closed_) return;
    if (error) return fail(error);
    Kind::onRead(stream);
    try {
      events_.received(std::span(incoming_).first(count));
    } catch (...) {
      reads_ = false;
      throw;
    }
    if (!closed_) read();
  }

  void writeNext() {
    outgoing_.swap(waiting_);
    auto handle = [self = this->shared_from_this()](const Error& error, std::size_t) {
      self->outgoing_.clear();
      if (self->closed_) return;
      if (error) {
        self->fail(error);
      } else if (!self->waiting_.empty()) {
        self->writeNext();
      }
    };
    try {
      boost::asio::async_write(stream, boost::asio::buffer(outgoing_), std::move(handle));
    } catch (...) {  // lost on the line, but no obstacle to what follows
      outgoing_.clear();
      throw;
    }
  }

  // A line that has failed is never read again: re-arming the read of a hung-up port would burn the processor.
  void fail(const Error& error) {
    if (!events_.hungUp) return;
    events_.hungUp(Kind::reasonOf(error));
    events_.hungUp = nullptr;
  }

  Transport::Events events_;
  std::array<std::uint8_t, 4096> incoming_{};
  std::vector<std::uint8_t> outgoing_;  // being written
  std::vector<std::uint8_t> waiting_;   // to be written after it
  bool reads_ = false;                  // until what it has read is handled, too
  bool closed_ = false;
};

}  // namespace BX::link

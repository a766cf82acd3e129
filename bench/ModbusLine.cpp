#include "bench/ModbusLine.h"

#include <boost/asio/post.hpp>
#include <boost/crc.hpp>

#include <algorithm>
#include <span>

namespace BX::bench {

namespace {

// Request: slave, function, first register (2), registers (2), bytes, the bytes, CRC (2). The reply is its first six
// bytes and their CRC.
constexpr std::size_t byteCountAt = 6;
constexpr std::size_t replySize = 6;
constexpr std::size_t checksumSize = 2;

std::size_t sizeOf(const sim::Bytes& request) { return byteCountAt + 1 + request[byteCountAt] + checksumSize; }

void appendChecksum(sim::Bytes& frame) {
  boost::crc_optimal<16, 0x8005, 0xFFFF, 0, true, true> crc;
  crc.process_bytes(frame.data(), frame.size());
  frame.push_back(static_cast<std::uint8_t>(crc.checksum()));
  frame.push_back(static_cast<std::uint8_t>(crc.checksum() >> 8));
}

}  // namespace

ModbusLine::ModbusLine(unsigned baud, std::chrono::milliseconds latency)
    : fromMaster_(baud), toMaster_(baud, latency), work_(io_.get_executor()), timer_(io_) {
  terminal_.open({[this](std::span<const std::uint8_t> bytes) {
                    boost::asio::post(io_, [this, copy = sim::Bytes(bytes.begin(), bytes.end())] {
                      fromMaster_.push(copy, Clock::now());
                      step();
                    });
                  },
                  [](const std::string&) {}});
  thread_ = std::thread([this] { io_.run(); });
}

ModbusLine::~ModbusLine() {
  terminal_.close();
  io_.stop();
  thread_.join();
}

void ModbusLine::step() {
  const auto now = Clock::now();
  while (const auto bytes = fromMaster_.takeDue(now)) receive(*bytes, now);
  while (auto bytes = toMaster_.takeDue(now)) terminal_.write(std::move(*bytes));
  auto next = fromMaster_.due();
  if (const auto other = toMaster_.due(); other && (!next || *other < *next)) next = other;
  if (!next) return;
  timer_.expires_at(*next);
  timer_.async_wait([this](const boost::system::error_code& error) {
    if (!error) step();
  });
}

void ModbusLine::receive(const sim::Bytes& bytes, sim::Pacer::Time now) {
  request_.insert(request_.end(), bytes.begin(), bytes.end());
  if (request_.size() <= byteCountAt || request_.size() < sizeOf(request_)) return;
  sim::Bytes reply(request_.begin(), request_.begin() + replySize);
  appendChecksum(reply);
  toMaster_.push(std::move(reply), now);
  request_.clear();
}

}  // namespace BX::bench

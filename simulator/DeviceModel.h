// The device as its payloads show it: takes a request, gives the answer, and streams while it trains. No I/O, no clock,
// no link.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "simulator/DeviceWire.h"
#include "simulator/ParameterSets.h"
#include "simulator/Shooter.h"
#include "simulator/Simulator.h"
#include "simulator/StoredResults.h"
#include "simulator/TargetStore.h"

namespace BX::sim {

class DeviceModel {
 public:
  // `options` must outlive the model.
  explicit DeviceModel(const Options& options);

  // A host begins a session, or has gone: a stream stops and the device rests. What it has stored stays.
  void rest();

  // The payloads of the answer, at least one; the last one closes it.
  std::vector<Bytes> answer(std::span<const std::uint8_t> request);
  static Bytes refusalOf(std::span<const std::uint8_t> request);

  // Whether there is a payload to stream now. False also while a stream runs but has come to the end of its file.
  bool hasStreamed() const;
  // The next payload of the stream; there must be one.
  Bytes nextStreamed();

 private:
  using Answer = std::vector<Bytes>;
  using Request = std::span<const std::uint8_t>;

  const ScriptedReply* scripted(Request request) const;
  bool understood(Request request) const;
  Answer builtIn(Request request);
  Answer changeMode(Request request);
  Answer information(Request request) const;
  Answer storedResults(Request request);
  void startStream();

  const Options& options_;
  wire::Mode mode_ = wire::Mode::Resting;
  ParameterSets parameters_;
  RingStore rings_;
  SilhouetteStore silhouettes_;
  StoredResults stored_;
  // While a stream runs: the built-in shooter, or how much of the file was sent.
  std::optional<Shooter> shooter_;
  std::size_t filePosition_ = 0;
};

}  // namespace BX::sim

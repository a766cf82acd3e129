// The targets that the device keeps: what their upload frames carried, given back by the layouts of the replies.
// Each store takes and answers whole requests and knows nothing of modes.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>

#include "simulator/Simulator.h"

namespace BX::sim {

// Frames of one target, by their index.
using TargetFrames = std::map<std::uint8_t, Bytes>;

class RingStore {
 public:
  // Takes an upload request; false when it is not a frame of a ring target. Frame 0 begins the target anew.
  bool upload(std::span<const std::uint8_t> request);
  // Reply to a download request after the accepting byte and the letter; nothing when that was never stored.
  std::optional<Bytes> download(std::span<const std::uint8_t> request) const;
  // The nominal distance in tenths of a metre; nothing for a target never stored.
  std::optional<std::uint16_t> distance(std::uint8_t number) const;

 private:
  std::map<std::uint8_t, TargetFrames> targets_;
};

// A slot's settings and name travel under its number, and its rows in other frames: uploaded ones under the number
// plus 0x40, requested ones under 0x40. Numbers from 0x40 on can therefore be meant both ways; what came just before
// decides.
class SilhouetteStore {
 public:
  // As for the ring targets; the settings frame begins the target anew.
  bool upload(std::span<const std::uint8_t> request);
  std::optional<Bytes> download(std::span<const std::uint8_t> request);
  std::optional<std::uint16_t> distance(std::uint8_t number) const;
  // The next frame continues nothing.
  void forgetContext();

 private:
  struct Target {
    TargetFrames chunks;  // settings and name
    TargetFrames rows;
  };
  struct RowUpload {
    std::uint8_t slot;
    std::uint8_t nextRow;
  };
  struct RowDownload {
    std::uint8_t slot;
    bool nameNext;     // the settings were asked for just before
    bool lastRowRead;  // the last row was asked for just before
  };

  bool continuesRows(std::uint8_t number, std::uint8_t row) const;
  bool asksForRow(std::uint8_t number, std::uint8_t index) const;
  std::optional<Bytes> chunk(std::uint8_t number, std::uint8_t index) const;
  std::optional<Bytes> row(std::uint8_t slot, std::uint8_t row) const;

  std::map<std::uint8_t, Target> targets_;
  std::optional<RowUpload> uploading_;
  std::optional<RowDownload> downloading_;
};

}  // namespace BX::sim

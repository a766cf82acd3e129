#include "simulator/TargetStore.h"

#include <algorithm>
#include <cmath>

namespace BX::sim {

namespace {

// Upload request: letter, number, index, content, sum.
constexpr std::size_t contentOffset = 3;
constexpr std::size_t fullFrameSize = 20;
// Download request: letter, number, index, sum.
constexpr std::size_t downloadSize = 4;

constexpr std::uint8_t ringHeader = 0x00;
constexpr std::uint8_t ringName = 0x83;
// A byte of the ring header's upload that its reply leaves out.
constexpr std::size_t ringGapOffset = 12;

constexpr std::uint8_t silhouetteSettings = 0x00;
constexpr std::uint8_t silhouetteName = 0x01;
constexpr std::uint8_t rowNumberOffset = 0x40;
constexpr std::uint8_t lastRowMark = 0x80;  // no part of a row's index
constexpr std::uint8_t lastRow = 63;
constexpr std::size_t rowSize = 16;

// In the header of both kinds.
constexpr std::size_t controlOffset = 3;
constexpr std::uint8_t controlYards = 0x10;
constexpr std::size_t distanceOffset = 5;
constexpr double metersPerYard = 0.9144;

Bytes contentOf(std::span<const std::uint8_t> upload) { return {upload.begin() + contentOffset, upload.end() - 1}; }

std::optional<std::uint16_t> distanceOf(const TargetFrames& frames, std::uint8_t header) {
  const auto frame = frames.find(header);
  if (frame == frames.end()) return std::nullopt;
  const Bytes& bytes = frame->second;
  const auto tenths = static_cast<std::uint16_t>(bytes[distanceOffset] << 8 | bytes[distanceOffset + 1]);
  if ((bytes[controlOffset] & controlYards) == 0) return tenths;
  return static_cast<std::uint16_t>(std::lround(tenths * metersPerYard));
}

Bytes reply(std::uint8_t number, std::uint8_t index, const Bytes& content) {
  Bytes bytes(content.size() + 2);
  bytes[0] = number;
  bytes[1] = index;
  std::copy(content.begin(), content.end(), bytes.begin() + 2);
  return bytes;
}

}  // namespace

bool RingStore::upload(std::span<const std::uint8_t> request) {
  if (request.size() < fullFrameSize) return false;
  const std::uint8_t index = request[2];
  // Only the name may be longer than its frame.
  if (index != ringName && (index > 2 || request.size() != fullFrameSize)) return false;
  TargetFrames& frames = targets_[request[1]];
  if (index == ringHeader) frames.clear();
  frames[index] = Bytes(request.begin(), request.end());
  return true;
}

std::optional<Bytes> RingStore::download(std::span<const std::uint8_t> request) const {
  if (request.size() != downloadSize) return std::nullopt;
  const auto target = targets_.find(request[1]);
  if (target == targets_.end()) return std::nullopt;
  const auto frame = target->second.find(request[2]);
  if (frame == target->second.end()) return std::nullopt;
  Bytes content = contentOf(frame->second);
  if (request[2] == ringHeader) content.erase(content.begin() + (ringGapOffset - contentOffset));
  return reply(request[1], request[2], content);
}

std::optional<std::uint16_t> RingStore::distance(std::uint8_t number) const {
  const auto target = targets_.find(number);
  if (target == targets_.end()) return std::nullopt;
  return distanceOf(target->second, ringHeader);
}

void SilhouetteStore::forgetContext() {
  uploading_.reset();
  downloading_.reset();
}

bool SilhouetteStore::continuesRows(std::uint8_t number, std::uint8_t row) const {
  if (!uploading_) return false;
  const auto rowNumber = static_cast<std::uint8_t>(uploading_->slot + rowNumberOffset);
  return number == rowNumber && row == uploading_->nextRow;
}

bool SilhouetteStore::upload(std::span<const std::uint8_t> request) {
  if (request.size() < contentOffset + 1) return false;
  const std::uint8_t number = request[1];
  const auto row = static_cast<std::uint8_t>(request[2] & ~lastRowMark);
  if (continuesRows(number, row)) {
    targets_[uploading_->slot].rows[row] = contentOf(request);
    uploading_->nextRow = static_cast<std::uint8_t>((row + 1) & ~lastRowMark);
    return true;
  }
  const std::uint8_t index = request[2];
  const bool known = (index == silhouetteSettings && request.size() == fullFrameSize) ||
                     (index == silhouetteName && request.size() >= fullFrameSize);
  if (!known) return false;
  if (index == silhouetteSettings) targets_[number] = {};
  targets_[number].chunks[index] = Bytes(request.begin(), request.end());
  uploading_.reset();
  if (index == silhouetteName) uploading_ = RowUpload{number, 0};
  return true;
}

// A request to 0x40 means a row of the slot whose settings were asked for last, unless it can only be part of the
// download of slot 0x40 itself.
bool SilhouetteStore::asksForRow(std::uint8_t number, std::uint8_t index) const {
  if (number != rowNumberOffset || !downloading_) return false;
  const bool nameOfSameSlot = downloading_->slot == number && downloading_->nameNext && index == silhouetteName;
  const bool nextTarget = downloading_->lastRowRead && index == silhouetteSettings;
  return !nameOfSameSlot && !nextTarget;
}

std::optional<Bytes> SilhouetteStore::download(std::span<const std::uint8_t> request) {
  if (request.size() != downloadSize) return std::nullopt;
  const std::uint8_t number = request[1];
  const std::uint8_t index = request[2];
  std::optional<Bytes> content;
  if (asksForRow(number, index)) {
    const auto rowIndex = static_cast<std::uint8_t>(index & ~lastRowMark);
    content = row(downloading_->slot, rowIndex);
    downloading_ = RowDownload{downloading_->slot, false, rowIndex == lastRow};
  } else {
    content = chunk(number, index);
    if (index == silhouetteSettings) {
      downloading_ = RowDownload{number, true, false};
    } else if (downloading_) {
      downloading_->nameNext = false;
    }
  }
  if (!content) return std::nullopt;
  return reply(number, index, *content);
}

std::optional<Bytes> SilhouetteStore::chunk(std::uint8_t number, std::uint8_t index) const {
  const auto target = targets_.find(number);
  if (target == targets_.end()) return std::nullopt;
  const auto kept = target->second.chunks.find(index);
  if (kept == target->second.chunks.end()) return std::nullopt;
  return contentOf(kept->second);
}

std::optional<Bytes> SilhouetteStore::row(std::uint8_t slot, std::uint8_t row) const {
  const auto target = targets_.find(slot);
  if (target == targets_.end()) return std::nullopt;
  const auto kept = target->second.rows.find(row);
  return kept == target->second.rows.end() ? Bytes(rowSize) : kept->second;
}

std::optional<std::uint16_t> SilhouetteStore::distance(std::uint8_t number) const {
  const auto target = targets_.find(number);
  if (target == targets_.end()) return std::nullopt;
  return distanceOf(target->second.chunks, silhouetteSettings);
}

}  // namespace BX::sim

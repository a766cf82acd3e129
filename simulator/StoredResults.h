// The memory for finished sessions: six blocks of up to 255 pages of records.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "simulator/DeviceWire.h"
#include "simulator/Simulator.h"

namespace BX::sim {

class StoredResults {
 public:
  // Records that are there from the beginning, in the pages that they name.
  explicit StoredResults(const std::vector<StoredRecord>& records);

  // A session begins: it replaces what was stored.
  void beginSession();
  // Keeps a record of the session; one that finds the memory full is lost.
  void add(std::span<const std::uint8_t> payload);

  std::uint8_t pageCount(std::uint8_t block) const { return static_cast<std::uint8_t>(blocks_[block].size()); }
  // The records of a page; null beyond the last page of a block.
  const std::vector<Bytes>* page(std::uint8_t block, std::uint8_t page) const;
  // False for a block that the device does not have.
  bool clear(std::uint8_t block);

 private:
  using Page = std::vector<Bytes>;
  std::array<std::vector<Page>, wire::storedBlocks> blocks_;
  std::size_t added_ = 0;  // in this session
};

}  // namespace BX::sim

#include "download/StoredResultsWire.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "platform/Numbers.h"

namespace BX::download {

namespace {

constexpr std::array pageTableStart{wire::replyMark, wire::letter::information, storedResultsItem};
constexpr std::size_t firstCountOffset = 4;  // then every second byte
constexpr std::size_t countDistance = 2;
constexpr std::size_t pageTableSize = firstCountOffset + (blocksRead - 1) * countDistance + 1;

}  // namespace

bool isWholePageTable(std::span<const std::uint8_t> reply) {
  return reply.size() >= pageTableSize && std::equal(pageTableStart.begin(), pageTableStart.end(), reply.begin());
}

void appendPages(std::span<const std::uint8_t> pageTable, std::vector<Bytes>& pages) {
  for (std::size_t i = 0; i < blocksRead * countDistance; i += countDistance) {
    // Blocks count from 0 in an empty list: half of the offset is the number of entries that are there already.
    const auto block = static_cast<std::uint8_t>(i - pages.size());
    pages.push_back({block, pageTable[firstCountOffset + i]});
  }
}

Bytes pageRequest(std::uint8_t block, std::uint8_t page) { return {wire::letter::storedResults, block, page}; }

}  // namespace BX::download

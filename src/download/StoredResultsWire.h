// Stored results on the wire: blocks of pages. No I/O here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/Wire.h"

namespace BX::download {

using wire::Bytes;

inline constexpr std::uint8_t storedResultsItem = 0x20;
// Six blocks are read; the seventh is only ever cleared.
inline constexpr std::size_t blocksRead = 6;
inline constexpr int blocksCleared = 7;
// In place of a page number: clear the block.
inline constexpr std::uint8_t clearBlock = 0xFF;

// Whether `reply` answers the question for stored results and has the page counts of all blocks.
bool isWholePageTable(std::span<const std::uint8_t> reply);
// Appends an entry {block, page count} for each block of a whole page table.
void appendPages(std::span<const std::uint8_t> pageTable, std::vector<Bytes>& pages);

// The request for a page, or for clearing a block. Without its sum byte.
Bytes pageRequest(std::uint8_t block, std::uint8_t page);

}  // namespace BX::download

#include "simulator/StoredResults.h"

#include <algorithm>

namespace BX::sim {

namespace {

constexpr std::size_t recordsPerPage = 13;

}  // namespace

StoredResults::StoredResults(const std::vector<StoredRecord>& records) {
  for (const auto& [block, page, payload] : records) {
    std::vector<Page>& pages = blocks_.at(block);
    pages.resize(std::max<std::size_t>(pages.size(), page + std::size_t{1}));
    pages[page].push_back(payload);
  }
}

void StoredResults::beginSession() {
  for (auto& pages : blocks_) pages.clear();
  added_ = 0;
}

void StoredResults::add(std::span<const std::uint8_t> payload) {
  const std::size_t page = added_ / recordsPerPage;
  const std::size_t block = page / wire::maxPages;
  if (block >= blocks_.size()) return;
  if (added_ % recordsPerPage == 0) blocks_[block].emplace_back();
  blocks_[block].back().emplace_back(payload.begin(), payload.end());
  ++added_;
}

const std::vector<Bytes>* StoredResults::page(std::uint8_t block, std::uint8_t page) const {
  if (block >= blocks_.size() || page >= blocks_[block].size()) return nullptr;
  return &blocks_[block][page];
}

bool StoredResults::clear(std::uint8_t block) {
  if (block >= wire::clearableBlocks) return false;
  if (block < blocks_.size()) blocks_[block].clear();
  return true;
}

}  // namespace BX::sim

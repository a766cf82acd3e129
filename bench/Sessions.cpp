#include "bench/Sessions.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "simulator/DeviceWire.h"
#include "simulator/Shooter.h"

namespace BX::bench {

std::vector<sim::Bytes> shooterRecords(std::size_t count) {
  constexpr std::uint16_t distance = 250;
  sim::Shooter shooter(
      1, {static_cast<std::uint8_t>(sim::wire::Mode::FieldStream), sim::wire::noTarget, sim::wire::noTarget, distance});
  std::vector<sim::Bytes> records;
  while (records.size() < count) records.push_back(shooter.next());
  return records;
}

sim::Bytes shotRecord() {
  const auto records = shooterRecords(200);
  return *std::find_if(records.begin(), records.end(),
                       [](const sim::Bytes& record) { return record[1] == sim::wire::shotRecord; });
}

std::vector<sim::StoredRecord> storedSession(std::size_t count, std::size_t pages) {
  std::vector<sim::StoredRecord> stored;
  for (sim::Bytes& record : shooterRecords(count)) {
    const std::size_t page = stored.size() * pages / count;
    stored.push_back({static_cast<std::uint8_t>(page / sim::wire::maxPages),
                      static_cast<std::uint8_t>(page % sim::wire::maxPages), std::move(record)});
  }
  return stored;
}

MORVA::MORVADataTypeJSON exampleDocument(const std::string& name) {
  const std::string path = "examples/" + name;
  std::ifstream file(path);
  MORVA::MORVADataTypeJSON document;
  if (!document.parseString({std::istreambuf_iterator<char>(file), {}})) throw std::runtime_error(path + ": no JSON");
  return document;
}

}  // namespace BX::bench

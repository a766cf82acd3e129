#include "simulator/Lane.h"

#include <fstream>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace BX::sim {

namespace {

constexpr std::string_view placeholder = "%d";

Options ofLane(Options options, unsigned lane, const std::string& transcript) {
  options.seed += lane;
  if (transcript.empty()) return options;
  const std::string path = laneName(transcript, lane);
  const auto file = std::make_shared<std::ofstream>(path);
  if (!*file) throw std::runtime_error(path + ": cannot be written");
  options.transcript = [file](const std::string& line) { *file << line << '\n' << std::flush; };
  return options;
}

}  // namespace

std::string laneName(const std::string& pattern, unsigned lane) {
  const std::string number = std::to_string(lane);
  std::string name = pattern;
  for (std::size_t at = 0; (at = name.find(placeholder, at)) != std::string::npos; at += number.size()) {
    name.replace(at, placeholder.size(), number);
  }
  return name;
}

bool tellsLanesApart(const std::string& pattern) { return pattern.find(placeholder) != std::string::npos; }

Lane::Lane(unsigned number, const Options& options, const Files& files)
    : Lane(number, ofLane(options, number, files.transcript), files, std::make_unique<PtyLine>()) {}

Lane::Lane(unsigned number, Options options, const Files& files, std::unique_ptr<PtyLine> line)
    : name_(line->name()), simulator_(std::move(options), std::move(line)) {
  if (!files.link.empty()) link_.emplace(laneName(files.link, number), name_);
}

}  // namespace BX::sim

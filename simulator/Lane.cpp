#include "simulator/Lane.h"

#include <cstddef>
#include <string_view>
#include <utility>

#include "platform/OutputFile.h"

namespace BX::sim {

namespace {

constexpr std::string_view placeholder = "%d";

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

class Lane::TranscriptFile {
 public:
  TranscriptFile(const std::string& path, const Files& files)
      : file_(path, files.overwrite), failed_(files.transcriptFailed) {}

  void begin() { file_.begin(); }

  void add(const std::string& line) {
    if (hasFailed_) return;
    try {
      file_.add(line);
      ++lines_;
    } catch (const platform::OutputError& error) {
      hasFailed_ = true;
      if (failed_) failed_(error.what() + std::string("; lines kept: ") + std::to_string(lines_));
    }
  }

 private:
  platform::OutputFile file_;
  const std::function<void(const std::string&)> failed_;
  std::size_t lines_ = 0;
  bool hasFailed_ = false;
};

// The transcript is begun when nothing else can fail: no content is given up for a device that cannot be had.
Lane::Lane(unsigned number, Options options, const Files& files) {
  if (!files.transcript.empty()) {
    transcript_ = std::make_unique<TranscriptFile>(laneName(files.transcript, number), files);
    options.transcript = [this](const std::string& line) { transcript_->add(line); };
  }
  options.seed += number;
  auto line = std::make_unique<PtyLine>();
  name_ = line->name();
  if (!files.link.empty()) link_.emplace(laneName(files.link, number), name_);
  if (transcript_) transcript_->begin();
  simulator_.emplace(std::move(options), std::move(line));
}

Lane::~Lane() = default;

}  // namespace BX::sim

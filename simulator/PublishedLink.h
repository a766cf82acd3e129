// A symbolic link to a terminal of ours that is there for as long as this object. Posix only.
#pragma once

#include <sys/stat.h>

#include <string>

namespace BX::sim {

class PublishedLink {
 public:
  // `terminal` is this process's own. Replaces a link to a terminal that is gone, which a former process left at
  // `path`. Throws std::runtime_error when anything else is there, a link to a terminal in use included, or when the
  // link cannot be made.
  PublishedLink(std::string path, const std::string& terminal);
  // Removes the link, unless something else has come in its place.
  ~PublishedLink();
  PublishedLink(const PublishedLink&) = delete;
  PublishedLink& operator=(const PublishedLink&) = delete;

 private:
  std::string path_;
  struct stat made_ = {};  // the link itself
};

}  // namespace BX::sim

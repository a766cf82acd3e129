// A symbolic link that is there for as long as this object. Posix only.
#pragma once

#include <string>

namespace BX::sim {

class PublishedLink {
 public:
  // Replaces a symbolic link that a former process left at `path`. Throws std::runtime_error when anything else is
  // there, or the link cannot be made.
  PublishedLink(std::string path, std::string target);
  // Removes the link, unless it has come to name something else.
  ~PublishedLink();
  PublishedLink(const PublishedLink&) = delete;
  PublishedLink& operator=(const PublishedLink&) = delete;

 private:
  std::string path_;
  std::string target_;
};

}  // namespace BX::sim

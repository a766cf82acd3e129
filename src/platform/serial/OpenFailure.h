// What transports of ours throw when the line cannot be had.
#pragma once

#include <stdexcept>
#include <string>

#include "bx/BXSerialLink.h"

namespace BX::link {

class OpenFailure : public std::runtime_error {
 public:
  OpenFailure(FailureKind kind, const std::string& reason) : std::runtime_error(reason), kind_(kind) {}
  FailureKind kind() const { return kind_; }

 private:
  FailureKind kind_;
};

}  // namespace BX::link

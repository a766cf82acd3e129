// What the target tests share.
#pragma once

#include <sstream>

#include "tests/device/DeviceTesting.h"
#include "tests/support/Table.h"

namespace BX::test {

inline std::string sourceText(const std::string& path) { return textIn(BX_SOURCE_DIR "/" + path); }

inline Json example(const std::string& name) { return parsed(sourceText("examples/" + name)); }

// `hex` without its spaces.
inline std::string compact(const std::string& hex) { return hexOf(bytesOf(hex)); }

// A document of these keys, which blanks part; its values are JSON between blanks. What has no value is missing.
inline Json documentOf(const std::string& keys, const std::string& values) {
  std::istringstream names(keys);
  std::istringstream literals(values);
  std::string text;
  for (std::string key, value; literals >> value && names >> key;) {
    text += (text.empty() ? "{\"" : ",\"") + key + "\":" + value;
  }
  return text.empty() ? Json() : parsed(text + "}");
}

// A device in transfer mode.
struct Transfer : Connection {
  explicit Transfer(sim::Options options = {}) : Connection(std::move(options)) {
    if (!connect() || !enter(BXSerialCom::TRANSFER)) throw std::runtime_error("no connection");
  }

  bool uploadRing(Json target) { return device.uploadRingTarget(target); }
  bool uploadSilhouette(Json target) { return device.uploadSilhouetteTarget(target); }

  std::vector<std::string> targets() const {
    std::vector<std::string> documents;
    for (const auto& target : device.getAllTargets()) documents.push_back(target.toString());
    return documents;
  }
  // The bytes of the payload that tell the device which targets are in use: ring, silhouette, prisms.
  std::string targetsInUse() {
    if (!device.setParameterSetFrames()) throw std::runtime_error("settings refused");
    return sent("6401").back().substr(2 * 4, 2 * 3);
  }
};

}  // namespace BX::test

// What crosses the interface: texts, documents, records, and failures, which are exceptions inside and a status
// outside.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bx/BXDeviceManager.h"
#include "bx/BXSerialLink.h"
#include "bx/bx_c.h"
#include "morva/MORVADataTypeJSON.h"

namespace BX::c {

using Json = MORVA::MORVADataTypeJSON;

inline constexpr auto* noDevice = ": no device is registered";

struct Failed {
  std::int32_t status;
  std::string text;
};
inline void require(bool condition, const char* otherwise) {
  if (!condition) throw Failed{BX_E_ARGUMENT, otherwise};
}
// Where the link has noted nothing, the device has given an answer that is of no use.
[[noreturn]] void fail(const std::string& port, const link::Failure& failure);

// The status of the exception that is being handled, whose text becomes the thread's last error.
std::int32_t statusOfException() noexcept;
const char* lastError() noexcept;

// Runs the body of a function of the interface: no exception leaves it.
template <typename Body>
std::int32_t guarded(const Body& body) noexcept try {
  body();
  return BX_OK;
} catch (...) {
  return statusOfException();
}

// What a host passes in; throws Failed when it is not what it should be.
std::string textOf(const char* given);
std::string portOf(const char* given);
std::string targetTypeOf(const char* given);
Json documentOf(const char* given);

// What a host gets, to free it; nothing when it does not want any.
void give(char** wanted, const std::string& text);
std::string arrayOf(const std::vector<Json>& documents);

bx_record recordOf(const Json& document);
// The records as lines; `structures`, of the same records, learn where each line stands.
std::string linesOf(const std::vector<Json>& records, bx_record* structures);
bx_state stateOf(const BXDeviceManager::DeviceState& device, const link::Statistics& counted);

}  // namespace BX::c

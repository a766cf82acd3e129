#include "c/Border.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

#include "bx/DocumentKeys.h"
#include "morva/KeyedAccess.h"
#include "platform/Utf8.h"

namespace BX::c {

namespace {

// Plain: a thread's object with a destructor would keep the library from being unloaded.
thread_local std::array<char, 512> lastText{};

std::int32_t statusOf(link::FailureKind kind) {
  using enum link::FailureKind;
  if (kind == Refused) return BX_E_REFUSED;
  if (kind == Cancelled) return BX_E_CANCELLED;
  if (kind == Memory) return BX_E_MEMORY;
  if (kind == BadRequest || kind == Handler) return BX_E_INTERNAL;
  return kind >= NoSuchPort && kind <= System ? BX_E_OPEN : BX_E_LINK;
}

std::int32_t told(std::int32_t status, std::string_view text) noexcept {
  std::size_t length = std::min(text.size(), lastText.size() - 1);
  while (length < text.size() && length > 0 && (text[length] & 0xC0) == 0x80) --length;  // no character is cut in two
  *std::copy_n(text.begin(), length, lastText.begin()) = '\0';
  return status;
}

}  // namespace

void fail(const std::string& port, const link::Failure& failure) {
  const bool noted = failure.kind != link::FailureKind::None;
  throw Failed{statusOf(failure.kind), port + ": " + (noted ? textOf(failure) : "the device's answer is of no use")};
}

std::int32_t statusOfException() noexcept {
  try {
    throw;
  } catch (const Failed& failed) {
    return told(failed.status, failed.text);
  } catch (const std::bad_alloc&) {
    return told(BX_E_MEMORY, "out of memory");
  } catch (const std::exception& unexpected) {
    return told(BX_E_INTERNAL, unexpected.what());
  } catch (...) {
    return told(BX_E_INTERNAL, "an exception of an unknown kind");
  }
}

const char* lastError() noexcept { return lastText.data(); }

std::string textOf(const char* given) {
  require(given != nullptr && platform::validUtf8(given) == given, "a text is NULL, or no UTF-8");
  return given;
}

std::string portOf(const char* given) {
  require(given == nullptr || *given != '\0', "the port has no name");
  return textOf(given);
}

std::string targetTypeOf(const char* given) {
  std::string type = textOf(given);
  require(type == text::ring || type == text::silhouette, "a target is RING or SILHOUETTE");
  return type;
}

Json documentOf(const char* given) {
  Json document;
  const bool isObject = document.parseString(textOf(given)) && document.getDocument().IsObject();
  if (!isObject) throw Failed{BX_E_JSON, "the text is no JSON object"};
  return document;
}

void give(char** wanted, const std::string& text) {
  if (wanted == nullptr) return;
  const std::string clean = platform::validUtf8(text);  // a device's texts may be any bytes
  *wanted = static_cast<char*>(std::malloc(clean.size() + 1));
  if (*wanted == nullptr) throw std::bad_alloc();
  std::memcpy(*wanted, clean.c_str(), clean.size() + 1);
}

std::string arrayOf(const std::vector<Json>& documents) {
  Json array(MORVA::JSONType::Array);
  for (const auto& document : documents) appendDocument(array, document);
  return array.toString();
}

}  // namespace BX::c

// Holds the keys of a document against those that its kind may have.
#include <rapidjson/reader.h>

#include <algorithm>
#include <array>
#include <map>
#include <set>

#include "Schema.h"
#include "bx/DocumentKeys.h"
#include "platform/json/Walk.h"
#include "tools/arguments/Spelling.h"

namespace BX::tool {

namespace {

using Keys = std::vector<std::string>;

constexpr std::array kinds{DocumentKind::DeviceSettings, DocumentKind::SessionSettings, DocumentKind::RingTarget,
                           DocumentKind::SilhouetteTarget};

constexpr std::size_t mostTold = 10;  // a file may have a million keys

std::string listed(const Keys& keys) {
  std::string text;
  for (std::size_t i = 0; i < std::min(mostTold, keys.size()); ++i) text += (i == 0 ? "" : ", ") + quoted(keys[i]);
  return keys.size() <= mostTold ? text : text + " and " + std::to_string(keys.size() - mostTold) + " more";
}

Keys knownKeys(DocumentKind kind) {
  Keys keys;
  for (const auto& field : fieldsOf(kind)) keys.push_back(field.key);
  return keys;
}

// What the library reads; of a numbered series the first and the last.
std::string allowed(DocumentKind kind) {
  std::string text;
  const std::string series = key::ring::diameterVariable;
  for (const auto& field : fieldsOf(kind)) {
    if (!field.sent) continue;
    if (field.key.starts_with(series) && field.key != series + '1') continue;
    text += (text.empty() ? "" : ", ") + quoted(field.key);
    if (field.key.starts_with(series)) text += " to \"" + series + "11\"";
  }
  return text;
}

bool isKeyOf(DocumentKind kind, const std::string& key) {
  const auto& fields = fieldsOf(kind);
  return std::any_of(fields.begin(), fields.end(), [&key](const Field& field) { return field.key == key; });
}

// Of all objects of a document, however deep they are.
class RepeatedKeys : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, RepeatedKeys> {
 public:
  bool StartObject() {
    open_.emplace_back();
    return true;
  }
  bool EndObject(rapidjson::SizeType) {
    open_.pop_back();
    return true;
  }
  bool Key(const char* text, rapidjson::SizeType length, bool) {
    std::string key(text, length);
    if (!open_.back().insert(key).second && known_.insert(key).second) found_.push_back(std::move(key));
    return true;
  }
  const Keys& found() const { return found_; }

 private:
  std::vector<std::set<std::string>> open_;
  std::set<std::string> known_;
  Keys found_;
};

Keys repeatedKeys(const rapidjson::Value& root) {
  RepeatedKeys repeated;
  MORVA::walk(root, repeated);
  return repeated.found();
}

// The keys that a kind of document does not have.
struct Strangers {
  std::map<DocumentKind, Keys> ofOthers;
  std::vector<std::pair<std::string, std::string>> misspelt;  // with what may have been meant
  Keys unknown;
};

void add(Strangers& strangers, const std::string& key, const Keys& known) {
  for (const auto kind : kinds) {
    if (!isKeyOf(kind, key)) continue;
    strangers.ofOthers[kind].push_back(key);
    return;
  }
  const bool isTold = strangers.misspelt.size() + strangers.unknown.size() < mostTold;
  std::string meant = isTold ? arguments::nearestOf(known, key) : "";
  if (meant.empty()) {
    strangers.unknown.push_back(key);
  } else {
    strangers.misspelt.emplace_back(key, std::move(meant));
  }
}

}  // namespace

std::vector<std::string> checkKeys(const Json& document, DocumentKind kind) {
  std::vector<std::string> problems;
  const auto& root = document.getDocument();
  if (!root.IsObject()) return problems;
  const Keys known = knownKeys(kind);
  Strangers strangers;
  bool hasKnown = false;
  for (const auto& member : root.GetObject()) {
    const std::string key(member.name.GetString(), member.name.GetStringLength());
    if (isKeyOf(kind, key)) {
      hasKnown = true;
    } else {
      add(strangers, key, known);
    }
  }
  if (!hasKnown) problems.push_back(std::string("has no key of ") + nameOf(kind));
  for (const auto& [other, keys] : strangers.ofOthers) {
    problems.push_back(listed(keys) + (keys.size() == 1 ? " belongs to " : " belong to ") + nameOf(other));
  }
  for (const auto& [key, meant] : strangers.misspelt) {
    problems.push_back("unknown key " + quoted(key) + " (did you mean " + quoted(meant) + "?)");
  }
  if (!strangers.unknown.empty()) {
    problems.push_back((strangers.unknown.size() == 1 ? "unknown key " : "unknown keys ") + listed(strangers.unknown));
  }
  if (!strangers.unknown.empty() || root.ObjectEmpty()) {
    problems.back() += std::string(" (") + nameOf(kind) + " have " + allowed(kind) + ')';
  }
  if (const Keys repeated = repeatedKeys(root); !repeated.empty()) {
    problems.push_back(listed(repeated) + " more than once (the library takes the first)");
  }
  return problems;
}

}  // namespace BX::tool

#include "Documents.h"

#include <rapidjson/error/en.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

#include "InputFile.h"
#include "bx/DocumentKeys.h"
#include "morva/KeyedAccess.h"

namespace BX::tool {

namespace {

std::string place(const std::string& text, std::size_t offset) {
  const std::string before = text.substr(0, offset);
  const auto line = std::count(before.begin(), before.end(), '\n') + 1;
  const auto lastBreak = before.rfind('\n');
  const std::size_t column = lastBreak == std::string::npos ? offset + 1 : offset - lastBreak;
  return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

[[noreturn]] void refuse(const std::string& text) { throw Failure(wrongUsage, text); }

// No more of it than the largest document has: a path may name a device or a pipe without end.
std::string readFile(const std::string& path) {
  constexpr std::size_t largest = std::size_t{16} << 20;
  std::ifstream file = openInput(path);
  std::string text;
  std::array<char, 65536> chunk{};
  while (file && text.size() <= largest) {
    file.read(chunk.data(), chunk.size());
    text.append(chunk.data(), static_cast<std::size_t>(file.gcount()));
  }
  // A folder opens, and fails at the first byte.
  if (errno != 0) refuse(path + ": read: " + std::generic_category().message(errno));
  if (text.size() > largest) refuse(path + ": read: larger than 16 MiB");
  return text;
}

std::string join(const std::vector<std::string>& phrases) {
  std::string text;
  for (const auto& phrase : phrases) text += (text.empty() ? "" : "; ") + phrase;
  return text;
}

// The type to take for a target; with a reason to refuse it.
std::string chooseType(const Json& document, const std::string& givenType, Findings& findings) {
  const std::string type = MORVA::getText(document, key::target::targetType);
  if (!givenType.empty()) {
    if (!type.empty() && type != givenType) {
      findings.problems.push_back("\"TargetType\" is " + quoted(type) + ", and --type is " + quoted(givenType));
    }
    return givenType;
  }
  if (type.empty()) {
    findings.problems.push_back(
        "\"TargetType\" is neither in the file nor given by --type (without it the library "
        "takes a silhouette)");
  } else if (type != text::ring && type != text::silhouette) {
    findings.problems.push_back("\"TargetType\" " + quoted(type) +
                                " is neither \"RING\" nor \"SILHOUETTE\" (the library takes a silhouette)");
  }
  return type;
}

}  // namespace

Json parseDocument(const std::string& text, const std::string& name) {
  constexpr unsigned flags = rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag;
  rapidjson::Document parsed;
  parsed.Parse<flags>(text.data(), text.size());
  if (parsed.HasParseError()) {
    refuse(name + ": " + place(text, parsed.GetErrorOffset()) +
           ": not JSON: " + rapidjson::GetParseError_En(parsed.GetParseError()));
  }
  const auto zero = text.find('\0');
  if (zero != std::string::npos) refuse(name + ": " + place(text, zero) + ": not JSON: a zero byte");
  Json document;
  if (!document.parseString(text)) refuse(name + ": read: not JSON");
  return document;
}

Json readDocument(const std::string& path) { return parseDocument(readFile(path), path); }

void Review::add(const std::string& name, const Findings& findings) {
  if (!findings.problems.empty() && !force_) refuse(name + ": check: " + join(findings.problems));
  for (const auto& problem : findings.problems) warnings_.push_back(name + ": " + problem);
  for (const auto& warning : findings.warnings) warnings_.push_back(name + ": " + warning);
}

void Review::tell(Console& console) const {
  for (const auto& warning : warnings_) console.warning(warning);
}

Json loadDocument(Review& review, const std::string& path, DocumentKind kind) {
  Json document = readDocument(path);
  review.add(path, check(document, kind));
  return document;
}

TargetFile loadTarget(Review& review, const std::string& path, const std::string& givenType) {
  TargetFile target{.type = givenType, .document = readDocument(path)};
  Findings findings;
  if (target.document.getDocument().IsObject()) target.type = chooseType(target.document, givenType, findings);
  // Whatever is not exactly a ring target is sent as a silhouette. A type that is not known is all there is to say.
  if (findings.problems.empty() || review.force()) {
    const auto kind = target.type == text::ring ? DocumentKind::RingTarget : DocumentKind::SilhouetteTarget;
    const Findings more = check(target.document, kind);
    findings.problems.insert(findings.problems.end(), more.problems.begin(), more.problems.end());
    findings.warnings = more.warnings;
  }
  review.add(path, findings);
  return target;
}

TargetFile loadTarget(Tool& tool, const std::string& path, const std::string& givenType) {
  Review review(tool.global.force);
  TargetFile target = loadTarget(review, path, givenType);
  review.tell(tool.console);
  return target;
}

Findings warningsAbout(const Json& document, DocumentKind kind) { return {{}, check(document, kind).warnings}; }

}  // namespace BX::tool

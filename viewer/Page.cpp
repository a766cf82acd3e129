#include "viewer/Page.h"

#include <array>
#include <string_view>
#include <utility>

#include "Assets.h"
#include "scoring/FaceSvg.h"

namespace BX::viewer {

namespace {

unsigned digitOf(char hex) { return static_cast<unsigned>(hex <= '9' ? hex - '0' : hex - 'a' + 10); }

// The 256 bits that are given in hexadecimal digits.
std::string base64Of(std::string_view digest) {
  constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t i = 0; i < digest.size(); i += 3) {  // three digits make two characters
    unsigned bits = 0;
    for (std::size_t j = i; j < i + 3; ++j) bits = bits << 4 | (j < digest.size() ? digitOf(digest[j]) : 0);
    text += alphabet[bits >> 6];
    text += alphabet[bits & 63];
  }
  text.resize((digest.size() * 4 + 5) / 6);
  text.append((4 - text.size() % 4) % 4, '=');
  return text;
}

struct Parts {
  bool isLive = false;
  std::string title;  // markup, as all texts here
  std::string_view style = asset::style, styleDigest = asset::styleDigest;
  std::string_view body = {};
  std::string_view script = asset::script, scriptDigest = asset::scriptDigest;
};

std::string policyOf(const Parts& parts) {
  const auto digest = [](std::string_view hex) { return std::string("'sha256-").append(base64Of(hex)) + "'"; };
  return "default-src 'none'; script-src " + digest(parts.scriptDigest) + "; style-src " + digest(parts.styleDigest) +
         "; img-src data:" + (parts.isLive ? "; connect-src 'self'" : "") + "; base-uri 'none'; form-action 'none'";
}

std::string facesOf(const scoring::Session& session) {
  std::string faces;
  for (const auto& target : session.targets()) {
    const std::string id = std::to_string(&target - session.targets().data());
    faces += "<g id=\"face-" + id + "\">" + scoring::faceShapes(target) + "</g>\n";
  }
  return "<defs>" + faces + "</defs>";
}

std::string titleOf(const scoring::Session& session, std::size_t target) {
  const std::string& name = session.targets()[target].name;
  return scoring::markupOf(name.empty() ? session.start() : name + ", " + session.start());
}

std::string makePage(const scoring::Session& session, const Showing& showing, const Parts& parts) {
  const std::array<std::pair<std::string_view, std::string>, 8> marked = {{{"live", parts.isLive ? " data-live" : ""},
                                                                           {"policy", policyOf(parts)},
                                                                           {"title", parts.title},
                                                                           {"style", std::string(parts.style)},
                                                                           {"faces", facesOf(session)},
                                                                           {"beside", std::string(parts.body)},
                                                                           {"data", documentOf(session, showing)},
                                                                           {"script", std::string(parts.script)}}};
  std::string page;
  std::string_view rest = asset::page;
  for (const auto& [name, text] : marked) {  // in the order of the page
    const std::string mark = "{{" + std::string(name) + "}}";
    const std::size_t at = rest.find(mark);
    page.append(rest.substr(0, at)).append(text);
    rest.remove_prefix(at + mark.size());
  }
  return page.append(rest);
}

}  // namespace

std::string pageOf(const scoring::Session& session, const Showing& showing) {
  return makePage(session, showing, {.title = titleOf(session, showing.target)});
}

std::string livePageOf(const scoring::Session& session, const Showing& showing) {
  return makePage(session, showing, {.isLive = true, .title = titleOf(session, showing.target)});
}

std::string livePageIn(const Surroundings& surroundings) {
  return makePage(scoring::Session(rapidjson::Value()), {},
                  {.isLive = true,
                   .title = scoring::markupOf(surroundings.title),
                   .style = surroundings.style,
                   .styleDigest = surroundings.styleDigest,
                   .body = surroundings.body,
                   .script = surroundings.script,
                   .scriptDigest = surroundings.scriptDigest});
}

}  // namespace BX::viewer

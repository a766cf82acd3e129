// The page that shows a session: one HTML file that needs nothing from anywhere else.
#pragma once

#include <string>
#include <string_view>

#include "viewer/Document.h"

namespace BX::viewer {

// What the page allows is in itself: its own script and style by their digests, and no network.
std::string pageOf(const scoring::Session& session, const Showing& showing);

// The same for a server to give: it follows the events of the place that it came from.
std::string livePageOf(const scoring::Session& session, const Showing& showing);

// What a server's page has beside the session that it shows, and the assets that stand in for the page's own.
struct Surroundings {
  std::string title;
  std::string_view body;
  std::string_view style, styleDigest;
  std::string_view script, scriptDigest;
};

// A live page around an empty session.
std::string livePageIn(const Surroundings& surroundings);

}  // namespace BX::viewer

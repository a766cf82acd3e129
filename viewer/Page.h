// The page that shows a session: one HTML file that needs nothing from anywhere else.
#pragma once

#include <string>

#include "viewer/Document.h"

namespace BX::viewer {

// What the page allows is in itself: its own script and style by their digests, and no network.
std::string pageOf(const scoring::Session& session, const Showing& showing);

// The same for a server to give: it follows the events of the place that it came from.
std::string livePageOf(const scoring::Session& session, const Showing& showing);

}  // namespace BX::viewer

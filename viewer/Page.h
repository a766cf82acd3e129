// The page that shows a session: one HTML file that needs nothing from anywhere.
#pragma once

#include <string>

#include "viewer/Document.h"

namespace BX::viewer {

// What the page allows is in itself: its own script and style by their digests, and no network.
std::string pageOf(const scoring::Session& session, const Showing& showing);

}  // namespace BX::viewer

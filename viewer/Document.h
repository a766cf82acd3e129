// The data of the page, as one JSON document.
//
//   start, device, perSeries, first (the target that is shown first, by index)
//   targets   name, paper (from the centre to its edge), calibre, rule (how it is counted, a sentence), rings ([{value,
//             reach}], the highest first; a hit counts within the reach), figures (of all shots), series (of each)
//   shots     columns: a list for each figure, with an entry for each shot in the order of the session
//   samples   columns, with an entry for each measurement
//
// Columns hold whole numbers, and null for what is not known. Lengths are hundredths of a millimetre, right and up
// positive; times milliseconds, since the start for `received`; angles sines times 1000; shares thousandths. A shot's
// samples are given by index: those before `end` came before it; the last three seconds begin with `from`, the last one
// with `second`, its end with `moments`; the follow-through ends before `after`.
#pragma once

#include <cstddef>
#include <string>

#include "scoring/Scores.h"

namespace BX::viewer {

struct Showing {
  scoring::Gauge gauge = scoring::Gauge::Edge;
  std::size_t perSeries = 0;  // shots; 0: as the session says, or all in one
  std::size_t target = 0;     // first, of those in the session
};

// Holds no "<", so that it can stand in a script element.
std::string documentOf(const scoring::Session& session, const Showing& showing);

// What brings a document of the first `records` shots and measurements up to date.
//
//   start, perSeries   of the session, as in the document
//   state     "training", "lost", "ended" or "broken off"
//   after     what it is now for the last shot of the document; null without one
//   targets   empty unless shots came, else figures, and series from the one of index firstSeries on
//   shots, samples   columns of what came
std::string changesOf(const scoring::Session& session, const Showing& showing, std::size_t records,
                      const std::string& state);

}  // namespace BX::viewer

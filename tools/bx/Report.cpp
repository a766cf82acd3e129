// What a session was worth: as a page, as a picture, and as figures for other programs.
#include <algorithm>
#include <array>

#include "Documents.h"
#include "InputFile.h"
#include "Records.h"
#include "SessionFile.h"
#include "platform/OutputFile.h"
#include "platform/Utf8.h"
#include "scoring/FaceSvg.h"
#include "scoring/Figures.h"
#include "viewer/Page.h"

namespace BX::tool {

namespace {

using scoring::Face;
using scoring::Gauge;
using scoring::Score;
using scoring::Session;

struct Report {
  const Session& session;
  std::size_t target;
  Gauge gauge;
  std::size_t perSeries;
  std::vector<Score> scores = scoring::scoresOf(session, target, gauge);
  const Face& face = session.targets()[target];
};

struct Format {
  const char* suffix;
  std::string (*write)(const Report& report);
};

constexpr std::array formats = {
    Format{".html",
           [](const Report& report) {
             return viewer::pageOf(report.session, {report.gauge, report.perSeries, report.target});
           }},
    Format{".svg", [](const Report& report) { return scoring::faceDocument(report.face, report.scores); }},
    Format{".json", [](const Report& report) { return scoring::figuresOf(report.face, report.gauge, report.scores); }}};

const Format& formatOf(const std::string& path) {
  std::string names;
  for (const Format& format : formats) {
    if (path.ends_with(format.suffix)) return format;
    names += (names.empty() ? "" : ", ") + std::string(format.suffix);
  }
  throw Failure(wrongUsage, path + ": the name of a report ends in one of " + names);
}

// "25m pistol" (1)
std::string told(const Face& face) {
  return quoted(face.name) + (face.number ? " (" + std::to_string(*face.number) + ')' : "");
}

std::size_t chooseTarget(Tool& tool, const ReportOptions& options, const Session& session) {
  const auto& targets = session.targets();
  std::string all;
  for (const Face& face : targets) all += (all.empty() ? "" : ", ") + told(face);
  if (!options.targetNumber) {
    if (targets.size() > 1 && !options.output.ends_with(".html")) {  // a page shows them all
      tool.console.warning(options.session + ": has the targets " + all + "; this is the first, and --target-number " +
                           "takes another");
    }
    return 0;
  }
  const auto chosen = std::find_if(targets.begin(), targets.end(),
                                   [&](const Face& face) { return face.number == options.targetNumber; });
  if (chosen != targets.end()) return static_cast<std::size_t>(chosen - targets.begin());
  throw Failure(wrongUsage, options.session + ": has no target of the number " + std::to_string(*options.targetNumber) +
                                ", but " + all);
}

void useTarget(Session& session, const std::string& path) {
  const Json target = readDocument(path);
  if (!target.getDocument().IsObject()) throw Failure(wrongUsage, path + ": check: no JSON object");
  session.setTarget(target.getDocument());
}

std::string summary(const Report& report) {
  const auto tally = scoring::tallyOf(report.scores);
  std::string text = counted(report.scores.size(), "shot");
  if (tally.scored > 0) {
    text += ", " + std::to_string(tally.total) + ", with tenths " + scoring::decimalOf(tally.tenths) + ", " +
            counted(static_cast<std::size_t>(tally.innerTens), "inner ten");
  }
  const std::size_t unscored = report.scores.size() - tally.scored;
  return unscored == 0 ? text : text + "; " + std::to_string(unscored) + " not scored";
}

}  // namespace

void runReport(Tool& tool, const ReportOptions& options) try {
  const Format& format = formatOf(options.output);
  refuseInput(options.output, options.session, "session");
  refuseInput(options.output, options.target, "target");
  platform::OutputFile file(options.output, tool.global.overwrite);
  Session session = readSession(tool, options.session);
  if (!options.target.empty()) useTarget(session, options.target);
  const Report report{session, chooseTarget(tool, options, session),
                      options.score == nameOf(Gauge::Edge) ? Gauge::Edge : Gauge::Centre, options.series};
  if (!report.face.isScored() && !report.face.isSilhouette) {
    tool.console.warning((options.target.empty() ? options.session : options.target) +
                         ": names no rings, so that nothing is scored (--target FILE takes another target)");
  }
  const auto isAtTarget = [](const Score& score) { return score.isAtTarget; };
  if (!report.scores.empty() && std::none_of(report.scores.begin(), report.scores.end(), isAtTarget)) {
    tool.console.warning((options.target.empty() ? options.session : options.target) +
                         ": has another number than the target that the shots name, so that nothing is scored");
  }
  file.begin();
  file.add(format.write(report));
  tool.console.note(summary(report) + " in " + options.output);
} catch (const platform::OutputError& error) {
  throw Failure(wrongUsage, error.what());
}

}  // namespace BX::tool

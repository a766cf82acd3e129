// A shot from its bytes to its document, against the same document made by hand. Google Benchmark keeps the time.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <map>
#include <nlohmann/json.hpp>

#include "bench/Sections.h"
#include "bench/Sessions.h"
#include "records/RecordDecoder.h"

namespace BX::bench {

namespace {

constexpr std::int32_t noRing = noTarget;

records::Shot decoded(const sim::Bytes& record) {
  records::Shot shot = records::decodeShot(record, {25, "m", noRing});
  shot.aimingTime = 1.25;
  return shot;
}

// The members of a shot's document, by whatever takes names and numbers.
template <typename Add>
void addMembers(const records::Shot& shot, const Add& add) {
  const auto flag = [&shot](std::uint8_t bit) { return (shot.aim.status & bit) != 0 ? 1 : 0; };
  add("RingTargetNumber", int{shot.ringTarget});
  add("SilhouetteTargetNumber", int{shot.silhouetteTarget});
  add("FunctionMode", int{shot.functionMode});
  add("ShotNumber", int{shot.number});
  add("PositionX", shot.aim.positionX);
  add("PositionY", shot.aim.positionY);
  add("Tilt", int{shot.aim.tilt});
  add("Rotation", int{shot.aim.rotation});
  add("Distance", shot.aim.distance);
  add("RotationInDegrees", int{shot.aim.rotation});
  add("TiltInDegrees", int{shot.aim.tilt});
  add("Time", shot.time);
  add("FSI", int{shot.fsi});
  add("ResultX", shot.aim.positionX);
  add("ResultY", shot.aim.positionY);
  add("LowSignal", flag(records::status::lowSignal));
  add("HighSignal", flag(records::status::highSignal));
  add("MeasureError", flag(records::status::measureError));
  add("AngleError", flag(records::status::angleError));
  add("FSIError", flag(records::status::fsiError));
  add("aimingTime", *shot.aimingTime);
}

void ours(benchmark::State& state) {
  const sim::Bytes record = shotRecord();
  for (auto _ : state) benchmark::DoNotOptimize(records::shotDocument(decoded(record)));
}

void bareRapidJson(benchmark::State& state) {
  const records::Shot shot = decoded(shotRecord());
  for (auto _ : state) {
    rapidjson::Document document(rapidjson::kObjectType);
    auto& allocator = document.GetAllocator();
    addMembers(shot, [&](const auto& name, auto value) { document.AddMember(name, value, allocator); });
    benchmark::DoNotOptimize(document);
  }
}

void nlohmannJson(benchmark::State& state) {
  const records::Shot shot = decoded(shotRecord());
  for (auto _ : state) {
    nlohmann::json document = nlohmann::json::object();
    addMembers(shot, [&](const char* name, auto value) { document[name] = value; });
    benchmark::DoNotOptimize(document);
  }
}

class Collector : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Iteration) times_[run.run_name.function_name].push_back(run.GetAdjustedCPUTime());
    }
  }
  double nanoseconds(const std::string& name) const { return median(times_.at(name)); }

 private:
  std::map<std::string, Samples> times_;
};

Row row(const char* what, const char* against, double limit, double ours, double theirs) {
  return {.what = what,
          .against = against,
          .bar = Bar::AtMost,
          .limit = limit,
          .got = ours / theirs,
          .unit = "",
          .detail = rounded(ours) + " ns against " + rounded(theirs) + " ns"};
}

}  // namespace

Rows measureCodec(const Setting& setting) {
  std::array<char, 64> repetitions{};
  std::snprintf(repetitions.data(), repetitions.size(), "--benchmark_repetitions=%d", setting.rounds);
  std::array<char, 64> interleaving{"--benchmark_enable_random_interleaving=true"};
  std::array<char, 64> time{"--benchmark_min_time=0.1"};
  std::array<char, 16> name{"bx-bench"};
  std::array<char*, 4> arguments{name.data(), repetitions.data(), interleaving.data(), time.data()};
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  benchmark::RegisterBenchmark("ours", ours);
  benchmark::RegisterBenchmark("RapidJSON", bareRapidJson);
  benchmark::RegisterBenchmark("nlohmann", nlohmannJson);
  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  const double own = collector.nanoseconds("ours");
  return {row("decoding a shot into its document (codec only)", "the same 21 members built by bare RapidJSON calls",
              1.5, own, collector.nanoseconds("RapidJSON")),
          row("the same", "the same document built with nlohmann::json", 1, own, collector.nanoseconds("nlohmann"))};
}

}  // namespace BX::bench

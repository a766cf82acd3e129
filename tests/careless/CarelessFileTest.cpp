// Files of a careless user: bx refuses them with one line that names file and reason before anything is sent; with
// --force it warns and sends what the library makes of them, as long as they are JSON at all.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "tools/bx/Documents.h"

namespace BX::tool {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

struct CarelessFile {
  std::string name;
  std::string text;
  std::string reason;
  bool isJson = true;
};

std::string target(const std::string& member) {
  return R"({"TargetType":"SILHOUETTE","SilhouetteTargetNumber":1,"NominalDistance":25,"TargetWidth":1,)"
         R"("TargetHeight":1,"PrismPlaceX":0,"PrismPlaceY":0,"NumberOfPrisms":1,)" +
         member + "}";
}

std::string nested(std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); }

const std::string megabyte(std::size_t{1} << 20U, 'x');

class CarelessFileTest : public testing::TestWithParam<CarelessFile> {
 protected:
  CarelessFileTest() {
    std::ofstream file(path_, std::ios::binary);
    file << GetParam().text;
  }
  ~CarelessFileTest() override { std::filesystem::remove(path_); }

  std::string refusal(bool force) {
    Tool tool;
    tool.console.beQuiet();
    tool.global.force = force;
    try {
      loadTarget(tool, path_, "");
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.status(), wrongUsage);
      return failure.what();
    }
    return "";
  }

  const std::string path_ = testing::TempDir() + "careless-" + GetParam().name + ".json";
};

TEST_P(CarelessFileTest, IsRefusedWithAReason) {
  const std::string text = refusal(false);
  EXPECT_THAT(text, AllOf(StartsWith(path_ + ": "), HasSubstr(GetParam().reason)));
  EXPECT_EQ(text.find('\n'), std::string::npos);
  EXPECT_EQ(refusal(true).empty(), GetParam().isJson);
}

INSTANTIATE_TEST_SUITE_P(
    , CarelessFileTest,
    testing::Values(CarelessFile{"empty", "", "not JSON", false},
                    CarelessFile{"zero", std::string("{}\0", 3), "zero byte", false},
                    CarelessFile{"utf8", "{\"TargetName\":\"\xC3(\"}", "line 1, column", false},
                    CarelessFile{"infinity", R"({"Caliber":Infinity})", "column 12", false},
                    CarelessFile{"tooLarge", R"({"Caliber":1e400})", "column", false},
                    CarelessFile{"unclosed", std::string(10'000, '['), "not JSON", false},
                    CarelessFile{"deepRoot", nested(10'000), "is an array where an object is expected"},
                    CarelessFile{"deepKey", target("\"SilhouetteTarget\":" + nested(10'000)), "has 1 rows"},
                    CarelessFile{"deepNumber", target("\"HighestRing\":1,\"TargetName\":" + nested(10'000)),
                                 "\"TargetName\""},
                    CarelessFile{"longType", R"({"TargetType":")" + megabyte + "\"}", "neither \"RING\" nor"},
                    CarelessFile{"numberRoot", "1e300", "an object is expected"},
                    CarelessFile{"nullRoot", "null", "an object is expected"}),
    [](const auto& param) { return param.param.name; });

}  // namespace
}  // namespace BX::tool

// In libFuzzer's place where there is none: feeds the fuzzer every file of the folders that it is given, whole and cut
// off at several lengths.
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/Fuzz.h"

namespace {

constexpr std::ptrdiff_t cuts = 8;

}  // namespace

int main(int count, char** arguments) try {
  std::size_t files = 0;
  for (const auto* folder : std::span(arguments, static_cast<std::size_t>(count)).subspan(1)) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      std::ifstream file(entry.path(), std::ios::binary);
      const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
      if (!file) throw std::runtime_error("cannot read " + entry.path().string());
      for (std::ptrdiff_t part = 0; part <= cuts; ++part) {
        // An allocation of its own, so that the address sanitizer sees the end.
        const std::vector<std::uint8_t> input(bytes.begin(), bytes.end() - std::ssize(bytes) * (cuts - part) / cuts);
        LLVMFuzzerTestOneInput(input.data(), input.size());
      }
      ++files;
    }
  }
  std::printf("%zu inputs\n", files);
  return files == 0 ? EXIT_FAILURE : EXIT_SUCCESS;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return EXIT_FAILURE;
}

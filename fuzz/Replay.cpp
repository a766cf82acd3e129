// In libFuzzer's place where there is none: feeds the fuzzer every file of the folders that it is given, whole and cut
// off at several lengths.
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/Fuzz.h"

namespace {

constexpr std::size_t cuts = 8;

std::vector<char> contentOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
  if (!file) throw std::runtime_error("cannot read " + path.string());
  return bytes;
}

void replay(const std::vector<char>& bytes, std::size_t size) {
  // An allocation of its own, so that the address sanitizer sees the end.
  const std::vector<std::uint8_t> input(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
  LLVMFuzzerTestOneInput(input.data(), input.size());
}

}  // namespace

int main(int count, char** arguments) try {
  std::size_t files = 0;
  for (const auto* folder : std::span(arguments, static_cast<std::size_t>(count)).subspan(1)) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      const auto bytes = contentOf(entry.path());
      for (std::size_t part = 0; part < cuts; ++part) replay(bytes, bytes.size() * part / cuts);
      replay(bytes, bytes.size());
      ++files;
    }
  }
  std::printf("%zu inputs\n", files);
  return files == 0 ? EXIT_FAILURE : EXIT_SUCCESS;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return EXIT_FAILURE;
}

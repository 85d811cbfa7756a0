// Replays inputs through a fuzz target without libFuzzer, so that every variant (the g++ one
// too) runs the seed corpus and every input that once crashed a target. Arguments are files or
// directories of files; names starting with a dot are skipped.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

int main(int argc, char** argv) {
  if (LLVMFuzzerInitialize) LLVMFuzzerInitialize(&argc, &argv);
  std::vector<std::filesystem::path> inputs;
  for (int i = 1; i < argc; ++i) {
    const std::filesystem::path path(argv[i]);
    if (!std::filesystem::is_directory(path)) {
      inputs.push_back(path);
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
      const bool hidden = entry.path().filename().string().rfind('.', 0) == 0;
      if (entry.is_regular_file() && !hidden) inputs.push_back(entry.path());
    }
  }
  std::sort(inputs.begin(), inputs.end());
  for (const std::filesystem::path& input : inputs) {
    std::ifstream file(input, std::ios::binary);
    if (!file) {
      std::fprintf(stderr, "cannot read %s\n", input.c_str());
      return 1;
    }
    const std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(file)),
                                     std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  }
  std::printf("%zu inputs replayed\n", inputs.size());
  return inputs.empty() ? 1 : 0;
}

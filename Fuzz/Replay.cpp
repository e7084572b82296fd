#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/common_interface_defs.h>
#endif

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <vector>

/// The fuzz targets without a fuzzer, for every test run: the kept corpus, and inputs made from it by chance, the same
/// ones every time. It looks at nothing that the targets reach; scripts/fuzz.sh does.
///   velmoratix_fuzz_replay TARGET CORPUS EXECUTIONS FINDING
/// FINDING: the file that an input is written to with which something is found.

extern "C" {
int fuzzDdc(const std::uint8_t* data, std::size_t size);
int fuzzEdid(const std::uint8_t* data, std::size_t size);
int fuzzOverrides(const std::uint8_t* data, std::size_t size);
int fuzzScenario(const std::uint8_t* data, std::size_t size);
int fuzzSettings(const std::uint8_t* data, std::size_t size);
}

namespace {

using Input = std::vector<std::uint8_t>;

struct Target {
  std::string_view name;
  int (*run)(const std::uint8_t* data, std::size_t size);
};
constexpr std::array kTargets{Target{"ddc", fuzzDdc}, Target{"edid", fuzzEdid}, Target{"overrides", fuzzOverrides},
                              Target{"scenario", fuzzScenario}, Target{"settings", fuzzSettings}};

/// What the signal handler of a finding reads.
Input currentInput;       // NOLINT(cert-err58-cpp)
std::string findingPath;  // NOLINT(cert-err58-cpp)

void keepCurrentInput() {
  std::ofstream(findingPath, std::ios::binary)
      .write(reinterpret_cast<const char*>(currentInput.data()), static_cast<std::streamsize>(currentInput.size()));
  std::fprintf(stderr, "the input stands in %s\n", findingPath.c_str());
}

void run(const Target& target, Input input) {
  // Sized to the byte, so that a read behind the end is seen.
  currentInput = std::move(input);
  currentInput.shrink_to_fit();
  target.run(currentInput.data(), currentInput.size());
}

Input fileAt(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class Mutator {
 public:
  explicit Mutator(const std::vector<Input>& corpus) : corpus_(corpus) {}

  Input next() {
    Input input = corpus_[below(corpus_.size())];
    for (std::size_t changes = 1 + below(4); changes > 0 && !input.empty(); --changes) change(input);
    return input;
  }

 private:
  std::size_t below(std::size_t limit) { return limit == 0 ? 0 : random_() % limit; }

  void change(Input& input) {
    const std::size_t at = below(input.size());
    const auto place = input.begin() + static_cast<std::ptrdiff_t>(at);
    switch (below(5)) {
      case 0:
        *place = static_cast<std::uint8_t>(*place ^ 1U << below(8));
        break;
      case 1:
        *place = static_cast<std::uint8_t>(random_());
        break;
      case 2:
        input.resize(at);
        break;
      case 3:
        input.erase(place,
                    place + static_cast<std::ptrdiff_t>(1 + below(std::min<std::size_t>(16, input.size() - at))));
        break;
      default:
        insertPiece(input, place);
    }
  }

  void insertPiece(Input& input, Input::iterator place) {
    constexpr std::size_t kLongestPiece = 32;
    const Input& from = corpus_[below(corpus_.size())];
    const std::size_t at = below(from.size()), length = std::min(below(kLongestPiece), from.size() - at);
    const auto begin = from.begin() + static_cast<std::ptrdiff_t>(at);
    input.insert(place, begin, begin + static_cast<std::ptrdiff_t>(length));
  }

  const std::vector<Input>& corpus_;
  std::minstd_rand random_;
};

}  // namespace

int main(int count, char** arguments) {
  const std::vector<std::string> words(arguments + 1, arguments + count);
  const Target* const target = words.size() != 4 ? nullptr : [&]() -> const Target* {
    for (const Target& one : kTargets) {
      if (one.name == words[0]) return &one;
    }
    return nullptr;
  }();
  if (target == nullptr) {
    std::fprintf(stderr, "velmoratix_fuzz_replay TARGET CORPUS EXECUTIONS FINDING\n");
    return 2;
  }
  findingPath = words[3];
#ifdef __SANITIZE_ADDRESS__
  __sanitizer_set_death_callback(keepCurrentInput);
#endif
  std::signal(SIGABRT, [](int) { keepCurrentInput(); });

  std::vector<std::filesystem::path> paths;
  for (const auto& entry : std::filesystem::directory_iterator(words[1])) paths.push_back(entry.path());
  std::sort(paths.begin(), paths.end());
  std::vector<Input> corpus;
  for (const auto& path : paths) corpus.push_back(fileAt(path));
  if (corpus.empty()) {
    std::fprintf(stderr, "%s: no corpus\n", words[1].c_str());
    return 2;
  }
  for (const Input& input : corpus) run(*target, input);
  Mutator mutator(corpus);
  const long executions = std::strtol(words[2].c_str(), nullptr, 10);
  for (long i = 0; i < executions; ++i) run(*target, mutator.next());
  std::printf("%s: %zu kept inputs, %ld made from them, nothing found\n", words[0].c_str(), corpus.size(), executions);
  return 0;
}

// usage: fuzz_TARGET [--seconds N] [--seed N] [--seeds DIR] [--corpus DIR] [--dictionary FILE]
//                    [--crash FILE]
//        fuzz_TARGET [--seeds DIR] [--corpus DIR] --minimise DIR
//        fuzz_TARGET [--crash FILE] FILE
//
// Runs mutated inputs, for 20 seconds, and keeps those that reach new code. Begins with the inputs
// of the two folders, and writes those that reach new code to the corpus folder. The second form
// writes the least inputs that reach what all inputs of the folders do, the third runs the one
// input of a file. An input that ends the process in any other way than it should is written to the
// crash file ("crash-TARGET.bin" in the working folder) on the way, and the exit code is 77; an
// input that runs for a minute is written there too, and the exit code is 78.

#include <windows.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tests/fuzz/corpus.h"
#include "tests/fuzz/coverage.h"
#include "tests/fuzz/dictionary.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/mutator.h"
#include "tests/fuzz/run_input.h"

namespace orva_accelerator::fuzz {

const char* targetName() {
  return ORVA_FUZZ_TARGET;
}

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kRunsBetweenLooks = 64;

struct Options {
  std::string seconds = "20";
  std::string seed = "1";
  std::string seeds;
  std::string corpus;
  std::string dictionary;
  std::string crash = "crash-" ORVA_FUZZ_TARGET ".bin";
  std::string minimise;
  std::string replay;
};

std::vector<Bytes> firstInputs(const Options& options) {
  std::vector<Bytes> inputs = targetSeeds();
  for (const std::string& folder : {options.seeds, options.corpus}) {
    if (folder.empty()) continue;
    for (Bytes& input : readInputs(folder)) inputs.push_back(std::move(input));
  }
  return inputs;
}

void fuzz(const Options& options) {
  std::vector<std::string> dictionary;
  if (!options.dictionary.empty()) dictionary = readDictionary(options.dictionary);
  const std::vector<Bytes> first = firstInputs(options);
  std::printf("%s: %zu inputs and %zu words to begin with\n", ORVA_FUZZ_TARGET, first.size(),
              dictionary.size());
  const std::uint64_t seed = std::strtoull(options.seed.c_str(), nullptr, 10);
  Mutator mutator(seed, std::move(dictionary));

  const auto start = Clock::now();
  const auto end = start + std::chrono::seconds(std::atoi(options.seconds.c_str()));
  Corpus corpus(options.corpus);
  for (const Bytes& input : first) corpus.consider(input);
  const std::size_t firstEdges = edgesReached();
  while (Clock::now() < end) {
    for (std::size_t i = 0; i < kRunsBetweenLooks; ++i) corpus.runNext(mutator);
  }
  const std::chrono::duration<double> taken = Clock::now() - start;
  const auto count = static_cast<double>(runCount());
  std::printf(
      "%s: %.0f runs in %.0f s (%.0f a second), %zu edges (%zu of them new), %zu inputs, "
      "seed %llu\n",
      ORVA_FUZZ_TARGET, count, taken.count(), count / taken.count(), edgesReached(),
      edgesReached() - firstEdges, corpus.size(), static_cast<unsigned long long>(seed));
}

bool minimise(const Options& options) {
  const std::vector<Bytes> inputs = firstInputs(options);
  const std::vector<Bytes> least = minimised(inputs);
  std::size_t size = 0;
  for (const Bytes& input : least) {
    size += input.size();
    if (!writeInput(options.minimise, input)) return false;
  }
  std::printf("%s: %zu of %zu inputs, %zu bytes, for %zu edges\n", ORVA_FUZZ_TARGET, least.size(),
              inputs.size(), size, edgesReached());
  return true;
}

bool parse(int argc, char** argv, Options& options) {
  const std::map<std::string_view, std::string*> known = {
      {"--seconds", &options.seconds},       {"--seed", &options.seed},
      {"--seeds", &options.seeds},           {"--corpus", &options.corpus},
      {"--dictionary", &options.dictionary}, {"--crash", &options.crash},
      {"--minimise", &options.minimise}};
  for (int i = 1; i < argc; ++i) {
    const std::string_view name = argv[i];
    if (!name.starts_with("--")) {
      options.replay = name;
      continue;
    }
    const auto option = known.find(name);
    if (option == known.end() || ++i == argc) return false;
    *option->second = argv[i];
  }
  return true;
}

// The exit code.
int run(const Options& options) {
  prepareTarget();
  if (!options.minimise.empty()) return minimise(options) ? 0 : 1;
  if (options.replay.empty()) {
    fuzz(options);
    return 0;
  }
  (void)runInput(readInput(options.replay));  // Coverage is nobody's concern here.
  std::printf("%s: the input runs to its end\n", ORVA_FUZZ_TARGET);
  return 0;
}

}  // namespace
}  // namespace orva_accelerator::fuzz

int main(int argc, char** argv) {
  using namespace orva_accelerator::fuzz;
  Options options;
  if (!parse(argc, argv, options) || !watchRuns(options.crash)) {
    (void)std::fputs("usage: see the first lines of tests/fuzz/fuzz_loop.cpp\n",
                     stderr);  // The exit code says it too.
    return 2;
  }
  int code = 2;
  try {
    code = run(options);
  } catch (const std::runtime_error& error) {
    std::printf("%s: %s\n", ORVA_FUZZ_TARGET, error.what());
  }
  (void)std::fflush(nullptr);  // What cannot be written now cannot be written at all.
  (void)TerminateProcess(GetCurrentProcess(), static_cast<UINT>(code));
}

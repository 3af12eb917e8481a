// usage: fuzz_TARGET [--seconds N] [--seed N] [--corpus DIR] [--crash FILE]
//        fuzz_TARGET FILE
//
// Runs mutated inputs and keeps those that reach new code, for 20 seconds, or runs the one input of
// a file. Inputs that reached new code are read from and written to the corpus folder, if one is
// given. An input that ends the process in any other way than it should is written to the crash
// file ("crash-TARGET.bin" in the working folder) on the way, and the exit code is 77; an input
// that runs for a minute is written there too, and the exit code is 78.

#include <windows.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/fuzz/coverage.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/mutator.h"

namespace orva_accelerator::fuzz {
namespace {

using Clock = std::chrono::steady_clock;

constexpr UINT kCrashed = 77;
constexpr UINT kHung = 78;
constexpr int kHangSeconds = 60;
constexpr std::size_t kRunsBetweenLooks = 64;

struct Options {
  int seconds = 20;
  std::uint64_t seed = 1;
  std::string corpus;
  std::string crash = "crash-" ORVA_FUZZ_TARGET ".bin";
  std::string replay;
};

// Looked at when the process is about to end, so neither may be on the heap.
std::uint8_t currentInput[kLongestInput];
std::atomic<std::size_t> currentSize{0};
std::atomic<std::uint64_t> runs{0};
char crashFile[MAX_PATH];

void writeCurrentInput() {
  std::FILE* const file = std::fopen(crashFile, "wb");
  if (file == nullptr) return;
  (void)std::fwrite(currentInput, 1, currentSize, file);  // Said below, whether or not it is there.
  (void)std::fclose(file);
  std::printf("the input of %zu bytes is in %s\n", currentSize.load(), crashFile);
}

[[noreturn]] void endAs(UINT code, const char* what) {
  std::printf("%s: %s after %llu runs\n", ORVA_FUZZ_TARGET, what,
              static_cast<unsigned long long>(runs.load()));
  writeCurrentInput();
  (void)std::fflush(nullptr);  // What cannot be written now cannot be written at all.
  (void)TerminateProcess(GetCurrentProcess(), code);
  std::abort();  // Not reached.
}

LONG WINAPI onFault(EXCEPTION_POINTERS* fault) {
  char what[64];
  (void)std::snprintf(what, sizeof what, "exception 0x%08lX",
                      fault->ExceptionRecord->ExceptionCode);
  endAs(kCrashed, what);
}

void onTerminate() {
  endAs(kCrashed, "an uncaught exception or an abort");
}

void endHungRuns() {
  std::uint64_t before = ~std::uint64_t{0};
  for (;;) {
    std::this_thread::sleep_for(std::chrono::seconds(kHangSeconds));
    if (runs == before) endAs(kHung, "no end");
    before = runs;
  }
}

bool runInput(const Bytes& input) {
  const std::size_t size = std::min(input.size(), kLongestInput);
  if (size != 0) std::memcpy(currentInput, input.data(), size);
  currentSize = size;
  ++runs;
  // A block of its own, which ends where the input does.
  const std::vector<std::uint8_t> own(currentInput, currentInput + size);
  beginRun();
  runTarget(own);
  return endRun();
}

Bytes readFile(const std::filesystem::path& path) {
  Bytes bytes;
  std::FILE* const file = _wfopen(path.c_str(), L"rb");
  if (file == nullptr) return bytes;
  bytes.resize(kLongestInput);
  bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
  (void)std::fclose(file);  // Only read.
  return bytes;
}

class Corpus {
 public:
  Corpus(std::string folder, std::uint64_t seed) : folder_(std::move(folder)), mutator_(seed) {
    for (const Bytes& input : targetSeeds()) consider(input);
    if (!folder_.empty()) {
      std::vector<Bytes> stored;
      for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
        stored.push_back(readFile(entry.path()));
      }
      for (const Bytes& input : stored) consider(input);
      stores_ = true;
    }
    if (inputs_.empty()) inputs_.emplace_back();
  }

  void runNext() {
    Bytes input = inputs_[mutator_.below(inputs_.size())];
    mutator_.mutate(input, inputs_[mutator_.below(inputs_.size())], kLongestInput);
    consider(input);
  }
  std::size_t size() const { return inputs_.size(); }

 private:
  void consider(const Bytes& input) {
    if (!runInput(input)) return;
    inputs_.push_back(input);
    if (stores_) store(input);
  }
  void store(const Bytes& input) const {
    const std::string name = folder_ + "\\" + std::to_string(GetCurrentProcessId()) + "-" +
                             std::to_string(inputs_.size()) + ".bin";
    std::FILE* const file = std::fopen(name.c_str(), "wb");
    if (file == nullptr) return;
    (void)std::fwrite(input.data(), 1, input.size(), file);  // Lost inputs are found again.
    (void)std::fclose(file);
  }

  std::string folder_;
  bool stores_ = false;
  Mutator mutator_;
  std::vector<Bytes> inputs_;
};

void fuzz(const Options& options) {
  const auto start = Clock::now();
  const auto end = start + std::chrono::seconds(options.seconds);
  Corpus corpus(options.corpus, options.seed);
  while (Clock::now() < end) {
    for (std::size_t i = 0; i < kRunsBetweenLooks; ++i) corpus.runNext();
  }
  const std::chrono::duration<double> taken = Clock::now() - start;
  const double count = static_cast<double>(runs.load());
  std::printf("%s: %.0f runs in %.0f s (%.0f a second), %zu edges, %zu inputs, seed %llu\n",
              ORVA_FUZZ_TARGET, count, taken.count(), count / taken.count(), edgesReached(),
              corpus.size(), static_cast<unsigned long long>(options.seed));
}

bool parse(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const std::string_view name = argv[i];
    if (!name.starts_with("--")) {
      options.replay = name;
      continue;
    }
    if (++i == argc) return false;
    if (name == "--seconds") {
      options.seconds = std::atoi(argv[i]);
    } else if (name == "--seed") {
      options.seed = std::strtoull(argv[i], nullptr, 10);
    } else if (name == "--corpus") {
      options.corpus = argv[i];
    } else if (name == "--crash") {
      options.crash = argv[i];
    } else {
      return false;
    }
  }
  return options.crash.size() < sizeof crashFile;
}

}  // namespace
}  // namespace orva_accelerator::fuzz

int main(int argc, char** argv) {
  using namespace orva_accelerator::fuzz;
  Options options;
  if (!parse(argc, argv, options)) {
    (void)std::fputs("usage: [--seconds N] [--seed N] [--corpus DIR] [--crash FILE] [FILE]\n",
                     stderr);  // The exit code says it too.
    return 2;
  }
  std::memcpy(crashFile, options.crash.c_str(), options.crash.size() + 1);
  (void)SetUnhandledExceptionFilter(onFault);  // Whoever was there before is not asked.
  std::set_terminate(onTerminate);
  std::thread(endHungRuns).detach();
  prepareTarget();
  if (!options.replay.empty()) {
    (void)runInput(readFile(options.replay));  // Coverage is nobody's concern here.
    std::printf("%s: the input runs to its end\n", ORVA_FUZZ_TARGET);
  } else {
    fuzz(options);
  }
  (void)std::fflush(nullptr);  // What cannot be written now cannot be written at all.
  (void)TerminateProcess(GetCurrentProcess(), 0);
}

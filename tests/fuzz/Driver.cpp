// A small stand-in for a coverage-guided fuzzer, linked with each fuzz target in the ordinary
// (sanitizer) build: it runs the seed inputs, then random mutants of them for a bounded number
// of runs or seconds. It has no coverage feedback; its worth is that every CI run puts each
// reader through thousands of damaged inputs under the sanitizers. For long runs the same
// targets are built with libFuzzer (scripts/fuzz).
//
//   fuzz_<target> [--seconds S] [--runs N] [--seed N] [--dict FILE] [--max-len BYTES] SEED...
//
// A SEED is a file or a folder of files. When an input crashes, fails a sanitizer check or an
// oracle, it is written to "crash-<target>-<runs>" in the folder named by $PW_FUZZ_ARTIFACTS
// (else the current folder) before the program dies, so that the run can be repeated.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#if defined(__has_include)
#if __has_include(<sanitizer/common_interface_defs.h>) && (defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_UNDEFINED__))
#include <sanitizer/common_interface_defs.h>
#define PW_FUZZ_DEATH_CALLBACK 1
#endif
#endif

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// The input being run, for the crash handlers (which may only use async-signal-safe calls).
const uint8_t* currentData = nullptr;
size_t currentSize = 0;
char crashPath[4096] = "crash";

void WriteCurrentInput() {
  if (!currentData) return;
  const int file = ::open(crashPath, O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (file < 0) return;
  for (size_t done = 0; done < currentSize;) {
    const ssize_t n = ::write(file, currentData + done, currentSize - done);
    if (n <= 0) break;
    done += static_cast<size_t>(n);
  }
  ::close(file);
  static const char kSaid[] = "\nfuzz driver: the failing input was written to ";
  [[maybe_unused]] ssize_t ignored = ::write(2, kSaid, sizeof kSaid - 1);
  ignored = ::write(2, crashPath, std::strlen(crashPath));
  ignored = ::write(2, "\n", 1);
  currentData = nullptr;
}

extern "C" void OnFatalSignal(int signal) {
  WriteCurrentInput();
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

// libFuzzer's dictionary format: one token a line, in double quotes, optionally after a name
// and "="; "\\", "\"" and "\xNN" escapes; "#" starts a comment line.
std::vector<std::string> ReadDictionary(const fs::path& path) {
  std::vector<std::string> tokens;
  std::ifstream in(path);
  std::string line;
  while (std::getline(in, line)) {
    const size_t open = line.find('"');
    const size_t close = line.rfind('"');
    if (line.empty() || line[0] == '#' || open == std::string::npos || close <= open) continue;
    std::string token;
    for (size_t i = open + 1; i < close; ++i) {
      if (line[i] != '\\' || i + 1 >= close) {
        token += line[i];
      } else if (line[i + 1] == 'x' && i + 3 < close) {
        token += static_cast<char>(std::stoi(line.substr(i + 2, 2), nullptr, 16));
        i += 3;
      } else {
        token += line[++i];
      }
    }
    if (!token.empty()) tokens.push_back(token);
  }
  return tokens;
}

class Mutator {
 public:
  Mutator(uint32_t seed, std::vector<std::string> dictionary, size_t maxLength)
      : random_(seed), dictionary_(std::move(dictionary)), maxLength_(maxLength) {}

  size_t Below(size_t n) { return n == 0 ? 0 : static_cast<size_t>(random_() % n); }

  // One to six edits of `input`; `other` is another seed to splice from.
  std::string Mutate(std::string input, const std::string& other) {
    for (size_t edits = 1 + Below(6); edits > 0; --edits) Edit(input, other);
    if (input.size() > maxLength_) input.resize(maxLength_);
    return input;
  }

 private:
  void Edit(std::string& s, const std::string& other) {
    switch (Below(10)) {
      case 0:  // flip a bit
        if (!s.empty()) s[Below(s.size())] ^= static_cast<char>(1u << Below(8));
        break;
      case 1:  // a random byte
        if (!s.empty()) s[Below(s.size())] = static_cast<char>(random_());
        break;
      case 2: {  // insert random bytes
        std::string bytes(1 + Below(8), '\0');
        for (char& c : bytes) c = static_cast<char>(random_());
        s.insert(Below(s.size() + 1), bytes);
        break;
      }
      case 3:  // erase a range
        if (!s.empty()) {
          const size_t at = Below(s.size());
          s.erase(at, 1 + Below(std::min<size_t>(s.size() - at, 256)));
        }
        break;
      case 4:  // copy a range of itself elsewhere, over or into
        if (!s.empty()) {
          const size_t from = Below(s.size());
          const std::string piece = s.substr(from, 1 + Below(std::min<size_t>(s.size() - from, 256)));
          const size_t to = Below(s.size() + 1);
          if (random_() & 1) s.insert(to, piece);
          else s.replace(to, piece.size(), piece);
        }
        break;
      case 5:
      case 6:  // a token of the format
        if (!dictionary_.empty()) {
          const std::string& token = dictionary_[Below(dictionary_.size())];
          const size_t at = Below(s.size() + 1);
          if (random_() & 1) s.insert(at, token);
          else s.replace(at, token.size(), token);
        }
        break;
      case 7: {  // a telling number over four bytes, either order
        static constexpr uint32_t kValues[] = {0, 1, 2, 0x7F, 0x80, 0xFF, 0x100, 0xFFFF, 0x10000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
        if (s.size() < 4) break;
        const uint32_t v = kValues[Below(std::size(kValues))];
        const size_t at = Below(s.size() - 3);
        const bool big = random_() & 1;
        for (size_t k = 0; k < 4; ++k) s[at + k] = static_cast<char>(v >> (big ? 8 * (3 - k) : 8 * k));
        break;
      }
      case 8:  // splice with another seed
        if (!other.empty()) {
          const size_t from = Below(other.size());
          s = s.substr(0, Below(s.size() + 1)) + other.substr(from, 1 + Below(other.size() - from));
        }
        break;
      default:  // cut off
        if (!s.empty()) s.resize(Below(s.size()));
        break;
    }
  }

  std::mt19937 random_;
  std::vector<std::string> dictionary_;
  size_t maxLength_;
};

void AddSeeds(const fs::path& path, std::vector<std::string>& seeds) {
  std::error_code error;
  if (fs::is_directory(path, error)) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(path, error))
      if (entry.is_regular_file(error)) files.push_back(entry.path());
    std::sort(files.begin(), files.end());  // the same order on every run
    for (const fs::path& file : files) AddSeeds(file, seeds);
    return;
  }
  std::ifstream in(path, std::ios::binary);
  if (!in) return;
  seeds.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void Run(const std::string& input) {
  currentData = reinterpret_cast<const uint8_t*>(input.data());
  currentSize = input.size();
  LLVMFuzzerTestOneInput(currentData, currentSize);
  currentData = nullptr;
}

}  // namespace

int main(int argc, char** argv) {
  double seconds = 10;
  unsigned long long maxRuns = ~0ull;
  uint32_t seed = 20261123;
  size_t maxLength = 0;
  std::vector<std::string> dictionary;
  std::vector<std::string> seeds;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    const bool hasValue = i + 1 < argc;
    if (arg == "--seconds" && hasValue) seconds = std::atof(argv[++i]);
    else if (arg == "--runs" && hasValue) maxRuns = std::strtoull(argv[++i], nullptr, 10);
    else if (arg == "--seed" && hasValue) seed = static_cast<uint32_t>(std::strtoul(argv[++i], nullptr, 10));
    else if (arg == "--max-len" && hasValue) maxLength = std::strtoull(argv[++i], nullptr, 10);
    else if (arg == "--dict" && hasValue) dictionary = ReadDictionary(argv[++i]);
    else AddSeeds(arg, seeds);
  }
  const std::string name = fs::path(argv[0]).filename().string();
  const char* artifacts = std::getenv("PW_FUZZ_ARTIFACTS");
  std::snprintf(crashPath, sizeof crashPath, "%s/crash-%s", artifacts && *artifacts ? artifacts : ".", name.c_str());
#ifdef PW_FUZZ_DEATH_CALLBACK
  __sanitizer_set_death_callback(WriteCurrentInput);
#endif
  for (const int signal : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL}) std::signal(signal, OnFatalSignal);

  if (seeds.empty()) seeds.emplace_back();
  size_t longest = 0;
  for (const std::string& s : seeds) longest = std::max(longest, s.size());
  if (maxLength == 0) maxLength = std::max<size_t>(4096, 2 * longest);

  const auto start = Clock::now();
  const auto until = start + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
  unsigned long long runs = 0;
  for (const std::string& s : seeds) {
    Run(s);
    ++runs;
  }
  Mutator mutator(seed, std::move(dictionary), maxLength);
  // Mutants of mutants reach further from the seeds; a few recent ones are kept for that.
  std::vector<std::string> recent;
  while (runs < maxRuns && Clock::now() < until) {
    const bool stacked = !recent.empty() && mutator.Below(4) == 0;
    const std::string& base = stacked ? recent[mutator.Below(recent.size())] : seeds[mutator.Below(seeds.size())];
    std::string mutant = mutator.Mutate(base, seeds[mutator.Below(seeds.size())]);
    Run(mutant);
    ++runs;
    if (recent.size() < 64) recent.push_back(std::move(mutant));
    else recent[mutator.Below(recent.size())] = std::move(mutant);
  }
  const double taken = std::chrono::duration<double>(Clock::now() - start).count();
  std::printf("%s: %llu runs in %.1f s (%zu seeds)\n", name.c_str(), runs, taken, seeds.size());
  return 0;
}

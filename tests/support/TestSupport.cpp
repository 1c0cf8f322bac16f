#include "support/TestSupport.h"

#include <unicode/uchar.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

#include "common/Files.h"
#include "common/Utf8.h"

namespace pw::test {
namespace {

std::string ShellQuote(const std::string& s) {
  std::string out = "'";
  for (char c : s) {
    if (c == '\'') out += "'\\''";
    else out += c;
  }
  return out + "'";
}

}  // namespace

fs::path DataPath(std::string_view relative) { return fs::path(PW_TEST_DATA_DIR) / relative; }

std::string ReadData(std::string_view relative) {
  std::string text;
  const fs::path path = DataPath(relative);
  if (!common::ReadWholeFile(path, text)) ADD_FAILURE() << "missing test data: " << path;
  return text;
}

fs::path CorpusPath(std::string_view relative) {
  const fs::path root(PW_CORPUS_DIR);
  if (!fs::is_directory(root)) return {};
  return root / relative;
}

fs::path ProgramPath() { return fs::path(PW_BINARY); }

fs::path ShippedDataPath(std::string_view relative) {
  const fs::path root(PW_SOURCE_DATA_DIR);
  return relative.empty() ? root : root / relative;
}

::testing::AssertionResult MatchesGolden(std::string_view actual, std::string_view relative) {
  const fs::path golden = DataPath(relative);
  const char* update = std::getenv("PW_UPDATE_GOLDEN");
  if (update && std::string_view(update) == "1") {
    fs::create_directories(golden.parent_path());
    if (!common::WriteFileAtomic(golden, actual))
      return ::testing::AssertionFailure() << "cannot write " << golden;
    return ::testing::AssertionSuccess();
  }
  std::string expected;
  if (!common::ReadWholeFile(golden, expected))
    return ::testing::AssertionFailure()
           << "missing golden file " << golden << " (run with PW_UPDATE_GOLDEN=1 to create it)";
  if (expected == actual) return ::testing::AssertionSuccess();

  ScratchFolder scratch;
  const fs::path actualPath = scratch / "actual";
  common::WriteFileAtomic(actualPath, actual);
  std::string diff;
  RunCommand("diff -u " + ShellQuote(golden.string()) + " " + ShellQuote(actualPath.string()),
             &diff);
  return ::testing::AssertionFailure() << "differs from golden " << relative << ":\n" << diff;
}

ScratchFolder::ScratchFolder() {
  static std::atomic<unsigned> counter{0};
  path_ = fs::temp_directory_path() /
          ("pwtest_" + std::to_string(::getpid()) + "_" + std::to_string(counter++));
  fs::remove_all(path_);
  fs::create_directories(path_);
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

int RunCommand(const std::string& command, std::string* output) {
  const std::string full = command + " 2>&1";
  FILE* pipe = ::popen(full.c_str(), "r");
  if (!pipe) return -1;
  std::array<char, 4096> buffer;
  std::string captured;
  size_t n;
  while ((n = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0) captured.append(buffer.data(), n);
  const int status = ::pclose(pipe);
  if (output) *output = std::move(captured);
  if (WIFEXITED(status)) return WEXITSTATUS(status);
  return -1;
}

std::map<char32_t, size_t> LetterCounts(std::string_view text) {
  std::map<char32_t, size_t> counts;
  for (size_t pos = 0; pos < text.size();) {
    const char32_t c = common::NextCodePoint(text, pos);
    if (u_isalpha(static_cast<UChar32>(c))) ++counts[c];
  }
  return counts;
}

}  // namespace pw::test

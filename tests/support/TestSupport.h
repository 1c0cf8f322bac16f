// Helpers shared by the test programs: golden files, test data, scratch folders.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace pw::test {

namespace fs = std::filesystem;

// tests/data/<relative>
fs::path DataPath(std::string_view relative);
// Whole file from tests/data; fails the test when missing.
std::string ReadData(std::string_view relative);

// ../shared/corpus/<relative>; empty path when the corpus is not beside the checkout.
fs::path CorpusPath(std::string_view relative);

// The pagewright program built with the tests.
fs::path ProgramPath();

// data/<relative> of the source tree: the shipped data files (schema, rule files, sample book).
fs::path ShippedDataPath(std::string_view relative);

// Compares `actual` with the golden file tests/data/<relative> byte for byte; on a difference,
// fails with a unified diff. With PW_UPDATE_GOLDEN=1 in the environment, rewrites the golden
// file instead (for deliberate changes, reviewed in git).
::testing::AssertionResult MatchesGolden(std::string_view actual, std::string_view relative);

// A fresh empty folder under the system temp folder, removed when the object goes.
class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  const fs::path& path() const { return path_; }
  fs::path operator/(std::string_view name) const { return path_ / name; }

 private:
  fs::path path_;
};

// How often each letter (in Unicode's sense) stands in `text`: what a conversion must keep.
std::map<char32_t, size_t> LetterCounts(std::string_view text);

// Runs a shell command, returns its exit code and captures stdout and stderr together.
int RunCommand(const std::string& command, std::string* output = nullptr);

}  // namespace pw::test

#include "support/Fb2Validity.h"

#include "common/Files.h"
#include "fb2/Fb2Checks.h"
#include "fb2/Fb2Schema.h"
#include "support/TestSupport.h"

namespace pw::test {

std::filesystem::path PublicFb2Schema() {
  const std::filesystem::path path = CorpusPath("schema/FictionBook.xsd");
  if (path.empty() || !std::filesystem::exists(path)) return {};
  return path;
}

std::vector<std::string> Fb2Problems(std::string_view fb2, Fb2Checks checks) {
  std::vector<std::string> problems;
  auto add = [&problems](std::string_view source, const std::vector<fb2::Fb2Finding>& findings) {
    for (const auto& f : findings) problems.push_back(std::string(source) + ":" + std::to_string(f.line) + ": " + f.message);
  };
  add("shipped schema", fb2::ValidateFb2Schema(fb2, ShippedDataPath("") / fb2::kFb2SchemaFile));
  if (const auto publicSchema = PublicFb2Schema(); !publicSchema.empty())
    add("public schema", fb2::ValidateFb2Schema(fb2, publicSchema));
  if (checks == Fb2Checks::kSchemasAndStructure) add("structure", fb2::CheckFb2Structure(fb2));
  return problems;
}

::testing::AssertionResult IsValidFb2(std::string_view fb2, Fb2Checks checks) {
  const auto problems = Fb2Problems(fb2, checks);
  if (problems.empty()) return ::testing::AssertionSuccess();
  auto failure = ::testing::AssertionFailure() << "the FB2 is not valid:";
  for (const auto& p : problems) failure << "\n  " << p;
  return failure;
}

::testing::AssertionResult IsValidFb2File(const std::filesystem::path& path, Fb2Checks checks) {
  std::string bytes;
  if (!common::ReadWholeFile(path, bytes)) return ::testing::AssertionFailure() << "cannot read " << path;
  auto result = IsValidFb2(bytes, checks);
  if (!result) result << "\n(file " << path.string() << ")";
  return result;
}

}  // namespace pw::test

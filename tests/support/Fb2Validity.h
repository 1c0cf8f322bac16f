// Test helper: the one check every FB2 a test writes goes through. The shipped schema
// (data/FictionBook.xsd) always, the public FictionBook 2.0 schema of the sample corpus whenever
// it is beside the checkout, and the structure checks of `pagewright validate`.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace pw::test {

enum class Fb2Checks {
  kSchemas,               // the shipped schema and the public one
  kSchemasAndStructure,   // and the checks beyond the schema (links, ids, binaries, sections)
};

// The public schema of the sample corpus; empty when the corpus is not beside the checkout.
std::filesystem::path PublicFb2Schema();

// Every finding on `fb2` (bytes in their own encoding), each as "<schema>:<line>: <message>"
// with <schema> one of "shipped schema", "public schema", "structure"; empty when valid.
std::vector<std::string> Fb2Problems(std::string_view fb2, Fb2Checks checks = Fb2Checks::kSchemasAndStructure);

// Success when `Fb2Problems` finds nothing; the failure lists every finding. Use as
// EXPECT_TRUE(pw::test::IsValidFb2(bytes)) << "what was written".
::testing::AssertionResult IsValidFb2(std::string_view fb2, Fb2Checks checks = Fb2Checks::kSchemasAndStructure);
::testing::AssertionResult IsValidFb2File(const std::filesystem::path& path,
                                          Fb2Checks checks = Fb2Checks::kSchemasAndStructure);

}  // namespace pw::test

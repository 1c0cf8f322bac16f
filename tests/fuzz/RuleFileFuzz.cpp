// Rule files: the binary table and the older text form. Oracle: a table that was read is written
// and reads back equal. The rows then run over a short sample text.
#include <cstdint>

#include "FuzzSupport.h"
#include "corrector/CleanUpRules.h"
#include "corrector/RuleFile.h"

using namespace pw;

namespace {

void CheckRoundTrip(const corrector::CleanUpTable& table) {
  corrector::CleanUpTable back;
  std::string error;
  PW_FUZZ_CHECK(corrector::ReadRuleFile(corrector::WriteRuleFile(table), back, error), "a written rule file reads back: " + error);
  PW_FUZZ_CHECK(back == table, "the rule table read back is the one written");
}

constexpr std::string_view kSample =
    "<P>Глава первая</P>\r\n<P>  Он сказал:  -- Нет... \"Да\" -- и ушёл.</P>\r\n"
    "<P>The road went on and on,, and on!!   Then--nothing.</P>\r\n<P>chr(133) uni(8212) &amp; &nbsp;</P>\r\n";

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes = fuzz::AsText(data, size);
  corrector::CleanUpTable table;
  std::string error;
  bool read = corrector::ReadRuleFile(bytes, table, error);
  if (read) CheckRoundTrip(table);
  corrector::CleanUpTable old;
  if (corrector::ParseOldRuleFile(bytes, old, error)) {
    CheckRoundTrip(old);
    if (!read) table = std::move(old), read = true;
  }
  if (!read) return 0;
  corrector::CleanUpReport report;
  corrector::ApplyCleanUpRules(kSample, table.rows, common::CodePage::Win1251, common::NoProgress(), &report);
  return 0;
}

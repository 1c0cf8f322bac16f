#include "corrector/CleanUpFile.h"

#include "common/Files.h"
#include "corrector/RuleFile.h"

namespace pw::corrector {

std::string ApplyCleanUpFile(std::string_view text, std::string_view ruleFile,
                             const std::filesystem::path& ruleFolder, common::Session& session) {
  if (ruleFile.empty() || ruleFile == kNoRuleFile) return std::string(text);
  std::filesystem::path path(ruleFile);
  if (path.is_relative() && !common::FileExists(path)) path = ruleFolder / path;
  if (!common::FileExists(path)) {
    session.messages.Show(common::Msg::CleanUpFileNotFound, ": " + path.string());
    return std::string(text);
  }
  session.progress.Status("...BookCleaner: " + path.filename().string() + "...");
  CleanUpTable table;
  std::string error;
  if (!LoadReplacementTable(path, table, error)) {
    session.messages.Show(common::Msg::ErrorReadingFile, error);
    return std::string(text);
  }
  CleanUpReport report;
  std::string result = ApplyCleanUpRules(text, table.rows, session.codePage, session.progress, &report);
  for (const std::string& problem : report.errors) session.messages.Show(common::Msg::BadRegularExpression, problem);
  if (report.stop) session.messages.Show(*report.stop, std::to_string(report.stoppedRow));
  return result;
}

}  // namespace pw::corrector

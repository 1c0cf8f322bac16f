// The workshop's requests of the book corrector: rule files and the Book Cleaner's runs, the
// lists of suspect paragraphs and their repair, hyphenation, and the corrector palette (its
// command table, the selection steps, the structure commands and the book's statistics).
// Commands that change the book take the HTML the page shows and answer with the HTML that
// replaces it, so that the page records each of them as one step of its history.
#include <httplib.h>
#include <nlohmann/json.hpp>

#include <algorithm>

#include "app/WorkshopRoutes.h"
#include "app/WorkshopServer.h"
#include "common/Files.h"
#include "common/Text.h"
#include "corrector/CleanUpFile.h"
#include "corrector/CleanUpRules.h"
#include "corrector/PaletteCommands.h"
#include "corrector/ParagraphEnds.h"
#include "corrector/ParagraphLists.h"
#include "corrector/RuleFile.h"
#include "corrector/RuleTableEditing.h"
#include "corrector/StructureCommands.h"
#include "import/Charset.h"
#include "markup/TagReader.h"
#include "shell/SettingsFile.h"
#include "shell/StartUp.h"

namespace pw::app {
namespace {

namespace fs = std::filesystem;
using json = nlohmann::json;

json Parse(const httplib::Request& request) {
  json in = json::parse(request.body, nullptr, false);
  return in.is_object() ? in : json::object();
}

std::string Text(const json& in, const char* key) {
  return in.contains(key) && in[key].is_string() ? in[key].get<std::string>() : std::string();
}

bool Flag(const json& in, const char* key) { return in.contains(key) && in[key].is_boolean() && in[key].get<bool>(); }

common::CodePage BookCodePage(const common::Settings& settings) {
  common::CodePage cp = common::CodePage::Win1251;
  common::ParseCodePage(settings.bookCodePage, cp);
  return cp;
}

json RowsJson(const std::vector<corrector::CleanUpRule>& rows) {
  json out = json::array();
  for (const auto& row : rows)
    out.push_back({{"RepWhat", row.RepWhat}, {"RepBy", row.RepBy}, {"Case", row.Case}, {"RegExp", row.RegExp},
                   {"Enabled", row.Enabled}});
  return out;
}

std::vector<corrector::CleanUpRule> RowsFrom(const json& in) {
  std::vector<corrector::CleanUpRule> rows;
  if (!in.contains("rows") || !in["rows"].is_array()) return rows;
  for (const json& row : in["rows"]) {
    if (!row.is_object()) continue;
    corrector::CleanUpRule rule;
    rule.RepWhat = Text(row, "RepWhat");
    rule.RepBy = Text(row, "RepBy");
    rule.Case = Flag(row, "Case");
    rule.RegExp = Flag(row, "RegExp");
    rule.Enabled = Flag(row, "Enabled");
    rows.push_back(std::move(rule));
  }
  return rows;
}

json TableJson(const std::string& name, const corrector::CleanUpTable& table) {
  return {{"ok", true}, {"name", name}, {"mode", table.mode}, {"rows", RowsJson(table.rows)}, {"comment", table.comment}};
}

// A rule file's name as the user typed it, kept inside the rule folder: the last path part,
// with the rule-file extension.
std::string RuleFileName(std::string name) {
  name = fs::path(name).filename().string();
  for (char& c : name)
    if (c == '/' || c == '\\' || c == ':' || static_cast<unsigned char>(c) < 32) c = '_';
  if (name.empty() || name == "." || name == "..") return {};
  const std::string extension = "." + std::string(corrector::kRuleFileExtension);
  if (!common::EndsWith(common::AsciiLower(name), extension)) name += extension;
  return name;
}

// A slot as the dialog shows it: "none", the file's name, or "file not found".
json SlotJson(const std::string& file, const fs::path& folder) {
  if (file.empty() || file == corrector::kNoRuleFile) return {{"file", "none"}, {"found", true}};
  const fs::path path = fs::path(file).is_absolute() ? fs::path(file) : folder / file;
  std::error_code ec;
  return {{"file", file}, {"found", fs::is_regular_file(path, ec)}};
}

json ProblemsJson(const std::vector<corrector::RuleProblem>& problems) {
  json out = json::array();
  for (const auto& problem : problems) out.push_back({{"row", problem.row}, {"message", problem.message}});
  return out;
}

std::string ValidEnds(const common::Settings& settings) {
  return common::DecodeCharNotation(settings.validParagraphEnds, BookCodePage(settings));
}

}  // namespace

void AddCorrectorRoutes(httplib::Server& server, WorkshopServer& workshop) {
  // ----- Book Cleaner: rule files -----
  server.Get("/api/cleanup/files", [&workshop](const httplib::Request&, httplib::Response& response) {
    std::lock_guard lock(workshop.bookMutex());
    const fs::path folder = workshop.shell().workshop().bookCleaner();
    std::vector<std::string> files;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(folder, ec))
      if (entry.is_regular_file() && common::LowerExtension(entry.path()) == corrector::kRuleFileExtension)
        files.push_back(entry.path().filename().string());
    std::sort(files.begin(), files.end());
    const common::Settings& settings = workshop.shell().settings();
    Reply(response, {{"files", files},
                     {"folder", folder.string()},
                     {"slots", {{"before", SlotJson(settings.cleanUpBefore, folder)},
                                {"after", SlotJson(settings.cleanUpAfter, folder)},
                                {"output", SlotJson(settings.cleanUpOutput, folder)}}},
                     {"fontSize", settings.cleanUpTableFontSize},
                     {"fontWeight", settings.cleanUpTableFontWeight}});
  });

  server.Post("/api/cleanup/load", [&workshop](const httplib::Request& request, httplib::Response& response) {
    const std::string name = RuleFileName(Text(Parse(request), "name"));
    std::lock_guard lock(workshop.bookMutex());
    corrector::CleanUpTable table;
    std::string error;
    if (name.empty() || !corrector::LoadReplacementTable(workshop.shell().workshop().bookCleaner() / name, table, error))
      return Reply(response, {{"ok", false}, {"error", name + ": " + error}});
    Reply(response, TableJson(name, table));
  });

  // Saving asks first when the file exists: the answer says so and the page asks "Replace?".
  server.Post("/api/cleanup/save", [&workshop](const httplib::Request& request, httplib::Response& response) {
    const json in = Parse(request);
    const std::string name = RuleFileName(Text(in, "name"));
    if (name.empty()) return Reply(response, {{"ok", false}, {"error", "no file name"}}, 400);
    corrector::CleanUpTable table;
    table.rows = RowsFrom(in);
    table.comment = Text(in, "comment");
    table.mode = in.contains("mode") && in["mode"] == 4 ? 4 : 3;
    std::lock_guard lock(workshop.bookMutex());
    const fs::path path = workshop.shell().workshop().bookCleaner() / name;
    std::error_code ec;
    if (fs::exists(path, ec) && !Flag(in, "replace"))
      return Reply(response, {{"ok", false}, {"exists", true}, {"path", path.string()}, {"name", name}});
    std::string error;
    if (!corrector::SaveReplacementTable(path, table, error)) return Reply(response, {{"ok", false}, {"error", error}});
    Reply(response, {{"ok", true}, {"name", name}});
  });

  server.Post("/api/cleanup/delete", [&workshop](const httplib::Request& request, httplib::Response& response) {
    const json in = Parse(request);
    if (!in.contains("names") || !in["names"].is_array()) return Reply(response, {{"ok", false}}, 400);
    std::lock_guard lock(workshop.bookMutex());
    size_t deleted = 0;
    for (const json& entry : in["names"]) {
      if (!entry.is_string()) continue;
      const std::string name = RuleFileName(entry.get<std::string>());
      std::error_code ec;
      if (!name.empty() && fs::remove(workshop.shell().workshop().bookCleaner() / name, ec)) ++deleted;
    }
    Reply(response, {{"ok", deleted > 0}, {"deleted", deleted}});
  });

  // An old ".dat" file, sent as text, becomes a rule file of the same base name at once.
  server.Post("/api/cleanup/import", [&workshop](const httplib::Request& request, httplib::Response& response) {
    const json in = Parse(request);
    std::lock_guard lock(workshop.bookMutex());
    common::Messages messages(workshop.channel(), workshop.shell().settings().interfaceLanguage);
    corrector::CleanUpTable table;
    std::string error;
    const std::string name = RuleFileName(fs::path(Text(in, "name")).stem().string());
    if (name.empty() || !corrector::ParseOldRuleFile(Text(in, "text"), table, error)) {
      messages.Show(common::Msg::CannotImportFile);
      return Reply(response, {{"ok", false}});
    }
    if (!corrector::SaveReplacementTable(workshop.shell().workshop().bookCleaner() / name, table, error))
      return Reply(response, {{"ok", false}, {"error", error}});
    Reply(response, TableJson(name, table));
  });

  // A table command: the rows, the page's clipboard and the selected rows in, the new rows and
  // clipboard out, or the message for a bad selection.
  server.Post("/api/cleanup/edit", [&workshop](const httplib::Request& request, httplib::Response& response) {
    const json in = Parse(request);
    corrector::CleanUpTable table;
    table.rows = RowsFrom(in);
    corrector::CleanUpTableEditor editor(table);
    if (in.contains("clipboard") && in["clipboard"].is_object()) editor.SetClipboard(RowsFrom(in["clipboard"]));
    std::optional<corrector::RowSelection> selection;
    if (in.contains("first") && in["first"].is_number_unsigned() && in.contains("last") && in["last"].is_number_unsigned())
      selection = corrector::RowSelection{in["first"].get<size_t>(), in["last"].get<size_t>()};
    using corrector::Where;
    const std::string command = Text(in, "command");
    std::optional<common::Msg> message;
    if (command == "addend") message = editor.AddRow(Where::AtEnd, selection);
    else if (command == "addbefore") message = editor.AddRow(Where::Before, selection);
    else if (command == "addafter") message = editor.AddRow(Where::After, selection);
    else if (command == "delete") message = editor.RemoveRows(selection);
    else if (command == "copy") message = editor.CopyRows(selection);
    else if (command == "cut") message = editor.CutRows(selection);
    else if (command == "pastebefore") message = editor.PasteRows(Where::Before, selection);
    else if (command == "pasteafter") message = editor.PasteRows(Where::After, selection);
    else if (command == "moveup") message = editor.MoveRows(true, selection);
    else if (command == "movedown") message = editor.MoveRows(false, selection);
    else if (command == "checkall") editor.CheckAll(true);
    else if (command == "uncheckall") editor.CheckAll(false);
    else if (command == "clear") editor.Clear();
    else return Reply(response, {{"ok", false}, {"error", "unknown command"}}, 400);
    if (message) {
      std::lock_guard lock(workshop.bookMutex());
      common::Messages messages(workshop.channel(), workshop.shell().settings().interfaceLanguage);
      return Reply(response, {{"ok", false}, {"message", messages.Text(*message)}});
    }
    Reply(response, {{"ok", true}, {"rows", RowsJson(table.rows)}, {"clipboard", {{"rows", RowsJson(editor.clipboard())}}},
                      {"changed", editor.changed()}});
  });

  server.Post("/api/cleanup/validate", [](const httplib::Request& request, httplib::Response& response) {
    Reply(response, {{"problems", ProblemsJson(corrector::ValidateRules(RowsFrom(Parse(request))))}});
  });

  // The slots and the table font, kept in the settings file at once.
  server.Post("/api/cleanup/slots", [&workshop](const httplib::Request& request, httplib::Response& response) {
    const json in = Parse(request);
    std::lock_guard lock(workshop.bookMutex());
    common::Settings& settings = workshop.shell().settings();
    for (auto [key, field] : {std::pair{"before", &settings.cleanUpBefore}, std::pair{"after", &settings.cleanUpAfter},
                              std::pair{"output", &settings.cleanUpOutput}}) {
      if (!in.contains(key) || !in[key].is_string()) continue;
      const std::string value = in[key];
      *field = value.empty() || value == corrector::kNoRuleFile ? std::string(corrector::kNoRuleFile) : RuleFileName(value);
    }
    static constexpr std::string_view kSizes[] = {"x-small", "small", "medium", "large", "x-large", "xx-large"};
    const std::string size = Text(in, "fontSize");
    if (std::find(std::begin(kSizes), std::end(kSizes), size) != std::end(kSizes)) settings.cleanUpTableFontSize = size;
    const std::string weight = Text(in, "fontWeight");
    if (weight == "bold" || weight == "normal") settings.cleanUpTableFontWeight = weight;
    Reply(response, {{"ok", shell::SaveSettings(workshop.shell().workshop().settingsFile(), settings)}});
  });

  // CleanAllB and CleanSelB: the table runs over the HTML the page sends (the book's body, or
  // the selection). A bad expression stops everything before it runs, shown at its row.
  server.Post("/api/cleanup/run", [&workshop](const httplib::Request& request, httplib::Response& response) {
    const json in = Parse(request);
    const auto rows = RowsFrom(in);
    const auto problems = corrector::ValidateRules(rows);
    if (!problems.empty()) return Reply(response, {{"ok", false}, {"problems", ProblemsJson(problems)}});
    std::lock_guard lock(workshop.bookMutex());
    const common::Settings& settings = workshop.shell().settings();
    common::Messages messages(workshop.channel(), settings.interfaceLanguage);
    corrector::CleanUpReport report;
    std::string html;
    if (Flag(in, "selection")) {
      corrector::SelectionFragment fragment{Flag(in, "hasSelection"), Flag(in, "usable"),
                                            markup::ToBookSpelling(Text(in, "html"))};
      auto result = corrector::CleanUpFragment(fragment, rows, BookCodePage(settings), workshop.channel(), &report);
      if (result.message) {
        messages.Show(*result.message);
        return Reply(response, {{"ok", false}});
      }
      html = std::move(result.html);
    } else {
      workshop.channel().Status("...getting book html...wait, please...");
      html = corrector::ApplyCleanUpRules(corrector::FlattenLineBreaks(markup::ToBookSpelling(Text(in, "html"))), rows,
                                          BookCodePage(settings), workshop.channel(), &report);
      workshop.channel().Status("...inserting new fragment...wait, please...");
    }
    for (const std::string& error : report.errors) messages.ShowText(error);
    if (report.stop) {
      // A rule past the bounds: the book stays as it was.
      messages.Show(*report.stop, std::to_string(report.stoppedRow));
      return Reply(response, {{"ok", false}, {"stoppedRow", report.stoppedRow}});
    }
    workshop.shell().session().MarkChanged();
    Reply(response, {{"ok", true}, {"html", html}, {"counts", report.counts}});
  });

  // ----- Paragraph lists and repair -----
  server.Post("/api/paragraphs", [&workshop](const httplib::Request& request, httplib::Response& response) {
    const json in = Parse(request);
    corrector::ParagraphCheck check;
    if (!corrector::ParseParagraphCheck(Text(in, "check"), check)) return Reply(response, {{"ok", false}}, 400);
    std::lock_guard lock(workshop.bookMutex());
    const std::string ends = ValidEnds(workshop.shell().settings());
    json items = json::array();
    for (const auto& item : corrector::ListParagraphs(markup::ToBookSpelling(Text(in, "html")), check, ends))
      items.push_back({{"index", item.index}, {"shown", item.shown}});
    Reply(response, {{"ok", true}, {"items", items}});
  });

  // The good paragraph ends: as typed, the default and the preview; "done" keeps them.
  server.Get("/api/paragraph-ends", [&workshop](const httplib::Request&, httplib::Response& response) {
    std::lock_guard lock(workshop.bookMutex());
    const common::Settings& settings = workshop.shell().settings();
    Reply(response, {{"typed", settings.validParagraphEnds},
                     {"default", corrector::kDefaultParagraphEnds},
                     {"preview", corrector::ParagraphEnds::Preview(settings.validParagraphEnds, BookCodePage(settings))}});
  });
  server.Post("/api/paragraph-ends", [&workshop](const httplib::Request& request, httplib::Response& response) {
    const json in = Parse(request);
    const std::string typed = Text(in, "typed");
    std::lock_guard lock(workshop.bookMutex());
    common::Settings& settings = workshop.shell().settings();
    const std::string preview = corrector::ParagraphEnds::Preview(typed, BookCodePage(settings));
    bool saved = false;
    if (Flag(in, "done")) {
      settings.validParagraphEnds = typed;
      saved = shell::SaveSettings(workshop.shell().workshop().settingsFile(), settings);
    }
    Reply(response, {{"ok", true}, {"preview", preview}, {"saved", saved}});
  });

  // Commands over the whole body: page breaks, joining, words shifted up, hyphenation.
  server.Post("/api/body", [&workshop](const httplib::Request& request, httplib::Response& response) {
    const json in = Parse(request);
    const std::string command = Text(in, "command");
    std::string body = markup::ToBookSpelling(Text(in, "html"));
    corrector::BodyCommandInput input;
    if (in.contains("paragraph") && in["paragraph"].is_number_unsigned()) input.paragraph = in["paragraph"];
    input.language = Text(in, "language");
    if (input.language.empty() || input.language == "auto")
      input.language = import::DetectLanguage(corrector::ParagraphPlainText(std::string_view(body).substr(0, 200000)));
    std::lock_guard lock(workshop.bookMutex());
    const common::Settings& settings = workshop.shell().settings();
    common::Messages messages(workshop.channel(), settings.interfaceLanguage);
    const auto result = corrector::ApplyBodyCommand(command, body, input, ValidEnds(settings), workshop.channel(), messages);
    if (!result.known) return Reply(response, {{"ok", false}, {"error", "unknown command"}}, 400);
    if (result.changed) workshop.shell().session().MarkChanged();
    Reply(response, {{"ok", true}, {"changed", result.changed}, {"html", result.changed ? body : std::string()},
                     {"language", input.language}});
  });

  // ----- The corrector palette -----
  server.Get("/api/palette", [](const httplib::Request&, httplib::Response& response) {
    static constexpr const char* kGroups[] = {"marking", "navigation", "structure"};
    static constexpr const char* kTargets[] = {"selection", "book", "body", "structure", "select", "page"};
    json commands = json::array();
    for (const auto& command : corrector::PaletteCommands())
      commands.push_back({{"key", command.key},
                          {"group", kGroups[static_cast<int>(command.group)]},
                          {"target", kTargets[static_cast<int>(command.target)]},
                          {"operation", command.operation},
                          {"en", command.english},
                          {"ru", command.russian}});
    Reply(response, {{"commands", commands}});
  });

  server.Post("/api/palette/select", [](const httplib::Request& request, httplib::Response& response) {
    const json in = Parse(request);
    const auto number = [&](const char* key) {
      return in.contains(key) && in[key].is_number_unsigned() ? in[key].get<size_t>() : size_t{0};
    };
    const auto step = corrector::StepElementSelection(Text(in, "command"), {number("first"), number("last")},
                                                      number("count"));
    if (!step) return Reply(response, {{"ok", false}});
    Reply(response, {{"ok", true}, {"first", step->first}, {"last", step->last}});
  });

  server.Post("/api/structure", [&workshop](const httplib::Request& request, httplib::Response& response) {
    const json in = Parse(request);
    std::lock_guard lock(workshop.bookMutex());
    const common::Settings& settings = workshop.shell().settings();
    common::Messages messages(workshop.channel(), settings.interfaceLanguage);
    const auto result = corrector::ApplyStructureCommand(Text(in, "command"), markup::ToBookSpelling(Text(in, "html")),
                                                         settings, messages);
    if (!result.known) return Reply(response, {{"ok", false}, {"error", "unknown command"}}, 400);
    if (result.replace) workshop.shell().session().MarkChanged();
    Reply(response, {{"ok", true}, {"replace", result.replace}, {"html", result.html}});
  });

  server.Post("/api/bookinfo", [](const httplib::Request& request, httplib::Response& response) {
    const auto s = corrector::CountBookStatistics(markup::ToBookSpelling(Text(Parse(request), "html")));
    Reply(response, {{"paragraphs", s.paragraphs}, {"words", s.words}, {"characters", s.characters},
                     {"bookAuthors", s.bookAuthors}, {"bookTitles", s.bookTitles}, {"titles", s.titles},
                     {"subtitles", s.subtitles}, {"epigraphs", s.epigraphs}, {"verses", s.verses},
                     {"cites", s.cites}, {"textAuthors", s.textAuthors}, {"annotations", s.annotations},
                     {"noteBlocks", s.noteBlocks}, {"notes", s.notes}, {"pictures", s.pictures},
                     {"pageBreaks", s.pageBreaks}});
  });
}

}  // namespace pw::app

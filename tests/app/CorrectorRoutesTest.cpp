#include <gtest/gtest.h>
#include <httplib.h>
#include <nlohmann/json.hpp>

#include "app/RunningWorkshop.h"
#include "common/Files.h"
#include "corrector/RuleFile.h"
#include "shell/SettingsFile.h"

namespace pw::app {
namespace {

namespace fs = std::filesystem;
using json = nlohmann::json;

json Post(httplib::Client& client, const char* path, const json& body) {
  const auto answer = client.Post(path, body.dump(), "application/json");
  EXPECT_TRUE(answer);
  if (!answer) return json::object();
  return json::parse(answer->body, nullptr, false);
}

json Get(httplib::Client& client, const char* path) {
  const auto answer = client.Get(path);
  EXPECT_TRUE(answer);
  return answer ? json::parse(answer->body, nullptr, false) : json::object();
}

// A new rule file written from the Book Cleaner, saved, asked before it is replaced, run over
// the page's book with a count a row, and refused at its row when an expression is bad.
TEST(CorrectorRoutes, RuleFileWrittenSavedAndRun) {
  test::RunningWorkshop workshop;
  httplib::Client client = workshop.Client();
  const json rows = json::array({{{"RepWhat", "(\\d+) руб\\."}, {"RepBy", "$1 ₽"}, {"Case", true}, {"RegExp", true}, {"Enabled", true}},
                                 {{"RepWhat", "--"}, {"RepBy", "uni(8212)"}, {"Case", true}, {"RegExp", false}, {"Enabled", true}}});
  json saved = Post(client, "/api/cleanup/save", {{"name", "../Mine"}, {"rows", rows}, {"comment", "<p>мои</p>"}});
  ASSERT_TRUE(saved["ok"].get<bool>()) << saved;
  EXPECT_EQ(saved["name"], "Mine.bcf");
  const fs::path file = workshop.folder / "home" / "BookCleaner" / "Mine.bcf";
  ASSERT_TRUE(common::FileExists(file));
  // Saving again over it: the page is told, and nothing changes until it says replace.
  json again = Post(client, "/api/cleanup/save", {{"name", "Mine"}, {"rows", json::array()}});
  EXPECT_FALSE(again["ok"].get<bool>());
  EXPECT_TRUE(again["exists"].get<bool>());
  corrector::CleanUpTable table;
  std::string error;
  ASSERT_TRUE(corrector::LoadReplacementTable(file, table, error));
  EXPECT_EQ(table.rows.size(), 2u);

  const json files = Get(client, "/api/cleanup/files");
  EXPECT_NE(std::find(files["files"].begin(), files["files"].end(), "Mine.bcf"), files["files"].end()) << files;
  EXPECT_EQ(files["slots"]["before"]["file"], "none");
  const json loaded = Post(client, "/api/cleanup/load", {{"name", "Mine.bcf"}});
  EXPECT_EQ(loaded["rows"], rows);
  EXPECT_EQ(loaded["comment"], "<p>мои</p>");

  const json run = Post(client, "/api/cleanup/run",
                        {{"rows", rows}, {"html", "<div align=\"justify\">5 руб. -- 7 руб.\n -- да</div>"}});
  ASSERT_TRUE(run["ok"].get<bool>()) << run;
  EXPECT_EQ(run["html"], "<DIV align=justify>5 ₽ — 7 ₽ — да</DIV>");
  EXPECT_EQ(run["counts"], json::array({2, 2}));

  json bad = rows;
  bad.push_back({{"RepWhat", "a(b"}, {"RepBy", ""}, {"Case", true}, {"RegExp", true}, {"Enabled", true}});
  const json refused = Post(client, "/api/cleanup/run", {{"rows", bad}, {"html", "x"}});
  EXPECT_FALSE(refused["ok"].get<bool>());
  ASSERT_EQ(refused["problems"].size(), 1u);
  EXPECT_EQ(refused["problems"][0]["row"], 2);
  // Cleaning a selection without one gives the dialog's message.
  const json nothing = Post(client, "/api/cleanup/run", {{"rows", rows}, {"selection", true}, {"hasSelection", false}});
  EXPECT_FALSE(nothing["ok"].get<bool>());
  const json state = Get(client, "/api/state");
  EXPECT_NE(state["messages"].dump().find("nothing selected - nothing cleaned"), std::string::npos) << state;

  EXPECT_TRUE(Post(client, "/api/cleanup/delete", {{"names", {"Mine.bcf"}}})["ok"].get<bool>());
  EXPECT_FALSE(common::FileExists(file));
}

TEST(CorrectorRoutes, SlotsAndSettingsAreWrittenAtOnce) {
  test::RunningWorkshop workshop;
  httplib::Client client = workshop.Client();
  const fs::path settingsFile = workshop.folder / "home" / "Pagewright.ini";
  ASSERT_TRUE(Post(client, "/api/cleanup/slots", {{"before", "Missing.bcf"}, {"fontSize", "large"}})["ok"].get<bool>());
  const json files = Get(client, "/api/cleanup/files");
  EXPECT_EQ(files["slots"]["before"]["file"], "Missing.bcf");
  EXPECT_FALSE(files["slots"]["before"]["found"].get<bool>());
  common::Settings onDisk;
  ASSERT_EQ(shell::RestoreSettings(settingsFile, onDisk), shell::RestoreResult::Read);
  EXPECT_EQ(onDisk.cleanUpBefore, "Missing.bcf");
  EXPECT_EQ(onDisk.cleanUpTableFontSize, "large");

  json changed = Post(client, "/api/settings",
                      {{"interfaceLanguage", "ru"}, {"mode", "LINE ENDS"}, {"colours", {{"title", "#123456"}}},
                       {"warnUnsaved", false}, {"outsidePrograms", {"/usr/bin/reader"}}, {"officeToolTimeout", 600}});
  ASSERT_TRUE(changed["ok"].get<bool>()) << changed;
  ASSERT_EQ(shell::RestoreSettings(settingsFile, onDisk), shell::RestoreResult::Read);
  EXPECT_EQ(onDisk.interfaceLanguage, common::Language::Russian);
  EXPECT_EQ(onDisk.paragraphMode, "line ends");
  EXPECT_EQ(onDisk.elementColours.title, "#123456");
  EXPECT_FALSE(onDisk.warnUnsaved);
  EXPECT_EQ(onDisk.outsidePrograms, std::vector<std::string>{"/usr/bin/reader"});
  EXPECT_EQ(onDisk.officeToolTimeout, 600);
  EXPECT_EQ(onDisk.pdfToolTimeout, 300);
  // A time-out must be a whole number of seconds, at least one and at most a day.
  for (const json& bad : {json(0), json(86401), json("60"), json(1.5)})
    EXPECT_EQ(client.Post("/api/settings", json({{"pdfToolTimeout", bad}}).dump(), "application/json")->status, 422) << bad;
  // A bad value refuses the whole change, named.
  const auto refused = client.Post("/api/settings", json({{"dashStyle", "huge"}, {"editorFont", "Serif"}}).dump(),
                                   "application/json");
  ASSERT_TRUE(refused);
  EXPECT_EQ(refused->status, 422);
  EXPECT_NE(refused->body.find("dashStyle"), std::string::npos);
  EXPECT_EQ(Get(client, "/api/settings")["editorFont"], "Times New Roman");
  ASSERT_TRUE(Post(client, "/api/settings", {{"resetColours", true}})["ok"].get<bool>());
  ASSERT_EQ(shell::RestoreSettings(settingsFile, onDisk), shell::RestoreResult::Read);
  EXPECT_EQ(onDisk.elementColours, common::ElementColours{});
}

TEST(CorrectorRoutes, PaletteListsAndBodyCommands) {
  test::RunningWorkshop workshop;
  httplib::Client client = workshop.Client();
  const json palette = Get(client, "/api/palette");
  ASSERT_GT(palette["commands"].size(), 40u);
  EXPECT_EQ(palette["commands"][0]["key"], "book author");
  const json step = Post(client, "/api/palette/select", {{"command", "addnext"}, {"first", 1}, {"last", 1}, {"count", 5}});
  EXPECT_EQ(step["last"], 2);
  const std::string body = "<div align=\"justify\">&nbsp;&nbsp;&nbsp;&nbsp;Он шёл по</div>\r\n"
                           "<div align=\"justify\">&nbsp;&nbsp;&nbsp;&nbsp;дороге. Потом</div>";
  const json listed = Post(client, "/api/paragraphs", {{"check", "badends"}, {"html", body}});
  ASSERT_EQ(listed["items"].size(), 2u);
  EXPECT_EQ(listed["items"][0]["index"], 0);
  const json lower = Post(client, "/api/paragraphs", {{"check", "lowercase"}, {"html", body}});
  ASSERT_EQ(lower["items"].size(), 1u);
  EXPECT_EQ(lower["items"][0]["index"], 1);
  const json joined = Post(client, "/api/body", {{"command", "joinnext"}, {"paragraph", 0}, {"html", body}});
  EXPECT_EQ(joined["html"], "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;Он шёл по дороге. Потом</DIV>");
  const json hyphenated = Post(client, "/api/body", {{"command", "hyphenate"}, {"html", body}});
  EXPECT_EQ(hyphenated["language"], "Russian");
  EXPECT_NE(hyphenated["html"].get<std::string>().find("По\u00ADтом"), std::string::npos) << hyphenated;
  const json ends = Post(client, "/api/paragraph-ends", {{"typed", ".chr(187)"}, {"done", true}});
  EXPECT_EQ(ends["preview"], ". »");
  EXPECT_EQ(Get(client, "/api/paragraph-ends")["typed"], ".chr(187)");
  const json info = Post(client, "/api/bookinfo", {{"html", body}});
  EXPECT_EQ(info["paragraphs"], 2);
  EXPECT_EQ(info["words"], 5);
}

}  // namespace
}  // namespace pw::app

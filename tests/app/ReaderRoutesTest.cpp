#include <httplib.h>
#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include "RunningWorkshop.h"
#include "common/Files.h"
#include "reader/ReadingFonts.h"
#include "shell/SettingsFile.h"

namespace pw::app {
namespace {

using json = nlohmann::json;

json Post(httplib::Client& client, const std::string& path, const json& body, int status = 200) {
  const auto answer = client.Post(path, body.dump(), "application/json");
  EXPECT_TRUE(answer);
  if (!answer) return json();
  EXPECT_EQ(answer->status, status) << answer->body;
  return json::parse(answer->body, nullptr, false);
}

TEST(ReaderRoutes, SettingsAreKeptAtOnceAndBadValuesRefused) {
  test::RunningWorkshop workshop;
  httplib::Client client = workshop.Client();
  const auto first = client.Get("/api/reader/settings");
  ASSERT_TRUE(first);
  const json shown = json::parse(first->body);
  EXPECT_EQ(shown["scrollType"], "lines");
  EXPECT_EQ(shown["speeds"]["pixels"], 7.0);
  EXPECT_EQ(shown["speeds"]["symbols"], 50.0);
  EXPECT_EQ(shown["intervals"]["pixels"], 143);
  EXPECT_EQ(shown["intervals"]["lines"], 1000);
  EXPECT_EQ(shown["fonts"]["text"]["face"], "Times New Roman");  // the shipped defaults
  EXPECT_EQ(shown["fonts"].size(), reader::kFontKindCount);

  const json changed = Post(client, "/api/reader/settings",
                            {{"geometry", "user"}, {"userWidth", 380}, {"userHeight", 420}, {"zoom", 125},
                             {"scrollType", "symbols"}, {"speeds", {{"symbols", 40}}}, {"night", true},
                             {"colours", {{"title", "#112233"}}}, {"fonts", {{"verse", {{"face", "Georgia"}, {"size", 20}}}}}});
  ASSERT_TRUE(changed["ok"].get<bool>()) << changed;
  EXPECT_EQ(changed["intervals"]["symbols"], 25);
  const std::filesystem::path home = workshop.folder / "home";
  common::Settings onDisk;
  ASSERT_EQ(shell::RestoreSettings(home / "Pagewright.ini", onDisk), shell::RestoreResult::Read);
  EXPECT_EQ(onDisk.readerGeometry, "user");
  EXPECT_EQ(onDisk.readerUserHeight, 420);
  EXPECT_EQ(onDisk.readerZoom, 125);
  EXPECT_EQ(onDisk.scrollSpeedSymbols, 40.0f);
  EXPECT_TRUE(onDisk.readerNightScheme);
  EXPECT_EQ(onDisk.readerElementColours.title, "#112233");
  EXPECT_EQ(onDisk.elementColours.title, common::ElementColours().title);  // the editor's stay
  const reader::FontTable fonts = reader::LoadReadingFonts(home);
  EXPECT_EQ(fonts[reader::FontKind::Verse], (reader::ReadingFont{"Georgia", 20, false}));

  // One bad value refuses the whole change and names it.
  for (const json& bad : {json{{"zoom", 123}}, json{{"geometry", "wall"}}, json{{"userWidth", 5}},
                          json{{"speeds", {{"lines", 0}}}}, json{{"colours", {{"cite", "red"}}}},
                          json{{"fonts", {{"text", {{"face", "Nothing"}}}}}}, json{{"fonts", {{"heading", json::object()}}}}}) {
    json change = bad;
    if (!change.contains("zoom")) change["zoom"] = 150;  // a good value beside the bad one
    const json refused = Post(client, "/api/reader/settings", change, 422);
    EXPECT_FALSE(refused["refused"].empty()) << bad;
  }
  ASSERT_EQ(shell::RestoreSettings(home / "Pagewright.ini", onDisk), shell::RestoreResult::Read);
  EXPECT_EQ(onDisk.readerZoom, 125);

  // Zoom steps from the kept value and stops at the ends.
  EXPECT_EQ(Post(client, "/api/reader/settings", {{"zoomStep", 1}})["zoom"], 150);
  EXPECT_EQ(Post(client, "/api/reader/settings", {{"zoomStep", -1}})["zoom"], 125);
  Post(client, "/api/reader/settings", {{"zoom", 250}});
  EXPECT_EQ(Post(client, "/api/reader/settings", {{"zoomStep", 1}})["zoom"], 250);
  Post(client, "/api/reader/settings", {{"zoomStep", 2}}, 422);
}

TEST(ReaderRoutes, ReadingViewAndAlarmSteps) {
  test::RunningWorkshop workshop;
  httplib::Client client = workshop.Client();
  std::string bookmarked = "<HTML><BODY><DIV align=justify>Раз<A id=()*^^^%^*></A> два</DIV></BODY></HTML>";
  ASSERT_TRUE(client.Post("/api/document", bookmarked, "text/html"));
  const auto view = client.Get("/book/reading");
  ASSERT_TRUE(view);
  EXPECT_NE(view->body.find("<style id=PwReadingStyle>"), std::string::npos);
  EXPECT_NE(view->body.find("Раз два"), std::string::npos) << view->body;
  EXPECT_EQ(view->body.find("()*^^^%^*"), std::string::npos);

  const json step = Post(client, "/api/reader/alarm", {{"hour", 23}, {"minute", 59}, {"field", "minute"}, {"step", 1}});
  EXPECT_EQ(step["hourText"], "00");
  EXPECT_EQ(step["minuteText"], "00");
  const json back = Post(client, "/api/reader/alarm", {{"hour", 0}, {"minute", 5}, {"field", "hour"}, {"step", -1}});
  EXPECT_EQ(back["hourText"], "23");
  EXPECT_EQ(back["minuteText"], "05");
  Post(client, "/api/reader/alarm", {{"hour", 1}, {"minute", 1}, {"field", "second"}, {"step", 1}}, 400);
}

// The reading view is served beside the book's pictures, so that the book's relative picture
// paths find them from it as from the editor's document.
TEST(ReaderRoutes, ReadingViewFindsTheBooksPictures) {
  test::RunningWorkshop workshop;
  httplib::Client client = workshop.Client();
  const std::filesystem::path book = workshop.folder / "pictured.html";
  ASSERT_TRUE(common::WriteFileAtomic(workshop.folder / "cover.png", std::string("\x89PNG\r\n\x1a\n", 8)));
  ASSERT_TRUE(common::WriteFileAtomic(
      book, "<HTML><BODY><DIV align=justify>Words before the picture.</DIV><IMG src=\"cover.png\"></BODY></HTML>"));
  const auto opened = client.Post("/api/open", json{{"path", book.string()}}.dump(), "application/json");
  ASSERT_TRUE(opened);
  const auto view = client.Get("/book/reading");
  ASSERT_TRUE(view);
  EXPECT_EQ(view->status, 200);
  EXPECT_NE(view->body.find("Words before the picture."), std::string::npos);
  EXPECT_NE(view->body.find("cover.png"), std::string::npos);
  const auto picture = client.Get("/book/cover.png");  // where "cover.png" from /book/reading points
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->status, 200);
}

}  // namespace
}  // namespace pw::app

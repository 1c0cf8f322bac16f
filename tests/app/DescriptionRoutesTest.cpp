#include <Magick++.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>

#include "app/DescriptionJson.h"
#include "app/RunningWorkshop.h"
#include "common/Files.h"
#include "fb2/Fb2Export.h"
#include "fb2/Pictures.h"
#include "shell/SettingsFile.h"
#include "support/Fb2Validity.h"

namespace pw::app {
namespace {

namespace fs = std::filesystem;
using json = nlohmann::json;

json Post(httplib::Client& client, const std::string& path, const json& body) {
  const auto answer = client.Post(path, body.dump(), "application/json");
  EXPECT_TRUE(answer);
  if (!answer) return json::object();
  json out = json::parse(answer->body, nullptr, false);
  if (out.is_object()) out["status"] = answer->status;
  return out;
}

json Get(httplib::Client& client, const std::string& path) {
  const auto answer = client.Get(path);
  EXPECT_TRUE(answer);
  return answer ? json::parse(answer->body, nullptr, false) : json::object();
}

// Upper-case hexadecimal groups of 8, 4, 4, 4 and 12 digits joined by "-".
bool IsDocumentId(const std::string& id) {
  static constexpr size_t kGroups[] = {8, 4, 4, 4, 12};
  size_t at = 0;
  for (size_t group : kGroups) {
    if (at > 0 && (at >= id.size() || id[at++] != '-')) return false;
    for (size_t i = 0; i < group; ++i, ++at)
      if (at >= id.size() || !std::isxdigit(static_cast<unsigned char>(id[at])) || std::islower(static_cast<unsigned char>(id[at])))
        return false;
  }
  return at == id.size();
}

std::vector<std::string> Messages(httplib::Client& client) {
  return Get(client, "/api/state")["messages"].get<std::vector<std::string>>();
}

bool Told(const std::vector<std::string>& messages, std::string_view start) {
  return std::any_of(messages.begin(), messages.end(), [&](const std::string& text) { return text.starts_with(start); });
}

// A book of the user's with author and title headings, opened in the workshop; the folder the
// workshop keeps it in.
fs::path OpenBook(test::RunningWorkshop& workshop, httplib::Client& client, const std::string& text) {
  const fs::path source = workshop.folder / "shelf" / "Book.txt";
  fs::create_directories(source.parent_path());
  EXPECT_TRUE(common::WriteFileAtomic(source, text));
  EXPECT_EQ(Post(client, "/api/open", {{"path", source.string()}})["ok"], true);
  return workshop.server->editor().Current().file.parent_path();
}

std::string Png(unsigned width, unsigned height) {
  fb2::InitPictureLibrary();
  Magick::Image image(Magick::Geometry(width, height), Magick::Color("orange"));
  image.magick("PNG");
  Magick::Blob blob;
  image.write(&blob);
  return std::string(static_cast<const char*>(blob.data()), blob.length());
}

json FilledDescription() {
  return {{"b_genre", "sf_history, prose_classic"},
          {"authors",
           json::array({{{"b_first", "Vincent"}, {"b_middle", ""}, {"b_last", "van Gogh"}},
                        {{"b_first", "Anna"}, {"b_middle", "Maria"}, {"b_last", "Lee"}}})},
          {"b_title", "Letters & Days"},
          {"b_annot", "First paragraph.\nSecond <paragraph>."},
          {"b_lang", "en"},
          {"translators", json::array({{{"t_first", "Ivan"}, {"t_last", "Petrov"}}})},
          {"b_seqname", "Letters"},
          {"b_seqnum", "2"},
          {"docAuthors", json::array({{{"d_nick", "scanner"}, {"d_e-mail", "scan@example.org"}}})},
          {"d_id", "0A1B2C3D-0000-1111-2222-333344445555"},
          {"d_version", "1.2"},
          {"p_publisher", "House"},
          {"p_year", "1999"}};
}

// The form's JSON is the description model field for field; what the form leaves empty (a
// person group nobody filled) is not a person, and a field that is not text refuses the whole.
TEST(DescriptionJson, FormFieldsAndModelAgree) {
  fb2::Fb2Description description;
  ASSERT_TRUE(DescriptionFromJson(FilledDescription(), description));
  EXPECT_EQ(description.genres, (std::vector<std::string>{"sf_history", "prose_classic"}));
  ASSERT_EQ(description.authors.size(), 2u);
  EXPECT_EQ(description.authors[0].last, "van Gogh");
  EXPECT_EQ(description.authors[1].middle, "Maria");
  ASSERT_EQ(description.documentAuthors.size(), 1u);
  EXPECT_EQ(description.documentAuthors[0].email, "scan@example.org");
  EXPECT_EQ(description.sequenceNumber, "2");
  fb2::Fb2Description again;
  ASSERT_TRUE(DescriptionFromJson(DescriptionToJson(description), again));
  EXPECT_EQ(DescriptionToJson(again), DescriptionToJson(description));

  json withEmpty = FilledDescription();
  withEmpty["translators"].push_back({{"t_first", ""}, {"t_middle", ""}, {"t_last", ""}});
  ASSERT_TRUE(DescriptionFromJson(withEmpty, again));
  EXPECT_EQ(again.translators.size(), 1u);

  // A book author known only by a nickname shows in the last-name field.
  fb2::Fb2Description nick;
  nick.authors.push_back({"", "", "", "Anonymous", ""});
  EXPECT_EQ(DescriptionToJson(nick)["authors"][0]["b_last"], "Anonymous");
  EXPECT_FALSE(DescriptionToJson(nick)["authors"][0].contains("b_nick"));

  fb2::Fb2Description untouched = description;
  for (const json& bad : {json{{"b_title", 5}}, json{{"authors", "Anna Lee"}}, json{{"authors", json::array({"x"})}},
                          json::array(), json{{"docAuthors", json::array({{{"d_nick", true}}})}}}) {
    EXPECT_FALSE(DescriptionFromJson(bad, untouched)) << bad;
    EXPECT_EQ(untouched.title, description.title);
  }
}

// No description yet: the form starts from the book's headings, dated today, with a new id.
// A kept description is the book's from then on, also in its stored-book file and after the
// stored book is opened again.
TEST(DescriptionRoutes, PrefilledKeptSavedAndReopened) {
  test::RunningWorkshop workshop;
  httplib::Client client = workshop.Client();
  const fs::path folder = OpenBook(workshop, client, "The fields were yellow that year.\n");
  ASSERT_EQ(client.Post("/api/document?changed=1",
                        "<html><body><H2 id=BookAuthor align=center><FONT color=#ff0000><B>Vincent van Gogh</B></FONT></H2>"
                        "<H2 id=BookTitle align=center><FONT color=#B90000><B>Letters Home</B></FONT></H2>"
                        "<DIV align=justify>The fields were yellow that year.</DIV></body></html>",
                        "text/html")->status, 200);
  const json first = Get(client, "/api/description");
  ASSERT_EQ(first["ok"], true) << first;
  EXPECT_EQ(first["stored"], false);
  const json prefilled = first["description"];
  ASSERT_EQ(prefilled["authors"].size(), 1u) << prefilled;
  EXPECT_EQ(prefilled["authors"][0]["b_first"], "Vincent");
  EXPECT_EQ(prefilled["authors"][0]["b_last"], "van Gogh");
  EXPECT_EQ(prefilled["b_title"], "Letters Home");
  EXPECT_EQ(prefilled["d_program"], "Pagewright");
  EXPECT_EQ(prefilled["d_version"], "1.0");
  EXPECT_TRUE(IsDocumentId(prefilled["d_id"])) << prefilled["d_id"];
  const std::string today = prefilled["d_date_val"];
  EXPECT_TRUE(today.size() == 10 && today[4] == '-' && today[7] == '-') << today;

  EXPECT_EQ(Post(client, "/api/description", {{"description", FilledDescription()}})["ok"], true);
  EXPECT_TRUE(common::FileExists(folder / "Description.fb2"));
  EXPECT_TRUE(common::FileExists(folder / "Description.html0"));
  const json kept = Get(client, "/api/description");
  EXPECT_EQ(kept["stored"], true);
  EXPECT_EQ(kept["description"]["b_title"], "Letters & Days");
  EXPECT_EQ(kept["description"]["b_annot"], "First paragraph.\nSecond <paragraph>.");
  EXPECT_EQ(kept["description"]["authors"].size(), 2u);
  EXPECT_EQ(kept["description"]["d_id"], "0A1B2C3D-0000-1111-2222-333344445555");
  EXPECT_EQ(Get(client, "/api/state")["changed"], true);
  EXPECT_EQ(Post(client, "/api/description", {{"description", {{"b_title", 1}}}})["status"], 400);

  const json stored = Post(client, "/api/stored", {{"name", "kept"}});
  ASSERT_EQ(stored["ok"], true) << stored;
  std::string bytes;
  ASSERT_TRUE(common::ReadWholeFile(stored["savedAs"].get<std::string>(), bytes));
  ASSERT_EQ(Post(client, "/api/open", {{"path", stored["savedAs"]}})["ok"], true);
  const json reopened = Get(client, "/api/description");
  EXPECT_EQ(reopened["stored"], true);
  EXPECT_EQ(reopened["description"]["b_title"], "Letters & Days");
  EXPECT_EQ(reopened["description"]["b_seqname"], "Letters");
  EXPECT_EQ(reopened["description"]["translators"][0]["t_last"], "Petrov");
}

TEST(DescriptionRoutes, GenresIdsAndLoadingFromAnFb2File) {
  test::RunningWorkshop workshop;
  httplib::Client client = workshop.Client();
  ASSERT_TRUE(common::WriteFileAtomic(workshop.folder / "home" / "fb2UserGentre.dat", "my_own\tMy own shelf\n"));
  const json genres = Get(client, "/api/description/genres")["genres"];
  EXPECT_GE(genres.size(), 187u);
  const auto find = [&](const std::string& code) {
    return std::find_if(genres.begin(), genres.end(), [&](const json& genre) { return genre["code"] == code; });
  };
  ASSERT_NE(find("sf_history"), genres.end());
  EXPECT_NE((*find("sf_history"))["en"], (*find("sf_history"))["ru"]);
  ASSERT_NE(find("my_own"), genres.end());
  EXPECT_EQ((*find("my_own"))["user"], true);
  EXPECT_EQ((*find("my_own"))["en"], "My own shelf");

  const std::string id = Get(client, "/api/description/id")["id"];
  EXPECT_TRUE(IsDocumentId(id)) << id;
  EXPECT_NE(Get(client, "/api/description/id")["id"], id);

  OpenBook(workshop, client, "Anna Lee\n\nA Story\n\nOnce there was a road.\n");
  const fs::path fb2 = workshop.folder / "other.fb2";
  ASSERT_TRUE(common::WriteFileAtomic(
      fb2, "<?xml version=\"1.0\" encoding=\"utf-8\"?><FictionBook xmlns=\"http://www.gribuser.ru/xml/fictionbook/2.0\">"
           "<description><title-info><genre>poetry</genre><author><first-name>Ada</first-name><last-name>Byron</last-name>"
           "</author><book-title>Numbers</book-title></title-info></description><body><section><p>x</p></section></body>"
           "</FictionBook>"));
  const json loaded = Post(client, "/api/description/load", {{"path", fb2.string()}});
  ASSERT_EQ(loaded["ok"], true) << loaded;
  EXPECT_EQ(loaded["description"]["b_title"], "Numbers");
  EXPECT_EQ(loaded["description"]["b_lang"], "eng");
  EXPECT_EQ(loaded["description"]["b_genre"], "poetry");
  EXPECT_EQ(loaded["description"]["d_program"], "Pagewright");
  EXPECT_TRUE(IsDocumentId(loaded["description"]["d_id"])) << loaded;
  // A file with no description: the message, and the book's description stays.
  const fs::path plain = workshop.folder / "plain.fb2";
  ASSERT_TRUE(common::WriteFileAtomic(plain, "<?xml version=\"1.0\"?><FictionBook><body><p>x</p></body></FictionBook>"));
  Messages(client);
  EXPECT_EQ(Post(client, "/api/description/load", {{"path", plain.string()}})["ok"], false);
  EXPECT_TRUE(Told(Messages(client), "Fiction Book description not found"));
  EXPECT_EQ(Get(client, "/api/description")["description"]["b_title"], "Numbers");
  // A pipe or a folder named as the file is refused at once, and the workshop goes on answering.
  const fs::path pipe = workshop.folder / "pipe.fb2";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  for (const fs::path& notAFile : {pipe, workshop.folder.path()}) {
    Messages(client);
    EXPECT_EQ(Post(client, "/api/description/load", {{"path", notAFile.string()}})["ok"], false) << notAFile;
    EXPECT_TRUE(Told(Messages(client), notAFile.string())) << notAFile;
  }
  EXPECT_EQ(Get(client, "/api/description")["description"]["b_title"], "Numbers");
  // The same through an upload.
  httplib::MultipartFormDataItems upload = {{"fb2", "<description><title-info><book-title>Sent</book-title>"
                                                    "</title-info><document-info><program-used>OtherTool</program-used>"
                                                    "</document-info></description>", "sent.fb2", "application/octet-stream"}};
  const auto sent = client.Post("/api/description/load", upload);
  ASSERT_TRUE(sent);
  EXPECT_EQ(json::parse(sent->body)["description"]["b_title"], "Sent");
  EXPECT_EQ(json::parse(sent->body)["description"]["d_program"], "OtherTool, Pagewright");
}

// A cover is kept in the book folder as PNG or JPEG, named in the description, carried by the
// stored book, and written into the FB2; a file that is no picture is refused by its extension.
TEST(DescriptionRoutes, CoverAndPictures) {
  test::RunningWorkshop workshop;
  httplib::Client client = workshop.Client();
  const fs::path folder = OpenBook(workshop, client, "Anna Lee\n\nA Story\n\nOnce there was a road.\n");
  httplib::MultipartFormDataItems cover = {{"cover", Png(60, 80), "front.png", "image/png"}};
  const auto chosen = client.Post("/api/description/cover", cover);
  ASSERT_TRUE(chosen);
  EXPECT_EQ(json::parse(chosen->body)["cover"], "cover.png") << chosen->body;
  EXPECT_TRUE(common::FileExists(folder / "cover.png"));
  EXPECT_EQ(Get(client, "/api/description")["description"]["cover"], "cover.png");

  Messages(client);
  httplib::MultipartFormDataItems text = {{"cover", "not a picture at all", "notes.txt", "text/plain"}};
  EXPECT_EQ(client.Post("/api/description/cover", text)->status, 422);
  EXPECT_TRUE(Told(Messages(client), "not supported image format: txt"));
  EXPECT_TRUE(common::FileExists(folder / "cover.png"));

  const auto made = client.Post("/api/fb2", json{{"name", "covered"}}.dump(), "application/json");
  ASSERT_EQ(made->status, 200) << made->body;
  EXPECT_NE(made->body.find("<coverpage><image l:href=\"#cover.png\"/></coverpage>"), std::string::npos);
  EXPECT_NE(made->body.find("<binary content-type=\"image/png\" id=\"cover.png\">"), std::string::npos);
  EXPECT_TRUE(test::IsValidFb2(made->body));

  const json stored = Post(client, "/api/stored", {{"name", "covered"}});
  ASSERT_EQ(Post(client, "/api/open", {{"path", stored["savedAs"]}})["ok"], true);
  const fs::path reopened = workshop.server->editor().Current().file.parent_path();
  EXPECT_TRUE(common::FileExists(reopened / "cover.png"));

  EXPECT_EQ(Post(client, "/api/description/cover", {{"remove", true}})["cover"], "");
  EXPECT_FALSE(common::FileExists(reopened / "cover.png"));

  // A picture for the caret gets a name of its own in the book folder, served beside the book.
  httplib::MultipartFormDataItems picture = {{"picture", Png(30, 20), "map.png", "image/png"}};
  const auto inserted = client.Post("/api/description/picture", picture);
  ASSERT_TRUE(inserted);
  const json answer = json::parse(inserted->body);
  EXPECT_EQ(answer["src"], "Picture_1.png");
  EXPECT_EQ(answer["width"], 30);
  EXPECT_EQ(client.Get("/book/Picture_1.png")->status, 200);
  EXPECT_EQ(json::parse(client.Post("/api/description/picture", picture)->body)["src"], "Picture_2.png");
}

// Making the file: the description the request carries is the one written (its id included);
// each question of the export comes back to the page and the answer continues; the options are
// remembered in the settings file.
TEST(DescriptionRoutes, MakeAsksItsQuestionsAndRemembersTheOptions) {
  test::RunningWorkshop workshop;
  httplib::Client client = workshop.Client();
  OpenBook(workshop, client, "Anna Lee\n\nA Story\n\nOnce there was a road.\n");
  // A note that stands outside a note block.
  ASSERT_EQ(client.Post("/api/document?changed=1",
                        "<html><body><H2 id=BookAuthor align=center>Anna Lee</H2><H2 id=BookTitle align=center>A Story</H2>"
                        "<DIV align=justify>A road<A href=\"#n1\">1</A>.</DIV><DIV align=justify>&nbsp;</DIV>"
                        "<DIV align=justify><A name=n1></A>1 Built in 1820.</DIV></body></html>",
                        "text/html")->status, 200);
  json description = FilledDescription();
  description["b_genre"] = "sf_history, my_own";
  const fs::path out = workshop.folder / "out";
  json request = {{"description", description}, {"folder", out.string()}, {"nameFromDescription", true},
                  {"latin", true}, {"dashes", "long"}, {"zip", true}, {"removeEmptyLines", true}, {"validate", true}};
  json answer = Post(client, "/api/fb2", request);
  ASSERT_EQ(answer["ok"], false);
  const std::string genreQuestion = answer["question"];
  EXPECT_NE(genreQuestion.find("my_own"), std::string::npos) << genreQuestion;
  request["answers"] = {genreQuestion};
  answer = Post(client, "/api/fb2", request);
  ASSERT_EQ(answer["ok"], false);
  const std::string notesQuestion = answer["question"];
  EXPECT_NE(notesQuestion.find("Continue without the formatting?"), std::string::npos) << notesQuestion;
  EXPECT_TRUE(fs::is_empty(out));

  request["answers"].push_back(notesQuestion);
  const auto made = client.Post("/api/fb2", request.dump(), "application/json");
  ASSERT_EQ(made->status, 200) << made->body;
  // Named from the description, in Latin letters.
  fb2::Fb2Description model;
  ASSERT_TRUE(DescriptionFromJson(description, model));
  const fs::path written = made->get_header_value("X-Pagewright-Saved-As");
  EXPECT_EQ(written, out / fb2::MakeFb2FileName(model, "", true, true));
  EXPECT_TRUE(common::FileExists(written));
  EXPECT_TRUE(common::FileExists(written.string() + ".zip"));
  const std::string& fb2 = made->body;
  EXPECT_TRUE(test::IsValidFb2(fb2));
  EXPECT_NE(fb2.find("<id>0A1B2C3D-0000-1111-2222-333344445555</id>"), std::string::npos);
  EXPECT_NE(fb2.find("<genre>sf_history</genre>"), std::string::npos);
  EXPECT_EQ(fb2.find("my_own"), std::string::npos);
  EXPECT_NE(fb2.find("<sequence name=\"Letters\" number=\"2\"/>"), std::string::npos);
  EXPECT_NE(fb2.find("<last-name>van Gogh</last-name>"), std::string::npos);
  EXPECT_NE(fb2.find("<p>Second &lt;paragraph&gt;.</p>"), std::string::npos);
  EXPECT_EQ(fb2.find("<empty-line/>\n<p>1 Built"), std::string::npos);
  EXPECT_TRUE(Told(Messages(client), written.filename().string() + ": valid FictionBook 2"));

  common::Settings settings;
  ASSERT_EQ(shell::RestoreSettings(workshop.folder / "home" / "Pagewright.ini", settings), shell::RestoreResult::Read);
  EXPECT_EQ(settings.fb2OutputFolder, out.string());
  EXPECT_TRUE(settings.fb2NameFromDescription);
  EXPECT_TRUE(settings.fb2LatinFileName);
  EXPECT_TRUE(settings.fb2Zip);
  EXPECT_TRUE(settings.fb2Validate);
  EXPECT_EQ(settings.dashStyle, "long");
  EXPECT_EQ(Get(client, "/api/description")["options"]["dashes"], "long");
  EXPECT_EQ(Post(client, "/api/fb2", {{"zip", "yes"}})["status"], 400);
  EXPECT_EQ(Post(client, "/api/fb2/show", {{"what", "program"}})["status"], 400);
  // Without a desktop nothing is opened, and the page is told so.
  unsetenv("DISPLAY");
  unsetenv("WAYLAND_DISPLAY");
  EXPECT_EQ(Get(client, "/api/description")["desktop"], false);
  const json shown = Post(client, "/api/fb2/show", {{"what", "folder"}});
  EXPECT_EQ(shown["status"], 200);
  EXPECT_EQ(shown["ok"], false);
}

TEST(DescriptionRoutes, OnlyAWrittenFileIsShown) {
  test::RunningWorkshop workshop;
  httplib::Client client = workshop.Client();
  EXPECT_EQ(Post(client, "/api/fb2/show", {{"what", "file"}})["status"], 409);
  // A file made for the download only is not one of the user's folders.
  OpenBook(workshop, client, "Anna Lee\n\nA Story\n\nOnce there was a road.\n");
  ASSERT_EQ(client.Post("/api/fb2", json{{"name", "only"}}.dump(), "application/json")->status, 200);
  EXPECT_EQ(Post(client, "/api/fb2/show", {{"what", "file"}})["status"], 409);
}

TEST(DescriptionRoutes, EachWarningOfTheExportIsToldOnce) {
  test::RunningWorkshop workshop;
  httplib::Client client = workshop.Client();
  OpenBook(workshop, client, "Anna Lee\n\nA Story\n\nOnce there was a road.\n");
  std::string document = workshop.server->editor().Current().html;
  const size_t road = document.find("Once there was a road.");
  ASSERT_NE(road, std::string::npos);
  document.insert(road, "<IMG src=\"missing.png\">");
  ASSERT_EQ(client.Post("/api/document?changed=1", document, "text/html")->status, 200);
  Messages(client);
  ASSERT_EQ(client.Post("/api/fb2", json{{"name", "warned"}}.dump(), "application/json")->status, 200);
  const auto told = Messages(client);
  EXPECT_EQ(std::count_if(told.begin(), told.end(), [](const std::string& text) { return text.find("missing.png") != std::string::npos; }), 1)
      << ::testing::PrintToString(told);
}

TEST(DescriptionRoutes, ABookCalledDescriptionNeverReplacesTheKeptDescription) {
  test::RunningWorkshop workshop;
  httplib::Client client = workshop.Client();
  OpenBook(workshop, client, "Anna Lee\n\nA Story\n\nOnce there was a road.\n");
  ASSERT_EQ(Post(client, "/api/description", {{"description", FilledDescription()}})["ok"], true);
  const std::string title = Get(client, "/api/description")["description"]["b_title"];
  ASSERT_FALSE(title.empty());
  const fs::path bookFolder = workshop.server->editor().Current().file.parent_path();
  std::string kept;
  ASSERT_TRUE(common::ReadWholeFile(bookFolder / "Description.fb2", kept));
  for (const json& where : {json{{"name", "Description"}}, json{{"name", "description"}, {"folder", bookFolder.string()}}}) {
    const auto made = client.Post("/api/fb2", where.dump(), "application/json");
    ASSERT_EQ(made->status, 200) << where;
    EXPECT_NE(fs::path(made->get_header_value("X-Pagewright-Saved-As")).filename(), "Description.fb2") << where;
    std::string now;
    ASSERT_TRUE(common::ReadWholeFile(bookFolder / "Description.fb2", now));
    EXPECT_EQ(now, kept) << where;
    EXPECT_EQ(Get(client, "/api/description")["description"]["b_title"], title) << where;
  }
}

}  // namespace
}  // namespace pw::app

namespace pw::app {
namespace {

// The output clean-up slot runs over the book before the FB2 is written, as on the command line;
// the book in the workshop stays as it was.
TEST(DescriptionRoutes, MakeRunsTheOutputCleanUpSlot) {
  test::RunningWorkshop workshop;
  httplib::Client client = workshop.Client();
  OpenBook(workshop, client, "Anna Lee\n\nA Story\n\nOnce there was a road to Rome.\n");
  const json rows = json::array({{{"RepWhat", "Rome"}, {"RepBy", "Paris"}, {"Case", true}, {"RegExp", false}, {"Enabled", true}}});
  ASSERT_EQ(Post(client, "/api/cleanup/save", {{"name", "Out"}, {"rows", rows}})["ok"], true);
  ASSERT_EQ(Post(client, "/api/cleanup/slots", {{"output", "Out.bcf"}})["ok"], true);
  const auto made = client.Post("/api/fb2", json{{"name", "cleaned"}}.dump(), "application/json");
  ASSERT_EQ(made->status, 200) << made->body;
  EXPECT_NE(made->body.find("road to Paris"), std::string::npos) << made->body;
  EXPECT_TRUE(test::IsValidFb2(made->body));
  std::string document;
  ASSERT_TRUE(workshop.server->editor().Document(document));
  EXPECT_NE(document.find("road to Rome"), std::string::npos);
}

}  // namespace
}  // namespace pw::app

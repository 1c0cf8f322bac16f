#include "fb2/Genres.h"

#include <gtest/gtest.h>

#include <set>

#include "common/CodePage.h"
#include "common/Files.h"
#include "fb2/Fb2Schema.h"
#include "support/TestSupport.h"

namespace pw::fb2 {
namespace {

namespace fs = std::filesystem;

const fs::path kData = pw::test::ShippedDataPath("");

TEST(Genres, ShippedListHasEveryCodeOfTheSchemaWithBothNames) {
  std::string list, schema;
  ASSERT_TRUE(common::ReadWholeFile(kData / kGenreListFile, list));
  ASSERT_TRUE(common::ReadWholeFile(kData / kFb2SchemaFile, schema));
  const std::vector<Genre> genres = ReadGenreList(list);
  // The schema's genre type; its other enumerations are not genres.
  const size_t genreType = schema.find("name=\"genreType\"");
  ASSERT_NE(genreType, std::string::npos);
  const std::vector<Genre> schemaGenres = ReadGenreList(schema.substr(genreType));
  ASSERT_EQ(genres.size(), 186u);
  ASSERT_EQ(schemaGenres.size(), genres.size());
  std::set<std::string> english;
  for (size_t i = 0; i < genres.size(); ++i) {
    EXPECT_EQ(genres[i].code, schemaGenres[i].code);
    EXPECT_FALSE(genres[i].english.empty()) << genres[i].code;
    EXPECT_FALSE(genres[i].russian.empty()) << genres[i].code;
    EXPECT_TRUE(english.insert(genres[i].english).second) << "two genres called " << genres[i].english;
    EXPECT_FALSE(genres[i].user);
  }
  const auto history = std::find_if(genres.begin(), genres.end(), [](const Genre& g) { return g.code == "sf_history"; });
  ASSERT_NE(history, genres.end());
  EXPECT_EQ(history->Name(common::Language::English), "Alternative history");
  EXPECT_EQ(history->Name(common::Language::Russian), "Альтернативная история");
}

TEST(Genres, ListReader) {
  const auto genres = ReadGenreList(
      "<xs:restriction><xs:enumeration value=\"plain\"/>"
      "<xs:enumeration value=\" both \"><xs:annotation><xs:documentation xml:lang=\"ru\">Оба</xs:documentation>"
      "<xs:documentation xml:lang=\"en\">Tom &amp;\n  Jerry</xs:documentation></xs:annotation></xs:enumeration>"
      "<xs:enumeration value=\"\"/><xs:enumeration value=\"open\"><xs:documentation>Unlabelled</xs:documentation>"
      "<xs:enumeration value=\"last\">");
  ASSERT_EQ(genres.size(), 4u);
  EXPECT_EQ(genres[0], (Genre{"plain", "", "", false}));
  EXPECT_EQ(genres[1], (Genre{"both", "Tom & Jerry", "Оба", false}));
  EXPECT_EQ(genres[2], (Genre{"open", "Unlabelled", "", false}));
  EXPECT_EQ(genres[3].code, "last");
  EXPECT_EQ(genres[0].Name(common::Language::Russian), "plain");
  EXPECT_EQ(genres[2].Name(common::Language::Russian), "Unlabelled");
}

TEST(Genres, UserFileAndTheWholeList) {
  const std::string file = "# my genres\n\nmy_cats\tBooks about cats\r\n  my_dogs   Dogs \nbare\n";
  const auto user = ReadUserGenres(file);
  ASSERT_EQ(user.size(), 3u);
  EXPECT_EQ(user[0], (Genre{"my_cats", "Books about cats", "Books about cats", true}));
  EXPECT_EQ(user[1].english, "Dogs");
  EXPECT_EQ(user[2], (Genre{"bare", "", "", true}));
  // An older file in Windows-1251.
  const auto old = ReadUserGenres(common::EncodeFromUtf8("моё Мой жанр", common::CodePage::Win1251));
  ASSERT_EQ(old.size(), 1u);
  EXPECT_EQ(old[0].code, "моё");
  EXPECT_EQ(old[0].russian, "Мой жанр");

  test::ScratchFolder folder;
  ASSERT_TRUE(common::WriteFileAtomic(folder / kUserGenreFile, "sf Already known\nmy_cats Cats\n"));
  const auto all = LoadGenres(kData / kGenreListFile, folder / kUserGenreFile);
  ASSERT_EQ(all.size(), 187u);
  EXPECT_EQ(all.back(), (Genre{"my_cats", "Cats", "Cats", true}));
  EXPECT_EQ(LoadGenres(folder / "none.xsd", folder / kUserGenreFile).size(), 2u);
  EXPECT_TRUE(LoadGenres(folder / "none.xsd", folder / "none.dat").empty());
}

}  // namespace
}  // namespace pw::fb2

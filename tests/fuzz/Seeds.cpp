// Writes the seed inputs of the fuzz targets, each into a folder named after its target: books
// and files the tests make, the files of the test data, and the samples of the corpus beside the
// checkout (read where they are, at run time; the project never holds a copy).
//
//   fuzz_seeds OUT_FOLDER
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "common/Files.h"
#include "common/Settings.h"
#include "corrector/RuleFile.h"
#include "import/LitTestSupport.h"
#include "import/RbTestSupport.h"
#include "markup/BookMarkup.h"
#include "markup/SampleBook.h"
#include "markup/StoredBook.h"
#include "shell/CitationFile.h"
#include "support/TestSupport.h"

namespace {

namespace fs = std::filesystem;
using namespace pw;

class SeedWriter {
 public:
  explicit SeedWriter(fs::path root) : root_(std::move(root)) {}

  // One seed; text seeds are cut to `limit` bytes, since a fuzzer does best with short inputs.
  void Add(const std::string& target, const std::string& name, std::string bytes, size_t limit = std::string::npos) {
    if (bytes.size() > limit) bytes.resize(limit);
    const fs::path folder = root_ / target;
    std::error_code error;
    fs::create_directories(folder, error);
    if (common::WriteFileAtomic(folder / name, bytes)) ++written_;
    else std::fprintf(stderr, "fuzz_seeds: cannot write %s\n", (folder / name).c_str());
  }

  // Every file below `folder` whose extension (lower case) is one of `extensions`.
  void AddFiles(const std::string& target, const fs::path& folder, std::initializer_list<const char*> extensions,
                size_t limit = std::string::npos) {
    std::error_code error;
    if (folder.empty() || !fs::is_directory(folder, error)) return;
    for (const auto& entry : fs::recursive_directory_iterator(folder, error)) {
      if (!entry.is_regular_file(error)) continue;
      const std::string extension = common::LowerExtension(entry.path());
      bool wanted = false;
      for (const char* e : extensions) wanted |= extension == e;
      std::string bytes;
      if (!wanted || !common::ReadWholeFile(entry.path(), bytes)) continue;
      const std::string relative = fs::relative(entry.path(), folder, error).string();
      std::string name = fs::path(folder).filename().string() + "_" + relative;
      for (char& c : name)
        if (c == '/') c = '_';
      Add(target, name, std::move(bytes), limit);
    }
  }

  size_t written() const { return written_; }

 private:
  fs::path root_;
  size_t written_ = 0;
};

std::string SampleDocument() {
  common::Settings settings;
  return markup::MakeSampleBook(3, settings);
}

void StoredBooks(SeedWriter& seeds) {
  markup::StoredBook book;
  book.document = SampleDocument();
  book.header[markup::HeaderField::Author] = "Ann Lee";
  book.header[markup::HeaderField::Title] = "A Walk";
  book.header[markup::HeaderField::Annotation] = "Two lines\nof annotation";
  seeds.Add("stored_book", "plain.html0", markup::WriteStoredBook(book));
  book.compressed = true;
  seeds.Add("stored_book", "compressed.html0", markup::WriteStoredBook(book));
  book.pictures = {{"cover.png", std::string("\x89PNG\r\n\x1A\n picture bytes", 23)}, {"two.jpg", "\xFF\xD8\xFF jpeg"}};
  seeds.Add("stored_book", "pictures.html0", markup::WriteStoredBook(book));
  book.compressed = false;
  seeds.Add("stored_book", "plain-pictures.html0", markup::WriteStoredBook(book));
  seeds.Add("stored_book", "blank.html0", markup::MakeBlankBook());
}

void RuleFiles(SeedWriter& seeds) {
  corrector::CleanUpTable table;
  table.mode = 4;
  table.comment = "<p>What these rules do</p>";
  table.rows = {{"  ", " ", false, false, true},
                {"(\\w+)--(\\w+)", "$1 — $2", true, true, true},
                {"chr(133)", "...", false, false, false},
                {"!", "", false, false, true}};
  seeds.Add("rule_file", "rules.bcf", corrector::WriteRuleFile(table));
  seeds.Add("rule_file", "old.dat", "3\r\n2\r\n--\r\n—\r\n0\r\n0\r\n1\r\n  \r\n \r\n0\r\n0\r\n1\r\n");
}

void Citations(SeedWriter& seeds) {
  shell::CitationCollection collection;
  collection.title = "Kept & found";
  collection.citations = {{"Ann Lee. A Walk", "The road went on.\r\nAnd on."},
                          {"B. \"Quoted\" <Writer>", "<P>A paragraph of <I>html0</I>.</P>"}};
  seeds.Add("citation", "two.cit", shell::WriteCitationFile(collection));
}

void SmallFormats(SeedWriter& seeds) {
  // A TCR book whose table maps each byte to itself, but 'A' to a whole word.
  std::string tcr = "!!8-Bit!!";
  for (int i = 0; i < 256; ++i) {
    const std::string entry = i == 'A' ? std::string("Alice ") : std::string(1, static_cast<char>(i));
    tcr += static_cast<char>(entry.size());
    tcr += entry;
  }
  tcr += "A was here.\r\nA went on.\r\n";
  seeds.Add("tcr", "small.tcr", tcr);
  seeds.Add("kml", "book.kml",
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<hiebook><book>\n<para>Глава первая</para>\n"
            "<para>- Dialogue &amp; more &#8212; &#x2014;</para>\n<para><b>bold</b> text</para>\n<para/>\n</book></hiebook>\n");
  for (const auto& [name, text] :
       std::vector<std::pair<std::string, std::string>>{
           {"header.txt", "Ann Lee\r\n\r\nA WALK\r\n\r\nChapter 1\r\n\r\n    The road went on.\r\n    -- Yes, it did.\r\n"},
           {"cyrillic.txt", "\xc3\xeb\xe0\xe2\xe0 1\r\n\r\n\xd2\xe5\xea\xf1\xf2 \xea\xed\xe8\xe3\xe8.\r\n"},
           {"tagged.txt", "<b>Title</b>\n\nText with <i>tags</i> & notes [1].\n\n[1] The note.\n"}})
    seeds.Add("text_import", name, text);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: fuzz_seeds OUT_FOLDER\n");
    return 2;
  }
  SeedWriter seeds(argv[1]);
  const fs::path data = test::DataPath("");
  const fs::path corpus = test::CorpusPath("");
  constexpr size_t kTextLimit = 16 * 1024;
  constexpr size_t kDocumentLimit = 64 * 1024;

  StoredBooks(seeds);
  seeds.AddFiles("stored_book", data / "markup", {"html0"}, kDocumentLimit);
  seeds.AddFiles("fb2_import", data, {"fb2", "xml"});
  seeds.AddFiles("fb2_import", corpus.empty() ? fs::path() : corpus / "fb2", {"fb2"});
  seeds.Add("html0_reader", "sample.html0", SampleDocument());
  seeds.Add("html0_reader", "blank.html0", markup::MakeBlankBook());
  seeds.AddFiles("html0_reader", data, {"html0"}, kDocumentLimit);
  seeds.AddFiles("html_import", data, {"htm", "html"}, kDocumentLimit);
  seeds.AddFiles("html_import", corpus.empty() ? fs::path() : corpus / "html", {"htm", "html"}, kTextLimit);
  seeds.AddFiles("text_import", corpus.empty() ? fs::path() : corpus / "txt", {"txt"}, kTextLimit);
  RuleFiles(seeds);
  seeds.AddFiles("rule_file", test::ShippedDataPath(""), {"bcf", "dat"});
  Citations(seeds);
  SmallFormats(seeds);
  seeds.Add("rb", "sample.rb", import::rb::testing::MakeRb(import::rb::testing::SampleRbParts()));
  seeds.Add("lit", "sample.lit", import::lit::testing::MakeLit(import::lit::testing::SampleLitFiles()));
  const fs::path generated = corpus.empty() ? fs::path() : corpus / "other" / "generated";
  seeds.AddFiles("tcr", generated, {"tcr"});
  seeds.AddFiles("rb", generated, {"rb"});
  seeds.AddFiles("lit", generated, {"lit"});
  std::printf("fuzz_seeds: %zu seeds written to %s\n", seeds.written(), argv[1]);
  return 0;
}

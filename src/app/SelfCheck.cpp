#include "app/SelfCheck.h"

#include <functional>

#include "common/Files.h"
#include "common/Settings.h"
#include "common/Text.h"
#include "markup/BookMarkup.h"
#include "markup/Normalise.h"
#include "markup/PlainHtml.h"
#include "markup/SampleBook.h"
#include "markup/Signature.h"
#include "markup/StoredBook.h"

namespace pw::app {
namespace {

class Checker {
 public:
  explicit Checker(std::ostream& out) : out_(out) {}
  void Check(bool ok, std::string_view what) {
    out_ << (ok ? "ok      " : "FAILED  ") << what << "\n";
    if (!ok) ++failures_;
  }
  int failures() const { return failures_; }

 private:
  std::ostream& out_;
  int failures_ = 0;
};

}  // namespace

int RunSelfCheck(const std::string& bookPath, std::ostream& out) {
  common::Settings settings;
  std::string book;
  if (bookPath.empty()) {
    book = markup::MakeSampleBook(3, settings);
    out << "sample book: " << book.size() << " bytes\n";
  } else if (!common::ReadWholeFile(bookPath, book)) {
    out << "cannot read " << bookPath << "\n";
    return 1;
  } else {
    out << bookPath << ": " << book.size() << " bytes\n";
  }

  Checker check(out);
  const size_t titles = common::CountOccurrences(book, markup::kTitleOpen) + common::CountOccurrences(book, markup::kFormerTitleOpen);

  markup::NormaliseBookHeader(book, settings.sectionMode);
  check.Check(common::CountOccurrences(book, "<BODY") == 1, "normalised book has exactly one body tag");
  check.Check(book.find("<BASEFONT") == std::string::npos, "no BASEFONT left");
  check.Check(book.find("<BR>") == std::string::npos, "no bare line break left");
  check.Check(common::CountOccurrences(book, markup::kTitleOpen) == titles, "every title kept");

  if (titles > 0) {
    std::string withContents = book;
    check.Check(markup::InsertContents(withContents, settings.bookCodePage) &&
                    common::CountOccurrences(withContents, " href=\"#") == titles,
                "contents block lists every title");
  }

  std::string signed1 = book;
  markup::RemoveSignature(signed1);
  markup::AddSignature(signed1, "22.11.2026", true);
  markup::RemoveSignature(signed1);
  markup::AddSignature(signed1, "22.11.2026", true);
  check.Check(common::CountOccurrences(signed1, markup::kSignatureOpen) == 1 &&
                  common::CountOccurrences(signed1, markup::kLastParagraph) == 1,
              "signing twice leaves one signature and one last paragraph");

  std::string plain = book;
  common::NullProgress progress;
  markup::ArrangeAsPlainHtml(plain, markup::PlainHtmlOptions{}, progress);
  check.Check(plain.find("<FONT") == std::string::npos && plain.find("<BODY") == std::string::npos,
              "plain HTML has no font or body tags");
  check.Check(common::CountOccurrences(plain, markup::kTitleOpen) == titles, "plain HTML keeps every title");

  for (const bool compressed : {false, true}) {
    markup::StoredBook stored;
    stored.document = book;
    stored.compressed = compressed;
    stored.header[markup::HeaderField::Title] = "Дорога на север";
    stored.pictures.push_back({"cover.png", std::string("\x89PNG\r\n\x1a\n<!/PwPictureData>", 24)});
    const std::string bytes = markup::WriteStoredBook(stored);
    markup::StoredBook back;
    std::string error;
    const bool read = markup::ReadStoredBook(bytes, back, error);
    check.Check(read && back.document == book && back.compressed == compressed &&
                    back.header[markup::HeaderField::Title] == stored.header[markup::HeaderField::Title] && back.pictures.size() == 1 &&
                    back.pictures[0].data == stored.pictures[0].data,
                std::string(compressed ? "compressed" : "plain") + " stored book round trip (" +
                    std::to_string(bytes.size()) + " bytes)" + (error.empty() ? "" : ": " + error));
    if (compressed) {
      check.Check(!markup::ReadStoredBook(bytes.substr(0, bytes.size() / 2), back, error),
                  "compressed stored book cut in half is refused");
    }
  }

  out << (check.failures() == 0 ? "all checks passed\n" : "some checks FAILED\n");
  return check.failures() == 0 ? 0 : 1;
}

}  // namespace pw::app

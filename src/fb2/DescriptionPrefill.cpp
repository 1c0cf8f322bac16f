#include "fb2/DescriptionPrefill.h"

#include "common/Text.h"

namespace pw::fb2 {

Fb2Description DescriptionFromBook(const BookFacts& book) {
  Fb2Description description;
  description.authors = SplitAuthors(book.author);
  description.title = std::string(common::Trim(book.title));
  const std::string subtitle(common::Trim(book.subtitle));
  if (!subtitle.empty()) {
    // A title that ends a sentence needs no point before its subtitle.
    const bool closed = !description.title.empty() &&
                        std::string_view(".!?:").find(description.title.back()) != std::string_view::npos;
    description.title += description.title.empty() ? subtitle : (closed ? " " : ". ") + subtitle;
  }
  description.annotation = book.annotation;
  description.lang = book.lang;
  description.program = AppendProgramUsed("");
  description.documentDateValue = TodayDateValue();
  description.documentDate = description.documentDateValue;
  description.id = MakeDocumentId();
  description.version = "1.0";
  return description;
}

}  // namespace pw::fb2

#include "shell/BookSession.h"

#include "common/Files.h"
#include "markup/DescriptionPlace.h"
#include "markup/StoredBook.h"

namespace pw::shell {
namespace {

// A stored book opens as the working document: its pictures are written beside it and its
// description is cut out into the description files of the book folder.
bool LoadStoredBook(const fs::path& input, const fs::path& workingDocument, const fs::path& bookFolder,
                    common::Session& session) {
  markup::StoredBook book;
  std::string error;
  if (!markup::LoadStoredBookFile(input, bookFolder, book, error)) {
    session.messages.Show(common::Msg::StoredBookDamaged, input.filename().string() + ": " + error);
    return false;
  }
  if (!markup::SplitOutDescription(book.document, bookFolder)) return false;
  return common::WriteFileAtomic(workingDocument, book.document);
}

ConverterRegistry MakeRegistry() {
  ConverterRegistry registry;
  registry.Add({{"html0"}, std::string(ConversionStatus("html0")), LoadStoredBook});
  return registry;
}

}  // namespace

const ConverterRegistry& Converters() {
  static const ConverterRegistry registry = MakeRegistry();
  return registry;
}

}  // namespace pw::shell

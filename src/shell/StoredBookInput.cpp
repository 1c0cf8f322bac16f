#include "shell/StoredBookInput.h"

#include "common/CodePage.h"
#include "common/Files.h"
#include "common/Text.h"
#include "common/Utf8.h"
#include "markup/DescriptionPlace.h"

namespace pw::shell {
namespace {

struct CharsetPlace {
  size_t begin = std::string::npos;  // the charset name's first byte
  size_t end = std::string::npos;
};

// Where the charset name of the first meta line before the body stands.
CharsetPlace FindMetaCharset(std::string_view document) {
  size_t body = common::FindAsciiCaseless(document, "<body");
  if (body == std::string_view::npos) body = document.size();
  for (size_t meta = common::FindAsciiCaseless(document, "<meta"); meta < body;
       meta = common::FindAsciiCaseless(document, "<meta", meta + 5)) {
    const size_t tagEnd = document.find('>', meta);
    if (tagEnd == std::string_view::npos) break;
    const std::string_view tag = document.substr(meta, tagEnd - meta);
    const size_t at = common::FindAsciiCaseless(tag, "charset=");
    if (at == std::string_view::npos) continue;
    size_t begin = at + 8;
    if (begin < tag.size() && (tag[begin] == '"' || tag[begin] == '\'')) ++begin;
    size_t end = begin;
    while (end < tag.size() && tag[end] != '"' && tag[end] != '\'' && tag[end] != ';' && tag[end] != ' ' &&
           tag[end] != '/')
      ++end;
    return {meta + begin, meta + end};
  }
  return {};
}

}  // namespace

bool MakeDocumentUtf8(std::string& document) {
  const CharsetPlace place = FindMetaCharset(document);
  bool decoded = false;
  if (!common::IsValidUtf8(document)) {
    common::CodePage codePage = common::CodePage::Win1251;
    if (place.begin != std::string::npos &&
        (!common::ParseCodePage(std::string_view(document).substr(place.begin, place.end - place.begin), codePage) ||
         codePage == common::CodePage::Utf8))
      codePage = common::CodePage::Win1251;
    document = common::DecodeToUtf8(document, codePage);
    decoded = true;
  }
  const CharsetPlace after = decoded ? FindMetaCharset(document) : place;
  if (after.begin != std::string::npos)
    document.replace(after.begin, after.end - after.begin, "utf-8");
  return decoded;
}

bool ConvertStoredBook(ConvertJob& job) {
  markup::StoredBook book;
  std::string error;
  if (!markup::LoadStoredBookFile(job.input, job.bookFolder, book, error)) {
    job.session.messages.Show(common::Msg::StoredBookDamaged, job.sourceName + ": " + error);
    return false;
  }
  MakeDocumentUtf8(book.document);
  if (!markup::SplitOutDescription(book.document, job.bookFolder)) return false;
  if (book.hasHeader) job.header = book.header;
  return common::WriteFileAtomic(job.workingDocument, book.document);
}

}  // namespace pw::shell

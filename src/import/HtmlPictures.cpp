#include "import/HtmlPictures.h"

#include <set>

#include "common/Text.h"
#include "common/PicturePaths.h"
#include "import/Entities.h"
#include "markup/TagReader.h"

namespace pw::import {
namespace {

template <typename Visit>
void EachTag(std::string_view html, Visit visit) {
  for (size_t lt = html.find('<'); lt != std::string_view::npos; lt = html.find('<', lt + 1)) {
    if (html.compare(lt, 4, "<!--") == 0) {
      const size_t end = html.find("-->", lt + 4);
      if (end == std::string_view::npos) return;
      lt = end;
      continue;
    }
    markup::TagToken tag;
    size_t end = 0;
    if (!markup::ReadTagToken(html, lt, tag, end) || tag.closing) continue;
    visit(tag);
    lt = end - 1;
  }
}

bool IsCoverLink(const markup::TagToken& tag) {
  if (tag.name != "link") return false;
  const std::string rel = common::AsciiLower(markup::TagAttribute(tag.attributes, "rel"));
  return rel == "coverpage" || rel == "cover";
}

}  // namespace


std::string CoverPageReference(std::string_view html) {
  std::string found;
  EachTag(html, [&](const markup::TagToken& tag) {
    if (found.empty() && IsCoverLink(tag)) found = ReplaceHtmlEntitiesUtf8(markup::TagAttribute(tag.attributes, "href"));
  });
  return std::string(common::Trim(found));
}

bool ShowsPicture(std::string_view html, std::string_view reference) {
  bool shown = false;
  EachTag(html, [&](const markup::TagToken& tag) {
    shown = shown || (tag.name == "img" &&
                      common::Trim(ReplaceHtmlEntitiesUtf8(markup::TagAttribute(tag.attributes, "src"))) == reference);
  });
  return shown;
}

std::vector<std::string> LocalPictureReferences(std::string_view html) {
  std::vector<std::string> references;
  std::set<std::string> seen;
  const auto add = [&](std::string reference) {
    reference = std::string(common::Trim(reference));
    if (common::IsRelativeReference(reference) && seen.insert(reference).second) references.push_back(std::move(reference));
  };
  add(CoverPageReference(html));
  EachTag(html, [&](const markup::TagToken& tag) {
    if (tag.name == "img") add(ReplaceHtmlEntitiesUtf8(markup::TagAttribute(tag.attributes, "src")));
  });
  return references;
}

}  // namespace pw::import

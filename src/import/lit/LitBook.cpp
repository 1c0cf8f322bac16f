#include "import/lit/LitBook.h"

#include <map>
#include <set>

#include "common/Limits.h"
#include "common/Text.h"
#include "common/Utf8.h"
#include "import/Entities.h"
#include "import/lit/LitMarkup.h"
#include "markup/TagReader.h"

namespace pw::import::lit {

namespace {

constexpr size_t kLongestLink = 100;

struct ManifestEntry {
  std::string path;
  std::string mediaType;
};

// `count` characters of UTF-8 from `pos`.
bool ReadChars(std::string_view bytes, size_t& pos, size_t count, std::string& out) {
  out.clear();
  for (size_t i = 0; i < count; ++i) {
    if (pos >= bytes.size()) return false;
    const size_t start = pos;
    common::NextCodePoint(bytes, pos);
    out.append(bytes.substr(start, pos - start));
  }
  return true;
}

// The container's own list of components: for each folder, four groups (each a count and its
// entries); an entry is an offset, then the internal name, the file name and the media type,
// each with its length in characters before it, and a zero.
bool ReadManifest(std::string_view bytes, std::map<std::string, ManifestEntry>& byInternal) {
  size_t pos = 0;
  std::string text;
  while (pos < bytes.size()) {
    const size_t folderLength = static_cast<unsigned char>(bytes[pos++]);
    if (folderLength == 0) return true;
    if (!ReadChars(bytes, pos, folderLength, text)) return false;
    for (int group = 0; group < 4; ++group) {
      if (pos + 4 > bytes.size()) return false;
      const uint32_t count = static_cast<unsigned char>(bytes[pos]) | static_cast<unsigned char>(bytes[pos + 1]) << 8 |
                             static_cast<unsigned char>(bytes[pos + 2]) << 16 |
                             static_cast<uint32_t>(static_cast<unsigned char>(bytes[pos + 3])) << 24;
      pos += 4;
      if (count > bytes.size()) return false;
      for (uint32_t i = 0; i < count; ++i) {
        pos += 4;
        std::string fields[3];
        for (std::string& field : fields) {
          if (pos >= bytes.size()) return false;
          const size_t length = static_cast<unsigned char>(bytes[pos++]);
          if (!ReadChars(bytes, pos, length, field)) return false;
        }
        ++pos;
        byInternal[fields[0]] = {fields[1], fields[2]};
      }
    }
  }
  return !byInternal.empty();
}

// The value of attribute `name` of the tag that `tag` starts with, its references decoded.
std::string Attribute(std::string_view tag, std::string_view name) {
  const size_t blank = tag.find(' ');
  if (blank == std::string_view::npos) return {};
  return ReplaceHtmlEntitiesUtf8(markup::TagAttribute(tag.substr(blank), name));
}

bool IsText(const LitItem& item) {
  return item.mediaType.find("html") != std::string::npos || item.mediaType.find("oeb1-document") != std::string::npos;
}
bool IsPicture(const LitItem& item) { return common::StartsWith(item.mediaType, "image/"); }
bool IsStyle(const LitItem& item) { return item.mediaType.find("css") != std::string::npos; }

// Removes, in one pass, the tags that the combined document has only once: the page's meta
// lines and its html and body tags.
std::string StripPageFrame(std::string_view html) {
  std::string out;
  out.reserve(html.size());
  size_t pos = 0;
  while (pos < html.size()) {
    const size_t lt = html.find('<', pos);
    if (lt == std::string_view::npos) {
      out.append(html.substr(pos));
      break;
    }
    out.append(html.substr(pos, lt - pos));
    const size_t gt = html.find('>', lt);
    if (gt == std::string_view::npos) {
      out.append(html.substr(lt));
      break;
    }
    const std::string_view tag = html.substr(lt, gt + 1 - lt);
    const auto is = [&](std::string_view name) {
      return tag.size() > name.size() && common::FindAsciiCaseless(tag.substr(0, name.size()), name) == 0;
    };
    const bool frame = is("<meta") || is("<html") || is("</html") || is("<body") || is("</body");
    if (!frame) out.append(tag);
    pos = gt + 1;
  }
  return out;
}

}  // namespace

std::string PackageField(std::string_view package, std::string_view open, std::string_view close) {
  const size_t at = package.find(open);
  if (at == std::string_view::npos) return {};
  const size_t start = package.find('>', at);
  if (start == std::string_view::npos) return {};
  const size_t end = package.find(close, start);
  if (end == std::string_view::npos) return {};
  return std::string(common::Trim(ReplaceHtmlEntitiesUtf8(package.substr(start + 1, end - start - 1))));
}

std::string RewriteLinks(std::string_view html, const LinkTargets& targets) {
  static constexpr std::string_view kHref = " href=\"";
  std::string out;
  out.reserve(html.size());
  size_t pos = 0;
  while (true) {
    const size_t at = html.find(kHref, pos);
    if (at == std::string_view::npos) break;
    const size_t start = at + kHref.size();
    const size_t end = html.find('"', start);
    if (end == std::string_view::npos) break;
    out.append(html.substr(pos, start - pos));
    const std::string_view target = html.substr(start, end - start);
    const size_t hash = target.find('#');
    const std::string_view file = target.substr(0, hash);
    const std::string_view anchor = hash == std::string_view::npos ? std::string_view{} : target.substr(hash);
    const auto found = file.empty() || file.size() > kLongestLink ? targets.end() : targets.find(file);
    if (found == targets.end()) {
      out.append(target);
    } else if (found->second.part) {
      out.append(anchor.empty() ? std::string_view(found->second.to) : anchor);
    } else {
      out += found->second.to;
      out.append(anchor);
    }
    pos = end;
  }
  out.append(html.substr(pos));
  return out;
}

LitError ReadLitBook(std::string_view file, LitBook& book, common::Progress& progress) {
  book = {};
  progress.Status("...getting file components...");
  LitContainer container;
  if (const LitError error = container.Open(file); error != LitError::None) return error;
  if (container.HasOwnerDrm()) return LitError::Protected;

  progress.Status("...analyzing file list...wait please");
  std::string bytes;
  std::map<std::string, ManifestEntry> byInternal;
  if (const LitError error = container.Read("/manifest", bytes); error != LitError::None) return error;
  if (!ReadManifest(bytes, byInternal)) return LitError::Damaged;
  std::map<std::string, std::string> internalByPath;
  for (const auto& [internal, entry] : byInternal) internalByPath[entry.path] = internal;
  const auto resolve = [&](std::string_view internal) {
    const auto found = byInternal.find(std::string(internal));
    return found == byInternal.end() ? std::string(internal) : found->second.path;
  };

  progress.Status("...analyzing file structure...wait please...");
  std::string package;
  if (const LitError error = container.Read("/meta", bytes); error != LitError::None) return error;
  if (!DecodeLitMarkup(bytes, MarkupKind::Package, resolve, package)) return LitError::Damaged;
  book.title = PackageField(package, "<dc:Title", "</dc:Title>");
  book.author = PackageField(package, "<dc:Creator", "</dc:Creator>");
  const size_t manifestStart = package.find("<manifest>");
  const size_t manifestEnd = package.find("</manifest>");
  if (manifestStart == std::string::npos || manifestEnd == std::string::npos || manifestEnd < manifestStart)
    return LitError::Damaged;
  const std::string_view manifest = std::string_view(package).substr(manifestStart, manifestEnd - manifestStart);
  for (size_t at = manifest.find("<item "); at != std::string_view::npos; at = manifest.find("<item ", at + 1)) {
    const std::string_view tag = manifest.substr(at, manifest.find('>', at) - at);
    LitItem item;
    item.id = Attribute(tag, "id");
    item.path = Attribute(tag, "href");
    item.mediaType = common::AsciiLower(Attribute(tag, "media-type"));
    const auto internal = internalByPath.find(item.path);
    item.internal = internal != internalByPath.end() ? internal->second : item.id;
    book.manifest.push_back(std::move(item));
  }

  progress.Status("...combining files...");
  // Everything the book holds counts against one bound, so that no listing of the package,
  // however repetitive, makes it grow past what its file could honestly hold.
  size_t left = common::BookSizeLimit(file.size());
  const auto take = [&left](size_t bytes) {
    if (bytes > left) return false;
    left -= bytes;
    return true;
  };
  // Each component once, in the order of its first listing; a later listing of the same
  // component is a name for it and adds nothing.
  LinkTargets targets;
  std::vector<std::pair<std::string, std::string>> parts;  // internal name, anchor
  std::vector<std::pair<std::string, std::string>> sheets;  // internal name, file name
  std::map<std::string, LinkTarget> targetByInternal;
  for (const LitItem& item : book.manifest) {
    const bool text = IsText(item);
    if (!text && !IsStyle(item)) continue;
    // A component listed both as text and as a style sheet stays what it was listed as first.
    auto [known, added] = targetByInternal.try_emplace(item.internal);
    if (added && text) {
      const std::string anchor = "LitPart" + std::to_string(parts.size() + 1);
      parts.emplace_back(item.internal, anchor);
      known->second = {"#" + anchor, true};
    } else if (added) {
      const std::string name = "LitStyle" + std::to_string(sheets.size() + 1) + ".css";
      sheets.emplace_back(item.internal, name);
      known->second = {name, false};
    }
    if (!item.path.empty()) targets.try_emplace(item.path, known->second);
  }
  std::string combined;
  std::string page;
  for (const auto& [internal, anchor] : parts) {
    if (const LitError error = container.Read("/data/" + internal + "/content", bytes); error != LitError::None)
      return error;
    if (!DecodeLitMarkup(bytes, MarkupKind::Html, resolve, page)) return LitError::Damaged;
    const std::string rewritten = RewriteLinks(StripPageFrame(page), targets);
    const std::string start = "<A name=\"" + anchor + "\"></A>";
    if (!take(start.size() + rewritten.size() + 2)) return LitError::TooLarge;
    combined += start;
    combined += rewritten;
    combined += "\r\n";
  }
  if (parts.empty()) return LitError::Damaged;

  progress.Status("...preparing cover picture...");
  std::string coverHref;
  const size_t guide = package.find("<guide>");
  if (guide != std::string::npos) {
    const size_t cover = package.find("other.ms-coverimage", guide);
    if (cover != std::string::npos) {
      const size_t tagStart = package.rfind('<', cover);
      coverHref = Attribute(std::string_view(package).substr(tagStart, package.find('>', cover) - tagStart), "href");
    }
  }
  for (const LitItem& item : book.manifest)
    if (IsPicture(item) && (item.id == "thumb" || item.path == coverHref)) book.coverPath = item.path;

  progress.Status("...looking for images...");
  std::set<std::string> picturesTaken;
  for (const LitItem& item : book.manifest) {
    if (!IsPicture(item) || !picturesTaken.insert(item.path).second) continue;
    const LitError error = container.Read("/data/" + item.internal, bytes);
    if (error == LitError::TooLarge) return error;
    if (error != LitError::None) continue;
    if (!take(bytes.size())) return LitError::TooLarge;
    book.pictures.emplace_back(item.path, bytes);
  }

  progress.Status("...looking for styles...");
  std::string styles;
  for (const auto& [internal, name] : sheets) {
    const LitError error = container.Read("/data/" + internal, bytes);
    if (error == LitError::TooLarge) return error;
    if (error != LitError::None) continue;
    // Held twice: in the document's head and as the file beside the book.
    if (!take(bytes.size()) || !take(bytes.size() + 2)) return LitError::TooLarge;
    styles += bytes;
    styles += "\r\n";
    book.styles.emplace_back(name, bytes);
  }
  book.html = "<HTML><HEAD><STYLE>" + styles + "</STYLE></HEAD><BODY>\r\n" + combined + "</BODY></HTML>\r\n";
  return LitError::None;
}

}  // namespace pw::import::lit

// A minimal lit book written by the tests: the container (header, directory, the plain
// section and an LZX section of stored blocks), the component list, the package file and the
// pages as token streams.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "common/Utf8.h"
#include "import/lit/LitContainer.h"
#include "LzxTestSupport.h"

namespace pw::import::lit::testing {

inline void AppendLe(std::string& out, uint64_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out += static_cast<char>((value >> (8 * i)) & 0xFF);
}

// Tag and attribute numbers of token streams.
enum HtmlTag : unsigned { kA = 3, kBody = 16, kH1 = 42, kHead = 48, kHtml = 50, kI = 51, kImg = 53, kLink = 60, kP = 74,
                           kTitle = 101 };
enum PackageTag : unsigned { kPackage = 1, kDcTitle = 2, kDcCreator = 3, kManifest = 16, kItem = 17, kMetadata = 20,
                             kDcMetadata = 21, kGuide = 40, kReference = 41 };
inline constexpr unsigned kClass = 0x83EA;
inline constexpr unsigned kId = 6, kHref = 7, kMediaType = 8, kType = 0x12;

// Token streams: text as it is, a tag as zero, its flags, its number, its attributes (number,
// length + 1, characters) and a closing zero.
class Tokens {
 public:
  using Attributes = std::vector<std::pair<unsigned, std::string>>;
  Tokens& Open(unsigned tag, const Attributes& attributes = {}, bool empty = false) {
    out_ += '\0';
    common::AppendUtf8(out_, empty ? 3 : 1);
    common::AppendUtf8(out_, tag);
    for (const auto& [code, value] : attributes) {
      common::AppendUtf8(out_, code);
      common::AppendUtf8(out_, static_cast<char32_t>(common::CodePointCount(value) + 1));
      out_ += value;
    }
    out_ += '\0';
    return *this;
  }
  Tokens& Close() {
    out_ += '\0';
    common::AppendUtf8(out_, 2);
    out_ += '\0';
    return *this;
  }
  Tokens& Text(const std::string& text) {
    out_ += text;
    return *this;
  }
  // A reference to a component by its internal name, as links and sources hold it.
  static std::string Ref(const std::string& internal) { return "\x02" + internal; }
  const std::string& str() const { return out_; }

 private:
  std::string out_;
};

struct LitFixtureFile {
  std::string name;
  std::string bytes;
  bool compressed = false;  // in the LZX section
  // When set, the entry points at the bytes of the file of that name (given or made by
  // MakeLit) instead of holding bytes of its own.
  std::string sameAs{};
  // When set, the entry lies at offset 0 of that section, `bytes` giving only its size.
  int section = -1;
};

// The files of an LZX section `name` whose stream is `stream`: it unpacks to `unpackedLength`,
// is reset every `resetFrames` frames, and every reset starts again at the stream's start.
inline std::vector<LitFixtureFile> LzxSectionFiles(const std::string& name, const std::string& stream,
                                                   uint64_t unpackedLength, uint64_t resetFrames = 64) {
  const std::string storage = "::DataSpace/Storage/" + name + "/";
  std::string control;
  for (const uint64_t v : std::initializer_list<uint64_t>{7, 0x43585A4C, 3, resetFrames, 1, 1, 0, 0}) AppendLe(control, v, 4);
  const uint64_t frames = (unpackedLength + kLzxFrameBytes - 1) / kLzxFrameBytes;
  std::string resets;
  AppendLe(resets, 3, 4);
  AppendLe(resets, frames, 4);
  AppendLe(resets, 8, 4);
  AppendLe(resets, 40, 4);
  AppendLe(resets, unpackedLength, 8);
  AppendLe(resets, stream.size(), 8);
  AppendLe(resets, kLzxFrameBytes, 8);
  for (uint64_t i = 0; i < frames; ++i) AppendLe(resets, 0, 8);
  return {{storage + "Transform/List", std::string(kLzxTransform)},
          {storage + "Content", stream},
          {storage + "ControlData", control},
          {storage + "Transform/{0A9007C6-4076-11D3-8789-0000F8105754}/InstanceData/ResetTable", resets}};
}

// The list of section names: UTF-16, each with its length before and a zero after.
inline std::string SectionNameList(const std::vector<std::string>& names) {
  std::string out;
  AppendLe(out, 0, 2);
  AppendLe(out, names.size(), 2);
  for (const std::string& name : names) {
    AppendLe(out, name.size(), 2);
    for (const char c : name) AppendLe(out, static_cast<unsigned char>(c), 2);
    AppendLe(out, 0, 2);
  }
  return out;
}

// The container's list of components: one folder, the pages in the first group and the rest
// in the last.
inline std::string ComponentList(const std::vector<std::vector<std::string>>& pages,
                                 const std::vector<std::vector<std::string>>& others) {
  std::string out;
  out += '\x01';
  out += '/';
  const auto group = [&](const std::vector<std::vector<std::string>>& items) {
    AppendLe(out, items.size(), 4);
    for (const auto& item : items) {
      AppendLe(out, 0, 4);
      for (const std::string& field : item) {
        out += static_cast<char>(common::CodePointCount(field));
        out += field;
      }
      out += '\0';
    }
  };
  group(pages);
  group({});
  group({});
  group(others);
  out += '\0';
  return out;
}

// The container around `files`. With `encrypted`, the compressed section says that it is
// encrypted as well. Given files come first in the directory, so a given file stands in for
// one MakeLit would make of the same name (the section list, a section's storage).
inline std::string MakeLit(const std::vector<LitFixtureFile>& files, bool encrypted = false) {
  std::vector<LitEntry> entries;
  std::vector<std::string> sameAs;
  std::string plain;
  std::string packed;
  for (const LitFixtureFile& file : files) {
    sameAs.push_back(file.sameAs);
    if (file.section >= 0) {
      entries.push_back({file.name, static_cast<uint64_t>(file.section), 0, file.bytes.size()});
      continue;
    }
    std::string& section = file.compressed ? packed : plain;
    entries.push_back({file.name, file.compressed ? 1u : 0u, section.size(), file.bytes.size()});
    if (file.sameAs.empty()) section += file.bytes;
  }
  LzxWriter lzx(15);
  lzx.Header();
  if (!packed.empty()) lzx.Stored(packed);
  const auto addPlain = [&](const LitFixtureFile& file) {
    entries.push_back({file.name, 0, plain.size(), file.bytes.size()});
    plain += file.bytes;
  };
  addPlain({"::DataSpace/NameList", SectionNameList({"Uncompressed", "MSCompressed"})});
  for (LitFixtureFile& file : LzxSectionFiles("MSCompressed", lzx.bytes(), packed.size())) {
    if (encrypted && file.name.ends_with("Transform/List")) file.bytes = std::string(kDesTransform) + file.bytes;
    addPlain(file);
  }
  for (size_t i = 0; i < sameAs.size(); ++i) {
    if (sameAs[i].empty()) continue;
    for (const LitEntry& entry : entries) {
      if (entry.name != sameAs[i]) continue;
      entries[i] = {entries[i].name, entry.section, entry.offset, entry.size};
      break;
    }
  }

  std::string listing(48, '\0');
  listing.replace(0, 4, "AOLL");
  const auto number = [&](uint64_t v) {
    std::string bytes;
    do {
      bytes.insert(bytes.begin(), static_cast<char>((v & 0x7F) | (bytes.empty() ? 0 : 0x80)));
      v >>= 7;
    } while (v);
    listing += bytes;
  };
  for (const LitEntry& entry : entries) {
    number(entry.name.size());
    listing += entry.name;
    number(entry.section);
    number(entry.offset);
    number(entry.size);
  }
  listing += '\0';
  const uint32_t chunkSize = static_cast<uint32_t>(listing.size());
  std::string directory = "IFCM";
  for (const uint64_t v : std::initializer_list<uint64_t>{1, chunkSize, 0x100000, 0xFFFFFFFF, 0xFFFFFFFF, 1, 0})
    AppendLe(directory, v, 4);
  directory += listing;

  const uint64_t headerLength = 40, pieces = 5, secondaryLength = 32;
  const uint64_t directoryAt = headerLength + pieces * 16 + secondaryLength;
  const uint64_t contentAt = directoryAt + directory.size();
  std::string file = "ITOLITLS";
  for (const uint64_t v : std::initializer_list<uint64_t>{1, headerLength, pieces, secondaryLength}) AppendLe(file, v, 4);
  file.resize(headerLength, '\0');
  for (uint64_t piece = 0; piece < pieces; ++piece) {
    AppendLe(file, piece == 1 ? directoryAt : 0, 8);
    AppendLe(file, piece == 1 ? directory.size() : 0, 8);
  }
  file += "ITSF";
  AppendLe(file, 4, 4);
  AppendLe(file, 32, 4);
  AppendLe(file, 1, 4);
  AppendLe(file, contentAt, 8);
  AppendLe(file, 0, 8);
  file += directory;
  file += plain;
  return file;
}

// A page of the sample book: a head with a title, a heading and the body text.
inline std::string LitPage(const std::string& heading, const std::string& body) {
  Tokens t;
  t.Open(kHtml).Open(kHead).Open(kTitle).Text("page title").Close().Close();
  t.Open(kBody).Open(kH1).Text(heading).Close().Text(body).Close().Close();
  return t.str();
}

// Two pages (the second listed first by the container, the first by the package), a picture
// that is also the cover, a style sheet; the first page links to the second.
inline std::vector<LitFixtureFile> SampleLitFiles() {
  Tokens body;
  body.Open(kP).Text("See ");
  body.Open(kA, {{0x0001, Tokens::Ref("two") + "#deep"}}).Text("the place").Close();
  body.Text(" or ");
  body.Open(kA, {{0x0001, Tokens::Ref("two")}}).Text("the chapter").Close();
  body.Text(" <&> ").Close();
  body.Open(kImg, {{0x03EC, Tokens::Ref("pic")}}, true);
  Tokens package;
  package.Open(kPackage).Open(kMetadata).Open(kDcMetadata);
  package.Open(kDcTitle).Text("Tom & Jerry").Close();
  package.Open(kDcCreator).Text("A. Writer").Close().Close().Close();
  package.Open(kManifest);
  package.Open(kItem, {{kId, "one"}, {kHref, Tokens::Ref("one")}, {kMediaType, "text/x-oeb1-document"}}, true);
  package.Open(kItem, {{kId, "pic"}, {kHref, Tokens::Ref("pic")}, {kMediaType, "image/png"}}, true);
  package.Open(kItem, {{kId, "two"}, {kHref, Tokens::Ref("two")}, {kMediaType, "text/x-oeb1-document"}}, true);
  package.Open(kItem, {{kId, "css"}, {kHref, Tokens::Ref("css")}, {kMediaType, "text/x-oeb1-css"}}, true);
  package.Close();
  package.Open(kGuide).Open(kReference, {{kType, "other.ms-coverimage"}, {kHref, Tokens::Ref("pic")}}, true);
  package.Close().Close();
  const std::string components = ComponentList(
      {{"two", "chapter2.html", "text/html"}, {"one", "chapter1.html", "text/html"}},
      {{"pic", "images/cover.png", "image/png"}, {"css", "style.css", "text/css"}});
  return {{"/manifest", components},
          {"/meta", package.str()},
          {"/data/one/content", LitPage("Chapter One", "") + body.str(), true},
          {"/data/two/content", LitPage("Chapter Two", "Second page text."), true},
          {"/data/pic", "\x89PNG picture bytes", false},
          {"/data/css", ".em { font-style: italic }", false}};
}

// A package file listing `items` (id, internal name, media type) in order; `cover`, when not
// empty, is the internal name the guide gives as the cover picture.
struct PackageItem {
  std::string id;
  std::string internal;
  std::string mediaType;
};
inline std::string PackageOf(const std::vector<PackageItem>& items, const std::string& cover = {}) {
  Tokens package;
  package.Open(kPackage).Open(kMetadata).Open(kDcMetadata);
  package.Open(kDcTitle).Text("Made to measure").Close().Close().Close();
  package.Open(kManifest);
  for (const PackageItem& item : items)
    package.Open(kItem, {{kId, item.id}, {kHref, Tokens::Ref(item.internal)}, {kMediaType, item.mediaType}}, true);
  package.Close();
  if (!cover.empty())
    package.Open(kGuide).Open(kReference, {{kType, "other.ms-coverimage"}, {kHref, Tokens::Ref(cover)}}, true).Close();
  package.Close();
  return package.str();
}

// One page of `textBytes` letters kept under `names` internal names that all point at the same
// bytes, each listed once: a small file whose text, combined, is `names` times the page.
inline std::vector<LitFixtureFile> OnePageUnderManyNames(size_t names, size_t textBytes) {
  std::vector<std::vector<std::string>> components;
  std::vector<PackageItem> items;
  std::vector<LitFixtureFile> files;
  for (size_t i = 0; i < names; ++i) {
    const std::string internal = "p" + std::to_string(i);
    components.push_back({internal, internal + ".html", "text/html"});
    items.push_back({internal, internal, "text/x-oeb1-document"});
    if (i == 0)
      files.push_back({"/data/p0/content", LitPage("The page", std::string(textBytes, 'x'))});
    else
      files.push_back({"/data/" + internal + "/content", "", false, "/data/p0/content"});
  }
  files.push_back({"/manifest", ComponentList(components, {})});
  files.push_back({"/meta", PackageOf(items)});
  return files;
}

// A book whose style sheets carry the names of the workshop's own files beside a book, and
// whose cover picture has an extension no picture has. Its page links to the first sheet from
// its head and to the second from its text.
inline std::vector<LitFixtureFile> BookNamingTheWorkshopsFiles() {
  Tokens page;
  page.Open(kHtml).Open(kHead).Open(kLink, {{0x03EE, Tokens::Ref("css1")}, {0x03EF, "stylesheet"}}, true).Close();
  page.Open(kBody).Open(kH1).Text("Chapter One").Close();
  page.Open(kP).Text("Plain text, and ").Open(kA, {{0x0001, Tokens::Ref("css2") + "#top"}}).Text("a link").Close().Close();
  page.Open(kImg, {{0x03EC, Tokens::Ref("pic")}}, true).Close().Close();
  const std::string package = PackageOf({{"one", "one", "text/x-oeb1-document"},
                                         {"pic", "pic", "image/png"},
                                         {"css1", "css1", "text/x-oeb1-css"},
                                         {"css2", "css2", "text/css"},
                                         {"css3", "css3", "text/css"},
                                         {"css4", "css4", "text/css"}},
                                        "pic");
  const std::string components = ComponentList({{"one", "chapter1.html", "text/html"}},
                                               {{"pic", "images/cover.html0", "image/png"},
                                                {"css1", "Description.fb2", "text/css"},
                                                {"css2", "cover.jpg", "text/css"},
                                                {"css3", "Description.html0", "text/css"},
                                                {"css4", "../../outside.css", "text/css"}});
  return {{"/manifest", components},
          {"/meta", package},
          {"/data/one/content", page.str()},
          {"/data/pic", "\x89PNG picture bytes"},
          {"/data/css1", ".a { font-weight: bold }"},
          {"/data/css2", ".b { font-style: italic }"},
          {"/data/css3", ".c { color: red }"},
          {"/data/css4", ".d { color: blue }"}};
}

}  // namespace pw::import::lit::testing

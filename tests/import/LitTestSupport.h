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
enum HtmlTag : unsigned { kA = 3, kBody = 16, kH1 = 42, kHead = 48, kHtml = 50, kI = 51, kImg = 53, kP = 74, kTitle = 101 };
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
};

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
// encrypted as well.
inline std::string MakeLit(const std::vector<LitFixtureFile>& files, bool encrypted = false) {
  std::vector<LitEntry> entries;
  std::string plain;
  std::string packed;
  for (const LitFixtureFile& file : files) {
    std::string& section = file.compressed ? packed : plain;
    entries.push_back({file.name, file.compressed ? 1u : 0u, section.size(), file.bytes.size()});
    section += file.bytes;
  }
  LzxWriter lzx(15);
  lzx.Header();
  if (!packed.empty()) lzx.Stored(packed);
  const std::string stream = lzx.bytes();
  const auto addPlain = [&](const std::string& name, const std::string& bytes) {
    entries.push_back({name, 0, plain.size(), bytes.size()});
    plain += bytes;
  };
  std::string names;
  AppendLe(names, 0, 2);
  AppendLe(names, 2, 2);
  for (const std::string name : {"Uncompressed", "MSCompressed"}) {
    AppendLe(names, name.size(), 2);
    for (const char c : name) AppendLe(names, static_cast<unsigned char>(c), 2);
    AppendLe(names, 0, 2);
  }
  addPlain("::DataSpace/NameList", names);
  const std::string storage = "::DataSpace/Storage/MSCompressed/";
  addPlain(storage + "Transform/List",
           encrypted ? std::string(kDesTransform) + std::string(kLzxTransform) : std::string(kLzxTransform));
  addPlain(storage + "Content", stream);
  std::string control;
  for (const uint64_t v : std::initializer_list<uint64_t>{7, 0x43585A4C, 3, 64, 1, 1, 0, 0}) AppendLe(control, v, 4);
  addPlain(storage + "ControlData", control);
  const uint64_t frames = (packed.size() + kLzxFrameBytes - 1) / kLzxFrameBytes;
  std::string resets;
  AppendLe(resets, 3, 4);
  AppendLe(resets, frames, 4);
  AppendLe(resets, 8, 4);
  AppendLe(resets, 40, 4);
  AppendLe(resets, packed.size(), 8);
  AppendLe(resets, stream.size(), 8);
  AppendLe(resets, kLzxFrameBytes, 8);
  for (uint64_t i = 0; i < frames; ++i) AppendLe(resets, 0, 8);
  addPlain(storage + "Transform/{0A9007C6-4076-11D3-8789-0000F8105754}/InstanceData/ResetTable", resets);

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

}  // namespace pw::import::lit::testing

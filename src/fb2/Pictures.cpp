#include "fb2/Pictures.h"

#include <Magick++.h>

#include <algorithm>
#include <cmath>
#include <mutex>
#include <unordered_map>

#include "common/Files.h"
#include "common/Text.h"
#include "fb2/Base64.h"

namespace pw::fb2 {
namespace {

namespace fs = std::filesystem;

int RoundSide(double side) { return std::max(1, static_cast<int>(std::floor(side + 0.5))); }

std::string BlobBytes(const Magick::Blob& blob) {
  return std::string(static_cast<const char*>(blob.data()), blob.length());
}

// The colour type of a PNG's header (3 for a palette, other values for grey or true colour);
// -1 when the bytes do not start like a PNG.
int PngColourType(std::string_view bytes) {
  constexpr std::string_view kSignature("\x89PNG\r\n\x1a\n", 8);
  if (bytes.size() < 26 || bytes.substr(0, 8) != kSignature || bytes.substr(12, 4) != "IHDR") return -1;
  return static_cast<unsigned char>(bytes[25]);
}

// Scaled PNG: resampling makes new in-between colours, so a palette picture is brought back to
// the number of colours it used. Transparency is kept; the writer itself keeps grey pictures grey.
std::string WritePng(Magick::Image& image, const PictureSize& size, int colourType) {
  const unsigned long colours = colourType == 3 ? image.totalColors() : 0;
  Magick::Geometry geometry(static_cast<unsigned>(size.width), static_cast<unsigned>(size.height));
  geometry.aspect(true);
  image.zoom(geometry);
  if (colours > 0 && colours <= 256) {
    image.quantizeColors(static_cast<unsigned>(colours));
    image.quantizeDither(false);
    image.quantize();
  }
  image.strip();
  image.magick("PNG");
  Magick::Blob out;
  image.write(&out);
  return BlobBytes(out);
}

// JPEG has no transparency: transparent parts are laid over white rather than turning black.
// CMYK pictures become RGB, which every reader shows.
std::string WriteJpeg(Magick::Image& image, const PictureSize& size) {
  if (image.colorSpace() == Magick::CMYKColorspace) image.colorSpace(Magick::RGBColorspace);
  if (image.columns() != static_cast<unsigned>(size.width) || image.rows() != static_cast<unsigned>(size.height)) {
    Magick::Geometry geometry(static_cast<unsigned>(size.width), static_cast<unsigned>(size.height));
    geometry.aspect(true);
    image.zoom(geometry);
  }
  if (image.matte()) {
    Magick::Image flat(Magick::Geometry(image.columns(), image.rows()), Magick::Color("white"));
    flat.composite(image, 0, 0, Magick::OverCompositeOp);
    image = flat;
  }
  image.strip();
  image.magick("JPEG");
  image.quality(kJpegQuality);
  Magick::Blob out;
  image.write(&out);
  return BlobBytes(out);
}

std::string UnsupportedMessage(const fs::path& path, common::Language language) {
  std::string text(common::MessageText(common::Msg::UnsupportedImageFormat, language));
  text += common::SplitPath(path).extension;
  return text;
}

// Reads the picture file and converts it; nothing when the file is missing.
std::optional<Fb2Binary> FileToBinary(const fs::path& path, int tagWidth, int tagHeight, bool keepSizes,
                                      std::string_view idStem, std::string_view jpegType,
                                      common::Language language) {
  if (!common::FileExists(path)) return std::nullopt;
  Fb2Binary binary;
  std::string bytes;
  std::optional<ConvertedPicture> picture;
  if (common::ReadWholeFile(path, bytes)) picture = ConvertPicture(bytes, tagWidth, tagHeight, keepSizes);
  if (!picture) {
    binary.message = UnsupportedMessage(path, language);
    return binary;
  }
  binary.id = std::string(idStem) + (picture->png ? ".png" : ".jpg");
  binary.element = MakeBinaryElement(binary.id, picture->png ? std::string_view("image/png") : jpegType,
                                     picture->bytes);
  return binary;
}

// ---- import side -------------------------------------------------------------------------

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

struct Attribute {
  std::string_view name;
  std::string_view value;
};

struct StartTag {
  size_t end = std::string_view::npos;  // just past ">"; npos when the tag is not closed
  bool selfClosing = false;
  std::vector<Attribute> attributes;
};

// Parses the attributes of a start tag from `pos` (just past its name) to its ">". A "<" ends the
// attempt, since it cannot occur inside a tag; so each tag costs at most the text up to the next
// "<", and a scan over many broken tags stays linear.
StartTag ParseStartTag(std::string_view text, size_t pos) {
  StartTag tag;
  size_t i = pos;
  const size_t n = text.size();
  while (i < n) {
    while (i < n && IsBlank(text[i])) ++i;
    if (i >= n || text[i] == '<') return tag;
    if (text[i] == '>') {
      tag.end = i + 1;
      return tag;
    }
    if (text[i] == '/') {
      if (i + 1 < n && text[i + 1] == '>') {
        tag.selfClosing = true;
        tag.end = i + 2;
        return tag;
      }
      ++i;
      continue;
    }
    const size_t nameStart = i;
    while (i < n && !IsBlank(text[i]) && text[i] != '=' && text[i] != '>' && text[i] != '/' && text[i] != '<') ++i;
    Attribute attribute{text.substr(nameStart, i - nameStart), {}};
    while (i < n && IsBlank(text[i])) ++i;
    if (i < n && text[i] == '=') {
      ++i;
      while (i < n && IsBlank(text[i])) ++i;
      if (i < n && (text[i] == '"' || text[i] == '\'')) {
        const char quote = text[i++];
        const size_t valueStart = i;
        while (i < n && text[i] != quote && text[i] != '<') ++i;
        if (i >= n || text[i] == '<') return tag;
        attribute.value = text.substr(valueStart, i - valueStart);
        ++i;
      } else {
        const size_t valueStart = i;
        while (i < n && !IsBlank(text[i]) && text[i] != '>' && text[i] != '<') ++i;
        attribute.value = text.substr(valueStart, i - valueStart);
      }
    }
    if (!attribute.name.empty()) tag.attributes.push_back(attribute);
  }
  return tag;
}

// The value of the attribute whose local name (after any prefix) is `localName`.
std::string_view FindAttribute(const StartTag& tag, std::string_view localName) {
  for (const Attribute& attribute : tag.attributes) {
    std::string_view name = attribute.name;
    const size_t colon = name.rfind(':');
    if (colon != std::string_view::npos) name.remove_prefix(colon + 1);
    if (name == localName) return attribute.value;
  }
  return {};
}

// True when `text` holds the element name `name` at `pos` ("<image" followed by a blank, "/" or ">").
bool ElementAt(std::string_view text, size_t pos, std::string_view name) {
  const size_t after = pos + name.size();
  if (text.compare(pos, name.size(), name) != 0 || after >= text.size()) return false;
  const char c = text[after];
  return IsBlank(c) || c == '/' || c == '>';
}

struct BinaryEntry {
  std::string_view contentType;
  std::string_view content;
  bool tried = false;    // decoded and written once already
  std::string fileName;  // empty when it could not be restored
};

// Every binary element by its id; the first of two with the same id wins.
std::unordered_map<std::string_view, BinaryEntry> IndexBinaries(std::string_view text) {
  std::unordered_map<std::string_view, BinaryEntry> binaries;
  constexpr std::string_view kOpen = "<binary";
  constexpr std::string_view kClose = "</binary>";
  size_t pos = 0;
  while ((pos = text.find(kOpen, pos)) != std::string_view::npos) {
    if (!ElementAt(text, pos, kOpen)) {
      pos += kOpen.size();
      continue;
    }
    const StartTag tag = ParseStartTag(text, pos + kOpen.size());
    if (tag.end == std::string_view::npos) {
      pos += kOpen.size();
      continue;
    }
    BinaryEntry entry;
    entry.contentType = FindAttribute(tag, "content-type");
    size_t next = tag.end;
    if (!tag.selfClosing) {
      const size_t close = text.find(kClose, tag.end);
      if (close == std::string_view::npos) break;  // no later binary can be closed either
      entry.content = text.substr(tag.end, close - tag.end);
      next = close + kClose.size();
    }
    const std::string_view id = FindAttribute(tag, "id");
    if (!id.empty()) binaries.emplace(id, entry);
    pos = next;
  }
  return binaries;
}

// Decodes and writes the binary once; its file name, or empty when it cannot be restored.
// A newly written file is added to `files`.
const std::string& RestoreBinary(BinaryEntry& entry, const fs::path& workingFolder, int& number,
                                 std::vector<std::string>& files) {
  if (entry.tried) return entry.fileName;
  entry.tried = true;
  std::string bytes;
  if (!Base64Decode(entry.content, bytes) || bytes.empty()) return entry.fileName;
  const bool png = common::FindAsciiCaseless(entry.contentType, "png") != std::string_view::npos;
  std::string name = "Fb2toPwIm_" + std::to_string(number) + (png ? ".png" : ".jpg");
  if (!common::WriteFileAtomic(workingFolder / name, bytes)) return entry.fileName;
  ++number;
  files.push_back(name);
  entry.fileName = std::move(name);
  return entry.fileName;
}

}  // namespace

void InitPictureLibrary() {
  static std::once_flag once;
  std::call_once(once, [] { Magick::InitializeMagick(nullptr); });
}

PictureSize FitPictureSize(int tagWidth, int tagHeight, int ownWidth, int ownHeight, bool keepSizes) {
  const bool ownValid = ownWidth > 0 && ownHeight > 0;
  if (keepSizes) return ownValid ? PictureSize{ownWidth, ownHeight} : PictureSize{};
  double width = tagWidth;
  double height = tagHeight;
  if (tagWidth <= kSmallestTagSize || tagHeight <= kSmallestTagSize || tagWidth > kScreenWidth ||
      tagHeight > kScreenHeight) {
    if (!ownValid) return {};
    width = ownWidth;
    height = ownHeight;
  }
  const double ratio = width / height;
  if (width > kScreenWidth) {
    width = kScreenWidth;
    height = kScreenWidth / ratio;
  }
  if (height > kScreenHeight) {
    height = kScreenHeight;
    width = kScreenHeight * ratio;
  }
  return {RoundSide(width), RoundSide(height)};
}

std::optional<ConvertedPicture> ConvertPicture(std::string_view bytes, int tagWidth, int tagHeight, bool keepSizes) {
  if (bytes.empty()) return std::nullopt;
  InitPictureLibrary();
  try {
    const Magick::Blob blob(bytes.data(), bytes.size());
    {
      // The header alone tells the size; refuse a picture too big to decode before decoding it.
      Magick::Image probe;
      probe.quiet(true);
      probe.subRange(1);
      probe.ping(blob);
      if (static_cast<long long>(probe.columns()) * probe.rows() > kMaxPicturePixels) return std::nullopt;
    }
    Magick::Image image;
    image.quiet(true);
    image.subRange(1);  // the first frame of an animation or a multi-page file
    image.read(blob);
    const int ownWidth = static_cast<int>(image.columns());
    const int ownHeight = static_cast<int>(image.rows());
    if (ownWidth <= 0 || ownHeight <= 0 || static_cast<long long>(ownWidth) * ownHeight > kMaxPicturePixels) {
      return std::nullopt;
    }
    const std::string format = image.magick();
    ConvertedPicture picture;
    picture.png = format == "PNG";
    picture.size = FitPictureSize(tagWidth, tagHeight, ownWidth, ownHeight, keepSizes);
    if (picture.size.width <= 0 || picture.size.height <= 0) return std::nullopt;
    const bool sameSize = picture.size.width == ownWidth && picture.size.height == ownHeight;
    if (sameSize && (picture.png || format == "JPEG")) {
      picture.bytes.assign(bytes);
    } else {
      picture.bytes = picture.png ? WritePng(image, picture.size, PngColourType(bytes)) : WriteJpeg(image, picture.size);
    }
    if (picture.bytes.empty()) return std::nullopt;
    return picture;
  } catch (const std::exception&) {
    // Magick++ reports unreadable and damaged pictures by exceptions; the picture is left out.
    return std::nullopt;
  }
}

std::string MakeBinaryElement(std::string_view id, std::string_view contentType, std::string_view bytes) {
  std::string element = "<binary content-type=\"";
  element += contentType;
  element += "\" id=\"";
  element += id;
  element += "\">";
  element += Base64Encode(bytes);
  element += "</binary>";
  return element;
}

std::optional<Fb2Binary> PictureToBinary(const fs::path& path, int tagWidth, int tagHeight, bool keepSizes,
                                         int runningNumber, common::Language language) {
  return FileToBinary(path, tagWidth, tagHeight, keepSizes, "pic_" + std::to_string(runningNumber),
                      "image/jpeg", language);
}

std::optional<Fb2Binary> MakeFb2CoverImage(const fs::path& path, common::Progress& progress,
                                           common::Language language) {
  progress.Status("...converting html to fb2: coding cover picture...");
  return FileToBinary(path, 0, 0, true, "cover", "image/jpg", language);
}

RestoredPictures RestorePictures(std::string_view fb2Text, const fs::path& workingFolder,
                                 common::Progress& progress, int firstNumber) {
  RestoredPictures result;
  auto binaries = IndexBinaries(fb2Text);

  // The coverpage image of the description is the description's own; it is kept as written.
  size_t descriptionStart = fb2Text.find("<description");
  size_t descriptionEnd = std::string_view::npos;
  if (descriptionStart != std::string_view::npos) {
    descriptionEnd = fb2Text.find("</description>", descriptionStart);
    if (descriptionEnd == std::string_view::npos) descriptionStart = std::string_view::npos;
  }

  constexpr std::string_view kImage = "<image";
  constexpr std::string_view kImageClose = "</image>";
  int number = firstNumber;
  std::string& out = result.text;
  out.reserve(fb2Text.size());
  size_t copied = 0;
  size_t pos = 0;
  while ((pos = fb2Text.find(kImage, pos)) != std::string_view::npos) {
    const bool inDescription = descriptionStart != std::string_view::npos && pos > descriptionStart &&
                               pos < descriptionEnd;
    if (inDescription || !ElementAt(fb2Text, pos, kImage)) {
      pos += kImage.size();
      continue;
    }
    const StartTag tag = ParseStartTag(fb2Text, pos + kImage.size());
    if (tag.end == std::string_view::npos) {
      pos += kImage.size();
      continue;
    }
    size_t end = tag.end;
    if (!tag.selfClosing) {
      size_t after = end;
      while (after < fb2Text.size() && IsBlank(fb2Text[after])) ++after;
      if (fb2Text.compare(after, kImageClose.size(), kImageClose) == 0) end = after + kImageClose.size();
    }
    std::string_view target = FindAttribute(tag, "href");
    if (!target.empty() && target.front() == '#') target.remove_prefix(1);
    const auto found = binaries.find(target);
    const std::string* file =
        found == binaries.end() ? nullptr : &RestoreBinary(found->second, workingFolder, number, result.files);

    out.append(fb2Text, copied, pos - copied);
    if (file && !file->empty()) {
      out += "<DIV align=center><IMG src=";
      out += *file;
      out += " align=middle></DIV>";
      ++result.restored;
      progress.Status(std::to_string(result.restored) + "...restoring images...");
    } else {
      ++result.skipped;
    }
    copied = pos = end;
  }
  out.append(fb2Text, copied);
  return result;
}

}  // namespace pw::fb2

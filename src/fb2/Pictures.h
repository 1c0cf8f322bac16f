// Pictures as FB2 binaries and back.
//
// Export: a picture of the book becomes a binary element "pic_N.png" or "pic_N.jpg", fitted to
// a small reader screen of 238 by 318 pixels; the cover becomes "cover.png" or "cover.jpg".
// A PNG stays PNG, every other format becomes JPEG. Import: the binaries of an FB2 text are
// written as picture files and each image element becomes an html0 picture.
// Pictures are read, scaled and written in memory with GraphicsMagick.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/Messages.h"
#include "common/Progress.h"

namespace pw::fb2 {

// The screen a picture is fitted to unless the user keeps picture sizes.
inline constexpr int kScreenWidth = 238;
inline constexpr int kScreenHeight = 318;

// A tag size of this or less is taken as "no size given".
inline constexpr int kSmallestTagSize = 20;

// Pictures with more pixels than this are refused rather than decoded (a few hundred bytes can
// declare a picture that would need gigabytes).
inline constexpr long long kMaxPicturePixels = 50'000'000;

// JPEG quality of converted and scaled pictures.
inline constexpr int kJpegQuality = 85;

struct PictureSize {
  int width = 0;
  int height = 0;
  bool operator==(const PictureSize&) const = default;
};

// The size a picture is written at. With `keepSizes` it is the picture's own size. Otherwise
// it starts from the tag's WIDTH and HEIGHT; when either is 20 or less, or the width is over
// 238, or the height over 318, the picture's own size is taken instead. With ratio =
// width / height, a width over 238 becomes 238 and the height 238 / ratio; then a height over
// 318 becomes 318 and the width 318 * ratio. Computed sides are rounded to the nearest pixel
// (halves up) and never below 1. An own size that is not positive gives {0, 0} when it is needed.
PictureSize FitPictureSize(int tagWidth, int tagHeight, int ownWidth, int ownHeight, bool keepSizes);

// A picture ready for a binary element.
struct ConvertedPicture {
  std::string bytes;  // PNG or JPEG file contents
  bool png = false;   // false: JPEG
  PictureSize size;   // the size written
};

// Reads `bytes` in any format the picture library knows and fits it as FitPictureSize says.
// A PNG source gives PNG (a palette PNG keeps its number of colours, transparency stays);
// everything else gives JPEG (transparency over white, CMYK turned to RGB). A PNG or JPEG that
// keeps its size is returned byte for byte. Nothing when the bytes are not a picture the library
// can decode or the picture is larger than kMaxPicturePixels. Decoder warnings (a JPEG with
// stray bytes or cut short) do not refuse a picture that decoded.
std::optional<ConvertedPicture> ConvertPicture(std::string_view bytes, int tagWidth, int tagHeight, bool keepSizes);

// "<binary content-type=\"" + contentType + "\" id=\"" + id + "\">" + base64 + "</binary>".
std::string MakeBinaryElement(std::string_view id, std::string_view contentType, std::string_view bytes);

// One binary of the export. When the picture is left out, `id` and `element` are empty and
// `message` says why ("not supported image format: " + extension, in the interface language).
struct Fb2Binary {
  std::string id;       // "pic_3.jpg", "cover.png": the href target without "#"
  std::string element;  // the binary element
  std::string message;
  bool ok() const { return !element.empty(); }
};

// Picture of the book to binary: the file at `path`, fitted from its tag size, with the id
// "pic_" + runningNumber + ".png" (content type image/png) or ".jpg" (image/jpeg).
// Nothing when the file does not exist; a left-out binary with the message when it cannot be
// read as a picture.
std::optional<Fb2Binary> PictureToBinary(const std::filesystem::path& path, int tagWidth, int tagHeight,
                                         bool keepSizes, int runningNumber,
                                         common::Language language = common::Language::English);

// The cover picture to binary, at its own size: id "cover.png" with content type image/png, or
// "cover.jpg" with image/jpg (the cover's content type is "image/" + extension, unlike the
// book's pictures). The id is also the coverpage reference of the description.
// Status "...converting html to fb2: coding cover picture...". Nothing when the file does not
// exist; a left-out binary with the message when it cannot be read as a picture.
std::optional<Fb2Binary> MakeFb2CoverImage(const std::filesystem::path& path,
                                           common::Progress& progress = common::NoProgress(),
                                           common::Language language = common::Language::English);

// The outcome of restoring the pictures of an FB2 text.
struct RestoredPictures {
  std::string text;                // the text with every image element replaced or left out
  std::vector<std::string> files;  // names written in the working folder, in order
  size_t restored = 0;             // image elements that became html0 pictures
  size_t skipped = 0;              // image elements left out: binary missing, broken or unwritable
};

// Import side. Every binary of `fb2Text` is indexed by its id; each image element outside the
// description (whatever the prefix of its href: "l:href", "xlink:href", ...) is replaced by
// "<DIV align=center><IMG src=" + file + " align=middle></DIV>", where file is the decoded
// binary written to `workingFolder` as "Fb2toPwIm_" + running number + ".png" (content type
// naming PNG) or ".jpg" (anything else). Numbers run from `firstNumber`; a binary referenced
// twice is written once. An image whose binary is missing, does not decode or cannot be written
// is left out and counted in `skipped`. Binary elements and the description stay in the text.
// Status: running count + "...restoring images...".
RestoredPictures RestorePictures(std::string_view fb2Text, const std::filesystem::path& workingFolder,
                                 common::Progress& progress = common::NoProgress(), int firstNumber = 1);

// Prepares the picture library once per process; safe from any thread. Every function above
// calls it; code that uses the library directly (tests making pictures) calls it first.
void InitPictureLibrary();

}  // namespace pw::fb2

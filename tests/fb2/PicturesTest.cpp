#include "fb2/Pictures.h"

#include <Magick++.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <filesystem>
#include <vector>

#include "common/Files.h"
#include "fb2/Base64.h"
#include "support/Fb2Validity.h"
#include "support/TestSupport.h"

namespace pw::fb2 {
namespace {

namespace fs = std::filesystem;

// ---- helpers -----------------------------------------------------------------------------

// A picture of the given format drawn in memory: a red left half and a blue disc on white, so
// scaling has edges to smooth. With `transparent` the background is see-through instead.
std::string MakePicture(const std::string& format, unsigned width, unsigned height, bool transparent = false) {
  InitPictureLibrary();
  Magick::Image image(Magick::Geometry(width, height), Magick::Color(transparent ? "transparent" : "white"));
  image.fillColor("red");
  image.draw(Magick::DrawableRectangle(width / 8.0, height / 8.0, width / 2.0, height * 7 / 8.0));
  image.fillColor("blue");
  image.draw(Magick::DrawableCircle(width * 3 / 4.0, height / 2.0, width * 7 / 8.0, height / 2.0));
  // "PNG8" here: an opaque palette PNG.
  if (format == "PNG8") image.type(Magick::PaletteType);
  image.magick(format == "PNG8" ? "PNG" : format);
  Magick::Blob blob;
  image.write(&blob);
  return std::string(static_cast<const char*>(blob.data()), blob.length());
}

struct PictureFacts {
  std::string format;
  unsigned width = 0;
  unsigned height = 0;
  bool palette = false;
  unsigned long colours = 0;
  bool matte = false;
};

PictureFacts Inspect(std::string_view bytes) {
  Magick::Image image;
  image.read(Magick::Blob(bytes.data(), bytes.size()));
  return {image.magick(), image.columns(), image.rows(), image.classType() == Magick::PseudoClass,
          image.totalColors(), image.matte()};
}

// The darkest channel of the pixel, 0 to 255.
int DarkestChannelAt(std::string_view bytes, unsigned x, unsigned y) {
  Magick::Image image;
  image.read(Magick::Blob(bytes.data(), bytes.size()));
  Magick::ColorRGB colour = image.pixelColor(x, y);
  return static_cast<int>(std::min({colour.red(), colour.green(), colour.blue()}) * 255 + 0.5);
}

fs::path WritePicture(const test::ScratchFolder& folder, std::string_view name, std::string_view bytes) {
  const fs::path path = folder / name;
  EXPECT_TRUE(common::WriteFileAtomic(path, bytes));
  return path;
}

// The bytes inside a binary element, after checking its opening.
std::string BinaryBytes(const std::string& element, std::string_view expectedOpening) {
  EXPECT_EQ(element.substr(0, expectedOpening.size()), expectedOpening);
  const size_t start = element.find('>') + 1;
  const size_t end = element.rfind("</binary>");
  EXPECT_EQ(end + 9, element.size());
  std::string bytes;
  EXPECT_TRUE(Base64Decode(std::string_view(element).substr(start, end - start), bytes));
  return bytes;
}

void AppendBigEndian(std::string& out, uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) out += static_cast<char>(value >> shift & 0xFF);
}

std::string PngChunk(std::string_view type, std::string_view data) {
  std::string out;
  AppendBigEndian(out, static_cast<uint32_t>(data.size()));
  std::string body(type);
  body += data;
  out += body;
  AppendBigEndian(out, static_cast<uint32_t>(
                           crc32(0, reinterpret_cast<const Bytef*>(body.data()), static_cast<uInt>(body.size()))));
  return out;
}

// A PNG built by hand, for the forms the picture library does not write itself: `rows` holds
// each row's filter byte and packed pixels; `extraChunks` goes between the header and the data.
std::string HandMadePng(uint32_t width, uint32_t height, char bitDepth, char colourType, std::string_view rows,
                        std::string_view extraChunks = {}) {
  std::string header;
  AppendBigEndian(header, width);
  AppendBigEndian(header, height);
  header += bitDepth;
  header += colourType;
  header += std::string(3, '\0');
  uLongf packedSize = compressBound(static_cast<uLong>(rows.size()));
  std::string packed(packedSize, '\0');
  EXPECT_EQ(compress2(reinterpret_cast<Bytef*>(packed.data()), &packedSize,
                      reinterpret_cast<const Bytef*>(rows.data()), static_cast<uLong>(rows.size()), 9),
            Z_OK);
  packed.resize(packedSize);
  std::string png("\x89PNG\r\n\x1a\n", 8);
  png += PngChunk("IHDR", header);
  png += extraChunks;
  png += PngChunk("IDAT", packed);
  png += PngChunk("IEND", "");
  return png;
}

// The colour type in a PNG's header (0 grey, 2 RGB, 3 palette, 4 grey and alpha, 6 RGBA).
int PngColourTypeOf(std::string_view png) { return png.size() > 25 ? static_cast<unsigned char>(png[25]) : -1; }

// Black and white at one bit a pixel: a few kilobytes can hold a picture of many megapixels.
std::string BlackPng(uint32_t width, uint32_t height) {
  return HandMadePng(width, height, 1, 0, std::string(static_cast<size_t>(height) * (1 + (width + 7) / 8), '\0'));
}

// Four palette colours in vertical stripes 50 pixels wide, the first colour fully transparent.
std::string StripedPalettePng(uint32_t width, uint32_t height) {
  std::string row(1, '\0');
  for (uint32_t x = 0; x < width; ++x) row += static_cast<char>(x / 50 % 4);
  std::string rows;
  for (uint32_t y = 0; y < height; ++y) rows += row;
  const std::string palette("\0\0\0\xFF\0\0\0\0\xFF\0\xFF\0", 12);
  return HandMadePng(width, height, 8, 3, rows, PngChunk("PLTE", palette) + PngChunk("tRNS", std::string(1, '\0')));
}

// ---- the fitting rule --------------------------------------------------------------------

TEST(FitPictureSize, TagSizeWithinTheScreenIsTakenAsItIs) {
  EXPECT_EQ(FitPictureSize(100, 80, 1000, 1000, false), (PictureSize{100, 80}));
  EXPECT_EQ(FitPictureSize(238, 318, 5, 5, false), (PictureSize{238, 318}));  // both limits included
  EXPECT_EQ(FitPictureSize(21, 21, 1000, 500, false), (PictureSize{21, 21}));
}

TEST(FitPictureSize, SmallOrOversizedTagFallsBackToThePicturesOwnSize) {
  // 20 or less counts as no size; a side over the screen too.
  EXPECT_EQ(FitPictureSize(20, 100, 120, 90, false), (PictureSize{120, 90}));
  EXPECT_EQ(FitPictureSize(100, 20, 120, 90, false), (PictureSize{120, 90}));
  EXPECT_EQ(FitPictureSize(0, 0, 120, 90, false), (PictureSize{120, 90}));
  EXPECT_EQ(FitPictureSize(-5, 50, 120, 90, false), (PictureSize{120, 90}));
  EXPECT_EQ(FitPictureSize(239, 100, 120, 90, false), (PictureSize{120, 90}));
  EXPECT_EQ(FitPictureSize(100, 319, 120, 90, false), (PictureSize{120, 90}));
  EXPECT_EQ(FitPictureSize(0, 0, 0, 90, false), (PictureSize{}));
}

TEST(FitPictureSize, OwnSizeIsFittedToTheScreenKeepingItsShape) {
  EXPECT_EQ(FitPictureSize(0, 0, 1000, 1000, false), (PictureSize{238, 238}));
  EXPECT_EQ(FitPictureSize(0, 0, 238, 318, false), (PictureSize{238, 318}));
  EXPECT_EQ(FitPictureSize(0, 0, 239, 100, false), (PictureSize{238, 100}));   // 99.58 rounds up
  EXPECT_EQ(FitPictureSize(0, 0, 476, 317, false), (PictureSize{238, 159}));   // 158.5 rounds up
  EXPECT_EQ(FitPictureSize(0, 0, 200, 1000, false), (PictureSize{64, 318}));   // height only: 63.6
  // Too wide and, after that, still too high: the second step wins.
  EXPECT_EQ(FitPictureSize(0, 0, 300, 1000, false), (PictureSize{95, 318}));
  EXPECT_EQ(FitPictureSize(0, 0, 100000, 10, false), (PictureSize{238, 1}));   // never below 1 pixel
}

TEST(FitPictureSize, KeptSizesAreThePicturesOwn) {
  EXPECT_EQ(FitPictureSize(100, 80, 1000, 700, true), (PictureSize{1000, 700}));
  EXPECT_EQ(FitPictureSize(0, 0, 0, 0, true), (PictureSize{}));
}

// ---- pictures of the book ----------------------------------------------------------------

TEST(PictureToBinary, LargeJpegIsScaledToTheScreen) {
  test::ScratchFolder folder;
  const fs::path path = WritePicture(folder, "big.jpg", MakePicture("JPEG", 1000, 1000));
  const auto binary = PictureToBinary(path, 0, 0, false, 7);
  ASSERT_TRUE(binary && binary->ok());
  EXPECT_EQ(binary->id, "pic_7.jpg");
  EXPECT_TRUE(binary->message.empty());
  const auto facts = Inspect(BinaryBytes(binary->element, "<binary content-type=\"image/jpeg\" id=\"pic_7.jpg\">"));
  EXPECT_EQ(facts.format, "JPEG");
  EXPECT_EQ(facts.width, 238u);
  EXPECT_EQ(facts.height, 238u);

  // The same picture with kept sizes, or with a tag size that matches it, goes in unchanged.
  std::string original;
  ASSERT_TRUE(common::ReadWholeFile(path, original));
  const auto kept = PictureToBinary(path, 0, 0, true, 8);
  ASSERT_TRUE(kept && kept->ok());
  EXPECT_EQ(BinaryBytes(kept->element, "<binary content-type=\"image/jpeg\" id=\"pic_8.jpg\">"), original);
}

TEST(PictureToBinary, JpegAndPngThatNeedNoScalingAreTakenByteForByte) {
  test::ScratchFolder folder;
  const std::string jpeg = MakePicture("JPEG", 200, 150);
  const std::string png = MakePicture("PNG", 100, 50);
  const auto fromJpeg = PictureToBinary(WritePicture(folder, "a.jpeg", jpeg), 0, 0, false, 1);
  const auto fromPng = PictureToBinary(WritePicture(folder, "b.png", png), 100, 50, false, 2);
  ASSERT_TRUE(fromJpeg && fromJpeg->ok());
  ASSERT_TRUE(fromPng && fromPng->ok());
  EXPECT_EQ(BinaryBytes(fromJpeg->element, "<binary content-type=\"image/jpeg\" id=\"pic_1.jpg\">"), jpeg);
  EXPECT_EQ(BinaryBytes(fromPng->element, "<binary content-type=\"image/png\" id=\"pic_2.png\">"), png);

  // A tag size that differs from the picture's own rescales it to the tag.
  const auto resized = PictureToBinary(folder / "a.jpeg", 100, 30, false, 3);
  ASSERT_TRUE(resized && resized->ok());
  const auto facts = Inspect(BinaryBytes(resized->element, "<binary content-type=\"image/jpeg\""));
  EXPECT_EQ(facts.width, 100u);
  EXPECT_EQ(facts.height, 30u);
}

TEST(PictureToBinary, ScaledPngStaysPngWithItsColoursAndTransparency) {
  test::ScratchFolder folder;
  const std::string palette = MakePicture("PNG8", 600, 300);
  const auto before = Inspect(palette);
  ASSERT_TRUE(before.palette);
  const auto binary = PictureToBinary(WritePicture(folder, "p.png", palette), 0, 0, false, 1);
  ASSERT_TRUE(binary && binary->ok());
  const auto after = Inspect(BinaryBytes(binary->element, "<binary content-type=\"image/png\" id=\"pic_1.png\">"));
  EXPECT_EQ(after.format, "PNG");
  EXPECT_EQ(after.width, 238u);
  EXPECT_EQ(after.height, 119u);
  EXPECT_TRUE(after.palette);
  EXPECT_LE(after.colours, before.colours);

  const auto seeThrough = PictureToBinary(WritePicture(folder, "t.png", MakePicture("PNG", 500, 500, true)), 0, 0,
                                          false, 2);
  ASSERT_TRUE(seeThrough && seeThrough->ok());
  const std::string bytes = BinaryBytes(seeThrough->element, "<binary content-type=\"image/png\" id=\"pic_2.png\">");
  EXPECT_TRUE(Inspect(bytes).matte);
  EXPECT_EQ(Inspect(bytes).width, 238u);

  // A palette PNG with a transparent colour: the library reads it as true colour, yet it keeps
  // its four colours and its transparent stripes.
  const auto striped = PictureToBinary(WritePicture(folder, "s.png", StripedPalettePng(476, 100)), 0, 0, false, 3);
  ASSERT_TRUE(striped && striped->ok());
  const std::string stripedBytes = BinaryBytes(striped->element, "<binary content-type=\"image/png\" id=\"pic_3.png\">");
  const auto stripedFacts = Inspect(stripedBytes);
  EXPECT_EQ(stripedFacts.height, 50u);
  EXPECT_TRUE(stripedFacts.matte);
  EXPECT_LE(stripedFacts.colours, 4u);
  Magick::Image stripedImage;
  stripedImage.read(Magick::Blob(stripedBytes.data(), stripedBytes.size()));
  EXPECT_EQ(stripedImage.pixelColor(2, 2).alphaQuantum(), MaxRGB);  // fully transparent

  // A grey PNG stays grey.
  std::string greyRows;
  for (int y = 0; y < 100; ++y) {
    greyRows += '\0';
    for (int x = 0; x < 600; ++x) greyRows += static_cast<char>(x * 255 / 599);
  }
  const auto grey = PictureToBinary(WritePicture(folder, "g.png", HandMadePng(600, 100, 8, 0, greyRows)), 0, 0, false, 4);
  ASSERT_TRUE(grey && grey->ok());
  const std::string greyBytes = BinaryBytes(grey->element, "<binary content-type=\"image/png\" id=\"pic_4.png\">");
  EXPECT_EQ(PngColourTypeOf(greyBytes), 0);
  EXPECT_EQ(Inspect(greyBytes).width, 238u);
}

TEST(PictureToBinary, OtherFormatsBecomeJpeg) {
  test::ScratchFolder folder;
  const auto gif = PictureToBinary(WritePicture(folder, "g.gif", MakePicture("GIF", 50, 40)), 0, 0, false, 1);
  const auto bmp = PictureToBinary(WritePicture(folder, "b.bmp", MakePicture("BMP", 1000, 500)), 0, 0, false, 2);
  const auto tiff = PictureToBinary(WritePicture(folder, "t.tif", MakePicture("TIFF", 60, 60)), 0, 0, false, 3);
  ASSERT_TRUE(gif && gif->ok() && bmp && bmp->ok() && tiff && tiff->ok());
  const auto gifFacts = Inspect(BinaryBytes(gif->element, "<binary content-type=\"image/jpeg\" id=\"pic_1.jpg\">"));
  const auto bmpFacts = Inspect(BinaryBytes(bmp->element, "<binary content-type=\"image/jpeg\" id=\"pic_2.jpg\">"));
  const auto tiffFacts = Inspect(BinaryBytes(tiff->element, "<binary content-type=\"image/jpeg\" id=\"pic_3.jpg\">"));
  EXPECT_EQ(gifFacts.format, "JPEG");
  EXPECT_EQ(gifFacts.width, 50u);
  EXPECT_EQ(bmpFacts.format, "JPEG");
  EXPECT_EQ(bmpFacts.width, 238u);
  EXPECT_EQ(bmpFacts.height, 119u);
  EXPECT_EQ(tiffFacts.format, "JPEG");

  // An animation gives its first frame.
  std::vector<Magick::Image> frames;
  for (const char* colour : {"lime", "red", "blue"}) {
    frames.emplace_back(Magick::Geometry(300, 300), Magick::Color(colour));
    frames.back().magick("GIF");
  }
  Magick::Blob animation;
  Magick::writeImages(frames.begin(), frames.end(), &animation);
  const auto firstFrame = PictureToBinary(
      WritePicture(folder, "anim.gif",
                   std::string(static_cast<const char*>(animation.data()), animation.length())),
      0, 0, false, 6);
  ASSERT_TRUE(firstFrame && firstFrame->ok());
  const std::string frameBytes = BinaryBytes(firstFrame->element, "<binary content-type=\"image/jpeg\" id=\"pic_6.jpg\">");
  EXPECT_EQ(Inspect(frameBytes).width, 238u);
  Magick::Image frame;
  frame.read(Magick::Blob(frameBytes.data(), frameBytes.size()));
  const Magick::ColorRGB green = frame.pixelColor(100, 100);
  EXPECT_GT(green.green(), 0.9);
  EXPECT_LT(green.red(), 0.1);

  // A CMYK JPEG that has to be scaled comes out as RGB.
  Magick::Image cmyk(Magick::Geometry(400, 100), Magick::Color("orange"));
  cmyk.colorSpace(Magick::CMYKColorspace);
  cmyk.magick("JPEG");
  Magick::Blob cmykBlob;
  cmyk.write(&cmykBlob);
  const auto fromCmyk = PictureToBinary(
      WritePicture(folder, "k.jpg", std::string(static_cast<const char*>(cmykBlob.data()), cmykBlob.length())), 0,
      0, false, 5);
  ASSERT_TRUE(fromCmyk && fromCmyk->ok());
  const std::string rgbBytes = BinaryBytes(fromCmyk->element, "<binary content-type=\"image/jpeg\" id=\"pic_5.jpg\">");
  Magick::Image rgb;
  rgb.read(Magick::Blob(rgbBytes.data(), rgbBytes.size()));
  EXPECT_NE(rgb.colorSpace(), Magick::CMYKColorspace);
  EXPECT_EQ(rgb.columns(), 238u);

  // A transparent GIF lies over white, not black, once it is a JPEG (near white: JPEG blurs
  // colours a little).
  const auto clear = PictureToBinary(WritePicture(folder, "c.gif", MakePicture("GIF", 80, 80, true)), 0, 0, false, 4);
  ASSERT_TRUE(clear && clear->ok());
  const std::string jpeg = BinaryBytes(clear->element, "<binary content-type=\"image/jpeg\"");
  EXPECT_GT(DarkestChannelAt(jpeg, 1, 1), 230);
}

TEST(PictureToBinary, MissingFileGivesNothing) {
  test::ScratchFolder folder;
  EXPECT_FALSE(PictureToBinary(folder / "none.jpg", 0, 0, false, 1));
  EXPECT_FALSE(PictureToBinary(folder.path(), 0, 0, false, 1));  // a folder is not a picture file
  EXPECT_FALSE(MakeFb2CoverImage(folder / "none.png"));
}

TEST(PictureToBinary, DamagedPicturesAreLeftOutWithTheMessage) {
  test::ScratchFolder folder;
  // The hand-made PNG itself is sound: a small one converts.
  const auto small = PictureToBinary(WritePicture(folder, "small.png", BlackPng(300, 100)), 0, 0, false, 1);
  ASSERT_TRUE(small && small->ok());
  EXPECT_EQ(Inspect(BinaryBytes(small->element, "<binary content-type=\"image/png\"")).width, 238u);

  const std::string png = MakePicture("PNG", 300, 300);
  const std::vector<std::pair<std::string, std::string>> damaged{
      {"junk.png", "this is not a picture at all, only words"},
      {"cut.png", png.substr(0, png.size() / 3)},
      {"empty.jpg", ""},
      {"noise.GIF", std::string(5000, '\x55')},
      {"huge.png", BlackPng(8000, 8000)},  // 64 megapixels: refused before decoding
  };
  for (const auto& [name, bytes] : damaged) {
    const auto binary = PictureToBinary(WritePicture(folder, name, bytes), 0, 0, false, 1);
    ASSERT_TRUE(binary) << name;
    EXPECT_FALSE(binary->ok()) << name;
    EXPECT_TRUE(binary->id.empty()) << name;
    EXPECT_EQ(binary->message, "not supported image format: " + common::SplitPath(name).extension);
  }
  const auto russian = PictureToBinary(folder / "junk.png", 0, 0, false, 1, common::Language::Russian);
  ASSERT_TRUE(russian);
  EXPECT_EQ(russian->message, "формат изображения не поддерживается: png");
}

// ---- the cover ---------------------------------------------------------------------------

TEST(MakeFb2CoverImage, PngAndJpegCoversKeepTheirFormAndSize) {
  test::ScratchFolder folder;
  const std::string png = MakePicture("PNG", 600, 800);
  common::RecordingProgress progress;
  const auto pngCover = MakeFb2CoverImage(WritePicture(folder, "front.png", png), progress);
  ASSERT_TRUE(pngCover && pngCover->ok());
  EXPECT_EQ(pngCover->id, "cover.png");
  EXPECT_EQ(BinaryBytes(pngCover->element, "<binary content-type=\"image/png\" id=\"cover.png\">"), png);
  EXPECT_EQ(progress.statuses, std::vector<std::string>{"...converting html to fb2: coding cover picture..."});

  const std::string jpeg = MakePicture("JPEG", 600, 800);
  const auto jpegCover = MakeFb2CoverImage(WritePicture(folder, "FRONT.JPG", jpeg));
  ASSERT_TRUE(jpegCover && jpegCover->ok());
  EXPECT_EQ(jpegCover->id, "cover.jpg");
  EXPECT_EQ(BinaryBytes(jpegCover->element, "<binary content-type=\"image/jpg\" id=\"cover.jpg\">"), jpeg);

  const auto gifCover = MakeFb2CoverImage(WritePicture(folder, "front.gif", MakePicture("GIF", 300, 400)));
  ASSERT_TRUE(gifCover && gifCover->ok());
  EXPECT_EQ(gifCover->id, "cover.jpg");
  const auto facts = Inspect(BinaryBytes(gifCover->element, "<binary content-type=\"image/jpg\" id=\"cover.jpg\">"));
  EXPECT_EQ(facts.format, "JPEG");
  EXPECT_EQ(facts.width, 300u);

  const auto broken = MakeFb2CoverImage(WritePicture(folder, "front.bmp", "BM broken"));
  ASSERT_TRUE(broken);
  EXPECT_FALSE(broken->ok());
  EXPECT_EQ(broken->message, "not supported image format: bmp");
}

TEST(MakeFb2CoverImage, RealBookCover) {
  const fs::path path = test::CorpusPath("html/en_carroll_alice_pg_xhtml_with_image/images/cover.jpg");
  if (path.empty() || !fs::exists(path)) GTEST_SKIP() << "corpus cover picture not present";
  std::string original;
  ASSERT_TRUE(common::ReadWholeFile(path, original));
  const auto cover = MakeFb2CoverImage(path);
  ASSERT_TRUE(cover && cover->ok());
  EXPECT_EQ(cover->id, "cover.jpg");
  EXPECT_EQ(BinaryBytes(cover->element, "<binary content-type=\"image/jpg\" id=\"cover.jpg\">"), original);
}

// ---- binaries in a book, and back --------------------------------------------------------

std::string BookWith(std::string_view coverId, std::string_view body, std::string_view binaries) {
  std::string xml =
      "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
      "<FictionBook xmlns=\"http://www.gribuser.ru/xml/fictionbook/2.0\" xmlns:l=\"http://www.w3.org/1999/xlink\">\n"
      "<description><title-info><genre>prose_classic</genre><author><first-name>B</first-name>"
      "<last-name>A</last-name></author><book-title>T</book-title>";
  if (!coverId.empty()) {
    xml += "<coverpage><image l:href=\"#";
    xml += coverId;
    xml += "\"/></coverpage>";
  }
  xml += "<lang>en</lang></title-info>\n<document-info><author><nickname>n</nickname></author>"
         "<date value=\"2026-01-02\">d</date><id>X</id><version>1.0</version></document-info></description>\n"
         "<body><section>";
  xml += body;
  xml += "</section></body>\n";
  xml += binaries;
  xml += "</FictionBook>\n";
  return xml;
}

TEST(PictureToBinary, BinariesMakeAValidBook) {
  test::ScratchFolder folder;
  const auto picture = PictureToBinary(WritePicture(folder, "a.bmp", MakePicture("BMP", 40, 40)), 0, 0, false, 1);
  const auto png = PictureToBinary(WritePicture(folder, "b.png", MakePicture("PNG", 40, 40)), 0, 0, false, 2);
  const auto cover = MakeFb2CoverImage(WritePicture(folder, "c.jpg", MakePicture("JPEG", 40, 40)));
  ASSERT_TRUE(picture && picture->ok() && png && png->ok() && cover && cover->ok());
  const std::string xml = BookWith(cover->id,
                                   "<p>text</p><image l:href=\"#" + picture->id + "\"/><p>more</p><image l:href=\"#" +
                                       png->id + "\"/>",
                                   picture->element + "\n" + png->element + "\n" + cover->element + "\n");
  EXPECT_TRUE(pw::test::IsValidFb2(xml));
}

TEST(RestorePictures, BinariesBecomeFilesAndImagesBecomeHtml0Pictures) {
  const std::string png = MakePicture("PNG", 30, 20);
  const std::string jpeg = MakePicture("JPEG", 30, 20);
  // The PNG's text broken into lines as many FB2 files carry it.
  std::string brokenPng;
  const std::string coded = Base64Encode(png);
  for (size_t i = 0; i < coded.size(); i += 60) brokenPng += coded.substr(i, 60) + "\r\n";
  const std::string fb2 = BookWith(
      "cover.jpg",
      "<p>one</p><image l:href=\"#a.png\"/>\n"
      "<p>two</p><image xlink:href='#b.jpg' />\n"
      "<image l:href=\"#gone.jpg\"/><image l:href=\"#bad.jpg\"/>\n"
      "<image\n  href=\"#a.png\"></image><imagery/>",
      "<binary id=\"a.png\" content-type=\"image/png\">\r\n" + brokenPng + "</binary>\n"
      "<binary content-type=\"image/jpeg\" id=\"b.jpg\">" + Base64Encode(jpeg) + "</binary>\n"
      "<binary content-type=\"image/jpeg\" id=\"bad.jpg\">not*base64</binary>\n"
      "<binary content-type=\"image/jpg\" id=\"cover.jpg\">" + Base64Encode(jpeg) + "</binary>\n");
  test::ScratchFolder folder;
  common::RecordingProgress progress;
  const RestoredPictures restored = RestorePictures(fb2, folder.path(), progress);

  EXPECT_EQ(restored.restored, 3u);
  EXPECT_EQ(restored.skipped, 2u);
  EXPECT_EQ(restored.files, (std::vector<std::string>{"Fb2toPwIm_1.png", "Fb2toPwIm_2.jpg"}));
  std::string written;
  ASSERT_TRUE(common::ReadWholeFile(folder / "Fb2toPwIm_1.png", written));
  EXPECT_EQ(written, png);
  ASSERT_TRUE(common::ReadWholeFile(folder / "Fb2toPwIm_2.jpg", written));
  EXPECT_EQ(written, jpeg);
  EXPECT_FALSE(fs::exists(folder / "Fb2toPwIm_3.jpg"));

  const std::string expectedBody =
      "<body><section><p>one</p><DIV align=center><IMG src=Fb2toPwIm_1.png align=middle></DIV>\n"
      "<p>two</p><DIV align=center><IMG src=Fb2toPwIm_2.jpg align=middle></DIV>\n"
      "\n"
      "<DIV align=center><IMG src=Fb2toPwIm_1.png align=middle></DIV><imagery/></section></body>";
  EXPECT_NE(restored.text.find(expectedBody), std::string::npos) << restored.text;
  // The description's cover reference and the binaries stay for the import to handle.
  EXPECT_NE(restored.text.find("<coverpage><image l:href=\"#cover.jpg\"/></coverpage>"), std::string::npos);
  EXPECT_NE(restored.text.find("<binary id=\"a.png\""), std::string::npos);
  EXPECT_EQ(restored.text.substr(restored.text.find("</body>")), fb2.substr(fb2.find("</body>")));
  EXPECT_EQ(progress.statuses, (std::vector<std::string>{"1...restoring images...", "2...restoring images...",
                                                         "3...restoring images..."}));
}

TEST(RestorePictures, ExportedBinaryComesBackAsTheSamePicture) {
  test::ScratchFolder source;
  const auto binary = PictureToBinary(WritePicture(source, "big.gif", MakePicture("GIF", 500, 300)), 0, 0, false, 4);
  ASSERT_TRUE(binary && binary->ok());
  const std::string fb2 = BookWith("", "<image l:href=\"#" + binary->id + "\"/>", binary->element);
  test::ScratchFolder work;
  const auto restored = RestorePictures(fb2, work.path(), common::NoProgress(), 12);
  ASSERT_EQ(restored.files, std::vector<std::string>{"Fb2toPwIm_12.jpg"});
  std::string bytes;
  ASSERT_TRUE(common::ReadWholeFile(work / "Fb2toPwIm_12.jpg", bytes));
  EXPECT_EQ(bytes, BinaryBytes(binary->element, "<binary content-type=\"image/jpeg\" id=\"pic_4.jpg\">"));
  EXPECT_EQ(Inspect(bytes).width, 238u);
}

TEST(RestorePictures, UnwritableFolderAndBrokenMarkupLeaveImagesOut) {
  const std::string fb2 = BookWith("", "<image l:href=\"#a.jpg\"/>",
                                   "<binary id=\"a.jpg\" content-type=\"image/jpeg\">AAAA</binary>");
  const auto restored = RestorePictures(fb2, "/nonexistent/folder/for/pictures");
  EXPECT_EQ(restored.restored, 0u);
  EXPECT_EQ(restored.skipped, 1u);
  EXPECT_TRUE(restored.files.empty());
  EXPECT_EQ(restored.text.find("<image"), std::string::npos);

  // Thousands of unclosed tags and binaries: each is given up at the next "<", so the text is
  // kept as it was (a scan to the end for each would take minutes here).
  std::string hostile;
  for (int i = 0; i < 20000; ++i) hostile += "<image l:href=\"#x <binary id=\"x\" ";
  test::ScratchFolder folder;
  const auto broken = RestorePictures(hostile, folder.path());
  EXPECT_EQ(broken.text, hostile);
  EXPECT_EQ(broken.restored + broken.skipped, 0u);
}

}  // namespace
}  // namespace pw::fb2

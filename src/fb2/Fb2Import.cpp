#include "fb2/Fb2Import.h"

#include <algorithm>
#include <exception>

#include "common/CodePage.h"
#include "common/Files.h"
#include "common/Limits.h"
#include "common/Text.h"
#include "common/Utf8.h"
#include "corrector/CleanUpFile.h"
#include "fb2/Base64.h"
#include "fb2/DescriptionDisplay.h"
#include "fb2/DescriptionReader.h"
#include "fb2/Fb2Encoding.h"
#include "fb2/Fb2Fragments.h"
#include "fb2/Fb2ImportBody.h"
#include "fb2/Fb2Tidy.h"
#include "fb2/Pictures.h"
#include "import/Charset.h"
#include "markup/BookMarkup.h"
#include "markup/DescriptionPlace.h"
#include "markup/TagPass.h"

namespace pw::fb2 {
namespace {

using markup::kCrLf;

// The book's script family: the language setting's, else Western for a text without a letter
// beyond ASCII, else what the letters say.
common::CodePage ScriptFamily(std::string_view text, std::string_view language) {
  if (language != "auto") return import::LanguageCodePage(language);
  const bool ascii = std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
  if (ascii) return common::CodePage::Win1252;
  return import::DecideCharset(text, language).codePage;
}

// The parts of a tidied FB2 text the import handles one by one.
struct Fb2Parts {
  std::string description;  // the description element, whole
  std::string body;         // content of the bodies that are not note bodies
  std::string notes;        // content of the note bodies
  std::string bodyTitle;    // content of the first body's title
  std::string leadPicture;  // a picture standing before that title
};

bool IsNoteBody(std::string_view startTag) {
  const std::string_view name = AttributeOf(startTag, "name");
  return name == "notes" || name == "comments";
}

void TakeBody(const Child& body, Fb2Parts& parts, bool first) {
  std::string_view inner = body.inner;
  if (first) {
    // The body's own title (and a picture in front of it) stand for the book's headings.
    size_t pos = 0;
    Child child;
    while (NextChild(inner, pos, child)) {
      if (child.name == "DIV" && child.inner.find("<IMG ") != std::string_view::npos && parts.leadPicture.empty()) {
        parts.leadPicture = child.whole;
        inner.remove_prefix(pos);
        pos = 0;
        continue;
      }
      if (child.name == "title") {
        parts.bodyTitle = child.inner;
        inner.remove_prefix(pos);
      }
      break;
    }
  }
  parts.body += inner;
}

void SplitParts(std::string_view text, Fb2Parts& parts, int depth = 0) {
  size_t pos = 0;
  Child child;
  bool firstBody = parts.body.empty() && parts.bodyTitle.empty();
  while (NextChild(text, pos, child)) {
    if (child.name == "FictionBook" && depth == 0) {
      SplitParts(child.inner, parts, 1);
    } else if (child.name == "description") {
      if (parts.description.empty()) parts.description = child.whole;
    } else if (child.name == "body") {
      if (IsNoteBody(child.startTag)) {
        parts.notes += child.inner;
      } else {
        TakeBody(child, parts, firstBody);
        firstBody = false;
      }
    } else if (!child.name.empty() && child.name != "FictionBook" && child.name[0] != '/') {
      // Sections and paragraphs that stand outside any body are still the book's text.
      parts.body += child.whole;
      firstBody = false;
    }
  }
}

std::string Html(std::string_view text) {
  std::string out;
  for (const char c : common::Trim(text)) {
    if (c == '&') out += "&amp;";
    else if (c == '<') out += "&lt;";
    else if (c == '>') out += "&gt;";
    else out += c;
  }
  return out;
}

// Text compared loosely: tags dropped, case and runs of blanks ignored.
// The words of a heading, compared loosely: tags and punctuation dropped, lower case.
std::vector<std::string> Words(std::string_view html) {
  const std::string text = common::ToLower(markup::OneLineText(html));
  std::vector<std::string> words;
  std::string word;
  for (size_t i = 0; i <= text.size(); ++i) {
    const char c = i < text.size() ? text[i] : ' ';
    const bool separator = c == ' ' || c == ',' || c == '.' || c == ';' || c == ':' || c == '-' || c == '"';
    if (!separator) {
      word += c;
    } else if (!word.empty()) {
      words.push_back(std::move(word));
      word.clear();
    }
  }
  return words;
}

// True when every word of `line` is a word of `heading`: the body's title line says again
// what the heading says ("Лев Толстой" under the heading "Лев Николаевич Толстой").
bool SaysAgain(std::string_view line, std::string_view heading) {
  const std::vector<std::string> lineWords = Words(line);
  const std::vector<std::string> headingWords = Words(heading);
  if (lineWords.empty()) return true;
  for (const std::string& word : lineWords)
    if (std::find(headingWords.begin(), headingWords.end(), word) == headingWords.end()) return false;
  return true;
}

std::string AuthorHeading(const std::vector<PersonName>& authors) {
  std::string out;
  for (const PersonName& author : authors) {
    std::string name;
    for (const std::string* part : {&author.first, &author.middle, &author.last}) {
      const std::string_view trimmed = common::Trim(*part);
      if (trimmed.empty()) continue;
      if (!name.empty()) name += ' ';
      name += trimmed;
    }
    if (name.empty()) name = common::Trim(author.nickname);
    if (name.empty()) continue;
    if (!out.empty()) out += ", ";
    out += name;
  }
  return out;
}

// The headings at the top of the book: the description's author and title; without them the
// body's title (first line the author when it has several); title lines that say something
// else than the headings stay as subtitles under them.
std::string Headings(const Fb2Parts& parts, const std::optional<Fb2Description>& description,
                     const common::ElementColours& colours) {
  std::string author = description ? Html(AuthorHeading(description->authors)) : std::string();
  std::string title = description ? Html(description->title) : std::string();
  std::vector<std::string> lines;
  size_t pos = 0;
  Child child;
  while (NextChild(parts.bodyTitle, pos, child)) {
    const std::string line = Fb2LineText(child.name == "p" ? child.inner : child.whole);
    if (!line.empty()) lines.push_back(line);
  }
  std::vector<std::string> subtitles;
  if (author.empty() && title.empty()) {
    if (lines.size() >= 2) {
      author = lines[0];
      for (size_t i = 1; i < lines.size(); ++i) title += (i > 1 ? " " : "") + lines[i];
    } else if (lines.size() == 1) {
      title = lines[0];
    }
  } else {
    for (const std::string& line : lines)
      if (!SaysAgain(line, author) && !SaysAgain(line, title)) subtitles.push_back(line);
  }
  std::string out;
  if (!parts.leadPicture.empty()) out += parts.leadPicture + std::string(kCrLf);
  if (!author.empty()) out += markup::MakeBookAuthor(author, colours.bookAuthor) + std::string(kCrLf);
  if (!title.empty()) out += markup::MakeBookTitle(title, colours.bookTitle) + std::string(kCrLf);
  for (const std::string& subtitle : subtitles) out += markup::MakeSubtitle(subtitle, colours.subtitle) + std::string(kCrLf);
  return out;
}

// The symbol normaliser: typographic dashes become "-" (the export sets the dash style), the
// no-break space a blank, soft hyphens go; a dialogue line keeps its no-break space.
void NormaliseSymbols(std::string& text) {
  const std::string start(markup::kParagraphStart);
  const std::string dialogue = start + "-&nbsp;";
  std::vector<std::string> keep;
  for (std::string_view dash : {"\u2014", "\u2013", "-"})
    for (std::string_view space : {" ", "\u00A0", "&nbsp;"}) keep.push_back(start + std::string(dash) + std::string(space));
  std::vector<markup::TagRule> rules;
  for (const std::string& match : keep) rules.push_back({match, dialogue});
  rules.push_back({"\u2014", "-"});
  rules.push_back({"\u2013", "-"});
  rules.push_back({"\u00A0", " "});
  rules.push_back({"\u00AD", ""});
  rules.push_back({"&shy;", ""});
  markup::ApplyTagRules(text, rules);
}

void Report(const TidyReport& report, std::vector<std::string>& skipped) {
  auto count = [&](size_t n, std::string_view what) {
    if (n) skipped.push_back(std::to_string(n) + " " + std::string(what));
  };
  if (report.undeclaredEntities) {
    std::string names;
    for (const std::string& name : report.undeclaredNames) names += (names.empty() ? "" : " ") + name;
    skipped.push_back(std::to_string(report.undeclaredEntities) + " undeclared entities kept as text (" + names + ")");
  }
  count(report.closedElements, "elements without an end tag closed");
  count(report.strayEndTags, "end tags without a start tag dropped");
  count(report.duplicateIds, "repeated ids dropped");
  count(report.duplicateBinaries, "binaries with a repeated id dropped");
  count(report.binariesWithoutId, "binaries without an id dropped");
  count(report.repairedBinaries, "binaries with damaged base64 text repaired");
  count(report.tooDeep, "tags nested too deep dropped");
}

// The cover named by the description's coverpage, from its binary, as "cover.jpg" or
// "cover.png" in `folder`; empty when there is none or it cannot be decoded or written.
std::string RestoreCover(std::string_view tidy, const std::filesystem::path& folder) {
  const size_t description = tidy.find("<description>");
  const size_t end = tidy.find("</description>");
  if (description == std::string_view::npos || end == std::string_view::npos || folder.empty()) return {};
  const size_t coverpage = tidy.find("<coverpage>", description);
  if (coverpage == std::string_view::npos || coverpage > end) return {};
  const size_t image = tidy.find("<image ", coverpage);
  if (image == std::string_view::npos || image > end) return {};
  std::string_view href = AttributeOf(tidy.substr(image, tidy.find('>', image) + 1 - image), "l:href");
  if (href.starts_with('#')) href.remove_prefix(1);
  if (href.empty()) return {};
  const std::string open = "<binary id=\"" + std::string(href) + "\"";
  const size_t binary = tidy.find(open);
  if (binary == std::string_view::npos) return {};
  const size_t tagEnd = tidy.find('>', binary);
  const size_t close = tidy.find("</binary>", tagEnd);
  if (tagEnd == std::string_view::npos || close == std::string_view::npos) return {};
  std::string bytes;
  if (!Base64Decode(tidy.substr(tagEnd + 1, close - tagEnd - 1), bytes) || bytes.empty()) return {};
  const std::string_view type = AttributeOf(tidy.substr(binary, tagEnd + 1 - binary), "content-type");
  const std::string name = common::FindAsciiCaseless(type, "png") != std::string_view::npos ? "cover.png" : "cover.jpg";
  return common::WriteFileAtomic(folder / name, bytes) ? name : std::string();
}

std::string Joined(const std::vector<std::string>& items) {
  std::string out;
  for (const std::string& item : items) out += (out.empty() ? "" : "; ") + item;
  return out;
}

Fb2ImportResult Convert(std::string_view bytes, common::Session& session, const Fb2ImportOptions& options) {
  common::Progress& progress = session.progress;
  const common::Settings& settings = session.settings;
  Fb2ImportResult result;

  // 1. Read: the byte-order mark and UTF-16 dealt with, the declared encoding noted, the text
  // brought to its regular form (XLink prefixes become "l:").
  progress.Status("...converting fb2 to html0...");
  progress.Percent(0);
  std::string text;
  std::string declared;
  {
    bool utf16 = false;
    const std::string prepared = PrepareFb2Bytes(bytes, utf16);
    if (!utf16) declared = DeclaredXmlEncoding(prepared);
    TidyReport report;
    text = TidyFb2(prepared, report);
    if (report.entitiesOverLimit) {
      result.entityLimit = common::BookSizeLimit(prepared.size());
      return result;
    }
    Report(report, result.skipped);
  }
  if (text.find("<FictionBook>") == std::string::npos && text.find("<body") == std::string::npos &&
      text.find("<description>") == std::string::npos)
    return result;
  progress.Percent(10);

  // 2. Pictures: binaries become picture files, image elements html0 pictures.
  const std::filesystem::path pictureFolder =
      options.pictureFolder.empty() ? session.workFolder : options.pictureFolder;
  const size_t images = common::CountOccurrences(text, "<image");
  if (images) {
    size_t skippedPictures = images;
    if (!pictureFolder.empty()) {
      RestoredPictures restored = RestorePictures(text, pictureFolder, progress);
      text = std::move(restored.text);
      result.pictures = std::move(restored.files);
      skippedPictures = restored.skipped;
    }
    if (skippedPictures)
      result.skipped.push_back(std::to_string(skippedPictures) + " pictures left out (binary missing or damaged)");
  }
  result.coverFile = RestoreCover(text, pictureFolder);
  markup::ApplyTagRule(text, {"<binary", "", false, false, "</binary>"});
  progress.Percent(20);

  // 3. Decoding.
  progress.Status("...converting fb2 to html0: decoding...");
  {
    Fb2Decoding decoded = DecodeFb2Text(text, declared, settings.importLanguage);
    if (!decoded.note.empty()) result.skipped.push_back(decoded.note);
    text = std::move(decoded.text);
    if (decoded.source == common::CodePage::Utf8 && RepairDoubleEncoding(text))
      result.skipped.push_back("the text was encoded twice (windows-1251 read as Latin-1) and is read as meant");
  }
  session.codePage = ScriptFamily(text, settings.importLanguage);
  progress.Percent(30);

  // 4. The parts: notes body and description aside.
  progress.Status("...converting fb2 to html0: restoring line ends...");
  Fb2Parts parts;
  SplitParts(text, parts);
  text = {};
  progress.Percent(35);

  // 5. The description.
  progress.Status("...getting fb2 description...");
  if (!parts.description.empty()) result.description = ReadDescription(parts.description);
  if (result.description) {
    if (!result.description->coverId.empty() && result.coverFile.empty())
      result.skipped.push_back("the cover picture left out (binary missing or damaged)");
    result.description->coverId.clear();
    result.descriptionXml = WriteDescription(*result.description);
    result.descriptionDisplay = MakeDescriptionDisplay(*result.description, settings.elementColours);
  }
  progress.Percent(40);

  // 6. The body.
  Fb2BodyOptions bodyOptions;
  bodyOptions.colours = settings.elementColours;
  bodyOptions.keepSections = settings.sectionMode;
  std::string body = ConvertFb2Body(std::move(parts.body), bodyOptions, progress);
  while (body.starts_with("<BR>\r\n")) body.erase(0, 6);
  while (body.ends_with("<BR>\r\n")) body.resize(body.size() - 6);
  if (!body.empty() && !body.ends_with(kCrLf)) body += kCrLf;
  progress.Percent(80);

  // 7. Headings; 8. the note block.
  std::string book = markup::MakeBodyTag(markup::BodyStyleFromSettings(settings), true, false, false);
  book += kCrLf;
  if (result.description) {
    book += markup::kDescriptionLink;
    book += kCrLf;
  }
  book += Headings(parts, result.description, settings.elementColours);
  book += body;
  if (const std::string notes = ConvertFb2Notes(parts.notes, bodyOptions); !notes.empty()) {
    book += "<BR>";
    book += markup::MakeNoteBlock(notes, settings.elementColours.noteBlock);
    book += kCrLf;
  }
  book += markup::kLastParagraph;
  book += kCrLf;
  book += markup::kBookEnd;
  progress.Percent(85);

  // 9. Cleaning.
  progress.Status("...replacing non-standard symbols...");
  NormaliseSymbols(book);
  const std::string& slot = settings.cleanUpAfter;
  if (!slot.empty() && slot != corrector::kNoRuleFile &&
      (!options.ruleFolder.empty() || std::filesystem::path(slot).is_absolute()))
    book = corrector::ApplyCleanUpFile(book, slot, options.ruleFolder, session);
  if (options.makeContents) {
    progress.Status("...making TOC...");
    markup::InsertContents(book, common::CodePageName(session.codePage));
  }
  progress.Percent(95);

  // 10. The end-of-text mark and the description after it.
  if (result.description) markup::AttachFb2Description(book, result.descriptionXml);
  else markup::PlaceTextEndMark(book);
  result.html0 = std::move(book);
  result.ok = true;
  progress.Percent(100);
  return result;
}

}  // namespace

Fb2ImportResult ConvertFb2ToHtml0(std::string_view bytes, common::Session& session, const Fb2ImportOptions& options) {
  try {
    return Convert(bytes, session, options);
  } catch (const std::exception& error) {
    Fb2ImportResult result;
    result.skipped.push_back(std::string("the conversion stopped: ") + error.what());
    return result;
  }
}

std::optional<std::filesystem::path> ConvertFb2FileToHtml0(const std::filesystem::path& source,
                                                          const std::filesystem::path& output,
                                                          common::Session& session,
                                                          const Fb2ImportOptions& options) {
  std::string bytes;
  if (!common::ReadWholeFile(source, bytes)) {
    session.messages.Show(common::Msg::ErrorReadingFile, source.string());
    return std::nullopt;
  }
  const std::filesystem::path folder = output.parent_path();
  Fb2ImportOptions fileOptions = options;
  if (fileOptions.pictureFolder.empty()) fileOptions.pictureFolder = folder;
  Fb2ImportResult result = ConvertFb2ToHtml0(bytes, session, fileOptions);
  bytes = {};
  if (!result.ok) {
    if (result.entityLimit)
      session.messages.Show(common::Msg::Fb2EntitiesTooLarge, std::to_string(common::Megabytes(result.entityLimit)));
    if (!result.skipped.empty()) session.messages.Show(common::Msg::Fb2ImportSkipped, Joined(result.skipped));
    return std::nullopt;
  }
  // The working document keeps its description beside it, not inside.
  markup::CutFb2Description(result.html0);
  bool written = true;
  if (result.description) {
    written = common::WriteFileAtomic(folder / markup::kDescriptionFb2File, result.descriptionXml) &&
              common::WriteFileAtomic(folder / markup::kDescriptionHtmlFile, result.descriptionDisplay);
  }
  written = written && common::WriteFileAtomic(output, result.html0);
  if (!written) {
    session.messages.Show(common::Msg::ErrorWritingFile, output.string());
    return std::nullopt;
  }
  if (!result.description) session.messages.Show(common::Msg::Fb2DescriptionNotFound);
  if (!result.skipped.empty()) session.messages.Show(common::Msg::Fb2ImportSkipped, Joined(result.skipped));
  return output;
}

}  // namespace pw::fb2

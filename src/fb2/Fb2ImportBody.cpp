#include "fb2/Fb2ImportBody.h"

#include <vector>

#include "common/Text.h"
#include "fb2/Fb2Fragments.h"
#include "import/Entities.h"
#include "markup/BookMarkup.h"
#include "markup/TagPass.h"

namespace pw::fb2 {
namespace {

using markup::TagRule;

// "&amp;" stands as this private-use character while the entity table runs, so that an escaped
// ampersand is never read as the start of a reference.
constexpr std::string_view kProtectedAmp = "\xEE\x80\x82";  // U+E002

void Apply(std::string& text, std::initializer_list<TagRule> rules) {
  markup::ApplyTagRules(text, std::span<const TagRule>(rules.begin(), rules.size()));
}

bool Blank(std::string_view text) { return common::Trim(text).empty(); }

// Takes every empty anchor ("<A id=... name=...></A>" without a target) out of `html` and
// returns them, in order: names a one-line element cannot hold are set in front of it.
std::string TakeAnchors(std::string& html) {
  std::string anchors;
  std::string rest;
  size_t copied = 0;
  for (size_t at = html.find("<A "); at != std::string::npos; at = html.find("<A ", at + 3)) {
    const size_t gt = html.find('>', at);
    if (gt == std::string::npos) break;
    const std::string_view tag = std::string_view(html).substr(at, gt + 1 - at);
    if (tag.find("href=") != std::string_view::npos || html.compare(gt + 1, 4, "</A>") != 0) continue;
    rest.append(html, copied, at - copied);
    anchors.append(html, at, gt + 5 - at);
    copied = gt + 5;
    at = gt;
  }
  if (anchors.empty()) return anchors;
  rest.append(html, copied, std::string::npos);
  html = std::move(rest);
  return anchors;
}

// An attribute value of the html0 book: bare when it can be, else double-quoted.
std::string Html0Value(std::string_view value) {
  bool bare = !value.empty();
  for (const char c : value) bare = bare && c != ' ' && c != '"' && c != '\'' && c != '<' && c != '>' && c != '=' && c != '`';
  if (bare) return std::string(value);
  std::string out = "\"";
  out += value;
  out += '"';
  return out;
}

// ---- the passes, in the order they run -----------------------------------------------------

// A picture inside a paragraph stays in its line: its centring block goes, the picture stays.
void InlinePicturesPass(std::string& text) {
  static constexpr std::string_view kBlock = "<DIV align=center>";
  static constexpr std::string_view kPicture = "<DIV align=center><IMG ";
  static constexpr std::string_view kLines[] = {"p", "v", "subtitle", "text-author"};
  if (text.find(kPicture) == std::string::npos) return;
  std::string out;
  out.reserve(text.size());
  int depth = 0;
  size_t copied = 0;
  for (size_t lt = text.find('<'); lt != std::string::npos; lt = text.find('<', lt + 1)) {
    if (depth > 0 && text.compare(lt, kPicture.size(), kPicture) == 0) {
      const size_t pictureEnd = text.find('>', lt + kBlock.size());
      if (pictureEnd != std::string::npos && text.compare(pictureEnd + 1, 6, "</DIV>") == 0) {
        out.append(text, copied, lt - copied);
        out.append(text, lt + kBlock.size(), pictureEnd + 1 - lt - kBlock.size());
        copied = pictureEnd + 7;
        lt = pictureEnd + 6;
        continue;
      }
    }
    const bool closing = text.compare(lt, 2, "</") == 0;
    const size_t nameStart = lt + (closing ? 2 : 1);
    for (const std::string_view name : kLines) {
      if (text.compare(nameStart, name.size(), name) != 0) continue;
      const char after = nameStart + name.size() < text.size() ? text[nameStart + name.size()] : '\0';
      if (after != '>' && after != ' ') continue;
      depth += closing ? -1 : 1;
      break;
    }
  }
  out.append(text, copied, std::string::npos);
  text = std::move(out);
}

void TidyPass(std::string& text) {
  InlinePicturesPass(text);
  Apply(text, {{" />", "/>"}, {" >", ">"}, {"<body", "", false, true}, {"</body>", ""}});
}

void SectionsPass(std::string& text) {
  const std::string start = std::string(markup::kSectionStart) + "<section";
  const std::string end = std::string(markup::kSectionEnd) + "</section>";
  Apply(text, {{"<section", start}, {"</section>", end}});
}

void SpacingPass(std::string& text) {
  Apply(text, {{"</stanza><empty-line/><empty-line/><text-author>", "</stanza><text-author>"},
               {"</stanza><empty-line/><text-author>", "</stanza><text-author>"},
               {"</epigraph><epigraph", "</epigraph><BR><epigraph"},
               {"<section", "<BR><section"},
               {"</section>", "</section><BR>"},
               {"<poem", "<BR><poem"},
               {"</poem>", "</poem><BR>"},
               {"<empty-line/>", "<BR>"}});
}

// An id on a paragraph-like or block element becomes an anchor at its start.
void IdsPass(std::string& text) {
  static constexpr std::string_view kNamed[] = {"p",    "v",      "subtitle", "text-author", "cite",
                                                "epigraph", "poem", "stanza", "section"};
  RewriteTags(text, [](std::string_view tag) -> std::optional<std::string> {
    if (tag.size() < 4 || tag[1] == '/' || tag[tag.size() - 2] == '/') return std::nullopt;
    const size_t nameEnd = tag.find(' ');
    if (nameEnd == std::string_view::npos) return std::nullopt;
    const std::string_view name = tag.substr(1, nameEnd - 1);
    bool named = false;
    for (const std::string_view candidate : kNamed) named = named || candidate == name;
    if (!named) return std::nullopt;
    std::string_view id = AttributeOf(tag, "id");
    if (id.empty()) id = AttributeOf(tag, "name");
    std::string out = "<";
    out += name;
    out += '>';
    if (!id.empty()) {
      out += "<A id=\"";
      out += id;
      out += "\"></A>";
    }
    return out;
  });
}

void LinksPass(std::string& text) { Apply(text, {{"<a ", "<A "}, {"<a>", "<A>"}, {"</a>", "</A>"}}); }

// The lines a stanza gives: its verse lines, its title and subtitle as lines; text authors
// that stray into it are collected in `authors`.
std::string StanzaLines(std::string_view inner, std::string& authors) {
  std::string lines;
  size_t pos = 0;
  Child child;
  while (NextChild(inner, pos, child)) {
    if (child.name == "title") {
      size_t p = 0;
      Child line;
      while (NextChild(child.inner, p, line))
        if (line.name == "p") lines += "<v>" + std::string(line.inner) + "</v>";
    } else if (child.name == "subtitle" || child.name == "p") {
      lines += "<v>" + std::string(child.inner) + "</v>";
    } else if (child.name == "text-author") {
      authors += child.whole;
    } else if (child.name.empty()) {
      if (!Blank(child.inner)) lines += "<v>" + std::string(child.inner) + "</v>";
    } else {
      lines += child.whole;
    }
  }
  return lines;
}

// A poem becomes one stanza block: its title as subtitles and its epigraphs in front, the
// lines of all stanzas with an empty line between stanzas, its date as a last line and its
// text authors at the end of the block.
std::string Poem(std::string_view, std::string_view, std::string_view inner) {
  std::string before;
  std::string lines;
  std::string dates;
  std::string authors;
  bool stanzas = false;
  size_t pos = 0;
  Child child;
  while (NextChild(inner, pos, child)) {
    if (child.name == "A") {
      (lines.empty() ? before : lines) += child.whole;
    } else if (child.name == "BR") {
      continue;
    } else if (child.name == "title") {
      size_t p = 0;
      Child line;
      while (NextChild(child.inner, p, line))
        if (line.name == "p") before += "<subtitle>" + std::string(line.inner) + "</subtitle>";
    } else if (child.name == "epigraph") {
      before += child.whole;
    } else if (child.name == "stanza") {
      const std::string stanza = StanzaLines(child.inner, authors);
      if (stanza.empty()) continue;
      if (stanzas) lines += "<BR>";
      lines += stanza;
      stanzas = true;
    } else if (child.name == "text-author") {
      authors += child.whole;
    } else if (child.name == "date" || child.name == "subtitle" || child.name == "v" || child.name == "p") {
      (child.name == "date" ? dates : lines) += "<v>" + std::string(child.inner) + "</v>";
    } else if (child.name.empty()) {
      if (!Blank(child.inner)) lines += "<v>" + std::string(child.inner) + "</v>";
    } else {
      lines += child.whole;
    }
  }
  if (lines.empty() && dates.empty() && authors.empty()) return before;
  return before + "<stanza>" + lines + dates + authors + "</stanza>";
}

void PoemsPass(std::string& text) { RewriteElements(text, {"poem"}, Poem); }

void StylesPass(std::string& text) {
  Apply(text, {{"<strong>", "<B>"},
               {"</strong>", "</B>"},
               {"<emphasis>", "<I>"},
               {"</emphasis>", "</I>"},
               {"<sup>", "<SUP>"},
               {"</sup>", "</SUP>"},
               {"<sub>", "<SUB>"},
               {"</sub>", "</SUB>"},
               {"<strikethrough>", "<U>"},
               {"</strikethrough>", "</U>"},
               {"<style", "", false, true},
               {"</style>", ""}});
}

// Anchors that carry a name: "<A id=NAME name=NAME>".
void ExistingBookmarksPass(std::string& text) {
  RewriteTags(text, [](std::string_view tag) -> std::optional<std::string> {
    if (!tag.starts_with("<A ") || tag.find("l:href=") != std::string_view::npos) return std::nullopt;
    const std::string_view id = AttributeOf(tag, "id");
    if (id.empty()) return std::string("<A>");
    const std::string value = Html0Value(id);
    return "<A id=" + value + " name=" + value + ">";
  });
}

// Links: "<A href=#TARGET>" (with the name of an anchor that is also a link kept).
void BookmarksPass(std::string& text) {
  RewriteTags(text, [](std::string_view tag) -> std::optional<std::string> {
    if (!tag.starts_with("<A ")) return std::nullopt;
    const std::string_view href = AttributeOf(tag, "l:href");
    if (href.empty()) return std::nullopt;
    std::string out = "<A";
    if (const std::string_view id = AttributeOf(tag, "id"); !id.empty()) {
      const std::string value = Html0Value(id);
      out += " id=" + value + " name=" + value;
    }
    out += " href=" + Html0Value(href) + ">";
    return out;
  });
}

std::string JoinedTitle(const std::vector<std::string>& lines, std::string_view colour) {
  if (lines.size() == 1) return markup::MakeTitle(lines[0], colour);
  // One title of several lines: one centred block a line inside one title element.
  static constexpr std::string_view kSpanEnd = "</SPAN>";
  std::string out(markup::kTitleOpen);
  for (size_t i = 0; i < lines.size(); ++i) {
    const std::string one = markup::MakeTitle(lines[i], colour);
    if (i) out += markup::kCrLf;
    out.append(one, markup::kTitleOpen.size(), one.size() - markup::kTitleOpen.size() - kSpanEnd.size());
  }
  out += kSpanEnd;
  return out;
}

void TitlesPass(std::string& text, std::string_view colour) {
  RewriteElements(text, {"title"}, [colour](std::string_view, std::string_view, std::string_view inner) {
    std::string anchors;
    std::vector<std::string> lines;
    auto addLine = [&](std::string_view html) {
      std::string line(html);
      anchors += TakeAnchors(line);
      if (!markup::OneLineText(line).empty()) lines.push_back(std::move(line));
    };
    size_t pos = 0;
    Child child;
    while (NextChild(inner, pos, child)) {
      if (child.name == "p") addLine(child.inner);
      else if (child.name == "A") anchors += child.whole;
      else if (child.name != "BR") addLine(child.whole);
    }
    if (lines.empty()) return anchors;
    return "<BR>" + anchors + JoinedTitle(lines, colour) + "<BR>";
  });
}

void LeftoversPass(std::string& text) {
  Apply(text, {{"<title", "", false, true},
               {"</title>", ""},
               {"<section", "", false, true},
               {"</section>", ""},
               {"</body>", ""},
               {"<FictionBook>", ""},
               {"</FictionBook>", ""},
               {"<annotation>", ""},
               {"</annotation>", ""},
               {"<empty-line/>", ""},
               {"<history>", ""},
               {"</history>", ""},
               {"<date", "", false, true},
               {"</date>", ""},
               {"<image", "", false, true}});
}

void DialogsPass(std::string& text) {
  Apply(text, {{"<epigraph><BR><BR>", "<epigraph>"},
               {"<BR><BR></epigraph>", "</epigraph>"},
               {"<stanza><BR><BR>", "<stanza>"},
               {"<BR><BR></stanza>", "</stanza>"},
               {"<p> - ", "<p>-&nbsp;"},
               {"<p> -", "<p>-"},
               {"<p>- ", "<p>-&nbsp;"},
               {"<p>\u2013 ", "<p>\u2013&nbsp;"},
               {"<p>\u2014 ", "<p>\u2014&nbsp;"}});
}

void ParagraphsPass(std::string& text) {
  Apply(text, {{"<p>", markup::kParagraphStart}, {"</p>", markup::kDivEnd}});
}

void VerseLinesPass(std::string& text) {
  Apply(text, {{"<v>", markup::kParagraphStart}, {"</v>", markup::kDivEnd}});
}

void MarkedElementsPass(std::string& text, const common::ElementColours& colours) {
  RewriteElements(text, {"subtitle", "text-author", "stanza", "epigraph", "cite"},
                  [&colours](std::string_view name, std::string_view, std::string_view inner) {
                    std::string content(inner);
                    if (name == "subtitle" || name == "text-author") {
                      std::string anchors = TakeAnchors(content);
                      if (markup::OneLineText(content).empty()) return anchors;
                      if (name == "text-author") return anchors + markup::MakeTextAuthor(content, colours.textAuthor);
                      return "<BR>" + anchors + markup::MakeSubtitle(content, colours.subtitle) + "<BR>";
                    }
                    if (name == "stanza") return "<BR>" + markup::MakeVerse(content, {}, colours.verse) + "<BR>";
                    if (name == "epigraph") return markup::MakeEpigraph(content, {}, colours.epigraph) + "<BR>";
                    return markup::MakeCite(content, {}, colours.cite) + "<BR>";
                  });
}

// Every run of one of `tags` written back to back keeps its first: one scan for all of them.
void CollapseRuns(std::string& text, std::initializer_list<std::string_view> tags) {
  std::string out;
  size_t copied = 0;
  std::string_view last;
  size_t lastEnd = std::string::npos;  // where the last tag found ends
  for (size_t lt = text.find('<'); lt != std::string::npos; lt = text.find('<', lt + 1)) {
    for (const std::string_view tag : tags) {
      if (text.compare(lt, tag.size(), tag) != 0) continue;
      if (tag == last && lastEnd == lt) {
        if (out.empty()) out.reserve(text.size());
        out.append(text, copied, lt - copied);
        copied = lt + tag.size();
      }
      last = tag;
      lastEnd = lt + tag.size();
      lt = lastEnd - 1;
      break;
    }
  }
  if (copied == 0) return;
  out.append(text, copied, std::string::npos);
  text = std::move(out);
}

void CleaningPass(std::string& text) {
  CollapseRuns(text, {"<B>", "</B>", "<BR>"});
  // One block a line.
  Apply(text, {{"<BR>", "<BR>\r\n"}, {"</DIV><D", "</DIV>\r\n<D"}, {"</DIV><S", "</DIV>\r\n<S"}});
}

// The inline rows that notes share with the body.
void InlinePasses(std::string& text) {
  IdsPass(text);
  LinksPass(text);
  StylesPass(text);
  ExistingBookmarksPass(text);
  BookmarksPass(text);
  text = ReplaceFb2Entities(text);
  DialogsPass(text);
  ParagraphsPass(text);
}

// The lines of a note's content: paragraphs, verse lines, subtitles and text authors, from
// whatever blocks hold them.
void NoteLines(std::string_view fragment, std::vector<std::string>& lines, std::string& nested);

void Note(const Child& section, std::string& out) {
  std::string label;
  std::vector<std::string> lines;
  std::string nested;
  size_t pos = 0;
  Child child;
  while (NextChild(section.inner, pos, child)) {
    if (child.name == "title") {
      size_t p = 0;
      Child line;
      while (NextChild(child.inner, p, line)) {
        const std::string_view part = line.name == "p" ? line.inner : line.whole;
        if (line.name == "BR" || Blank(TextOf(part))) continue;
        if (!label.empty()) label += ' ';
        label += part;
      }
    } else {
      std::string one(child.whole);
      NoteLines(one, lines, nested);
    }
  }
  const std::string_view id = AttributeOf(section.startTag, "id");
  if (!id.empty() || !label.empty() || !lines.empty()) {
    out += id.empty() ? "<p>" : "<p id=\"" + std::string(id) + "\">";
    out += label;
    if (!label.empty() && !lines.empty()) out += ' ';
    if (!lines.empty()) out += lines[0];
    out += "</p>";
    for (size_t i = 1; i < lines.size(); ++i) out += "<p>" + lines[i] + "</p>";
  }
  out += nested;
}

void NoteLines(std::string_view fragment, std::vector<std::string>& lines, std::string& nested) {
  size_t pos = 0;
  Child child;
  while (NextChild(fragment, pos, child)) {
    if (child.name == "p" || child.name == "v" || child.name == "subtitle" || child.name == "text-author") {
      if (!Blank(TextOf(child.inner)) || child.inner.find("<DIV") != std::string_view::npos)
        lines.emplace_back(child.inner);
    } else if (child.name == "section") {
      Note(child, nested);
    } else if (child.name == "DIV") {
      lines.emplace_back(child.whole);
    } else if (child.name.empty()) {
      if (!Blank(child.inner)) lines.emplace_back(child.inner);
    } else if (!child.inner.empty()) {
      NoteLines(child.inner, lines, nested);
    }
  }
}

}  // namespace

std::string ReplaceFb2Entities(std::string_view text, common::Progress* progress) {
  if (progress) progress->Status("...replacing html entities...");
  if (text.find('&') == std::string_view::npos) return std::string(text);
  std::string protectedText = common::ReplaceAll(text, "&amp;", kProtectedAmp);
  std::string out = import::ReplaceHtmlEntitiesUtf8(protectedText);
  common::ReplaceAllInPlace(out, kProtectedAmp, "&amp;");
  return out;
}

std::string Fb2LineText(std::string_view inlineMarkup) {
  return ReplaceFb2Entities(markup::OneLineText(inlineMarkup));
}

std::string ConvertFb2Body(std::string body, const Fb2BodyOptions& options, common::Progress& progress) {
  const int rows = 16;
  int row = 0;
  auto next = [&] { progress.Percent(++row * 100 / rows); };
  TidyPass(body);
  next();
  if (options.keepSections) SectionsPass(body);
  next();
  SpacingPass(body);
  next();
  IdsPass(body);
  next();
  LinksPass(body);
  next();
  PoemsPass(body);
  next();
  StylesPass(body);
  next();
  progress.Status("...restoring existed bookmarks...");
  ExistingBookmarksPass(body);
  progress.Status("...restoring bookmarks...");
  BookmarksPass(body);
  next();
  progress.Status("...looking for titles...");
  TitlesPass(body, options.colours.title);
  next();
  body = ReplaceFb2Entities(body, &progress);
  next();
  progress.Status("...replacing bad symbols...");
  LeftoversPass(body);
  next();
  progress.Status("...looking for dialogs...");
  DialogsPass(body);
  next();
  progress.Status("...looking for paragraphs...");
  ParagraphsPass(body);
  next();
  progress.Status("...looking for epigraphs...");
  VerseLinesPass(body);
  next();
  progress.Status("...looking for styles...");
  MarkedElementsPass(body, options.colours);
  next();
  progress.Status("...cleaning...");
  CleaningPass(body);
  next();
  return body;
}

std::string ConvertFb2Notes(std::string_view notes, const Fb2BodyOptions&) {
  std::string paragraphs;
  std::vector<std::string> loose;
  std::string nested;
  size_t pos = 0;
  Child child;
  while (NextChild(notes, pos, child)) {
    if (child.name == "section") {
      Note(child, paragraphs);
    } else if (child.name != "BR" && child.name != "empty-line") {
      // Text of the note body outside any note (its title above all) stays, as paragraphs
      // without an anchor.
      loose.clear();
      nested.clear();
      NoteLines(child.whole, loose, nested);
      for (const std::string& line : loose) paragraphs += "<p>" + line + "</p>";
      paragraphs += nested;
    }
  }
  if (paragraphs.empty()) return {};
  InlinePicturesPass(paragraphs);
  InlinePasses(paragraphs);
  CollapseRuns(paragraphs, {"<B>", "</B>"});
  Apply(paragraphs, {{"</DIV><D", "</DIV>\r\n<D"}});
  return paragraphs;
}

}  // namespace pw::fb2

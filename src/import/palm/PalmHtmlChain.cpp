#include "import/palm/PalmHtmlChain.h"

#include "common/Text.h"
#include "common/Utf8.h"
#include "corrector/CleanUpFile.h"
#include "markup/Signature.h"
#include "markup/TagPass.h"

namespace pw::import::palm {
namespace {

using markup::TagRule;

void CleanUp(std::string& html, const std::string& slot, common::Session& session,
             const std::filesystem::path& ruleFolder) {
  if (!slot.empty() && slot != corrector::kNoRuleFile)
    html = corrector::ApplyCleanUpFile(html, slot, ruleFolder, session);
}

bool IsAsciiLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// A letter ends at `end` (exclusive): an ASCII letter, or a multi-byte character that the
// case functions know as one.
bool LetterBefore(std::string_view text, size_t end) {
  if (end == 0) return false;
  if (IsAsciiLetter(text[end - 1])) return true;
  if (static_cast<unsigned char>(text[end - 1]) < 0x80) return false;
  const std::string last = common::LastChar(text.substr(0, end));
  return common::ToLower(last) != common::ToUpper(last);
}

bool LowerLetterAt(std::string_view text, size_t at) {
  if (at >= text.size()) return false;
  if (text[at] >= 'a' && text[at] <= 'z') return true;
  if (static_cast<unsigned char>(text[at]) < 0x80) return false;
  const std::string first = common::FirstChar(text.substr(at));
  return common::ToLower(first) == first && common::ToUpper(first) != first;
}

}  // namespace

std::string JoinHyphenatedLines(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  size_t done = 0;
  for (size_t at = text.find("-\r\n"); at != std::string_view::npos; at = text.find("-\r\n", at + 1)) {
    if (!LetterBefore(text, at) || !LowerLetterAt(text, at + 3)) continue;
    out.append(text, done, at - done);
    done = at + 3;
  }
  out.append(text, done, std::string_view::npos);
  return out;
}

std::string RemoveAttribute(std::string_view html, std::string_view name) {
  const std::string key = " " + std::string(name) + "=";
  std::string out;
  out.reserve(html.size());
  size_t done = 0;
  for (size_t at = common::FindAsciiCaseless(html, key); at != std::string_view::npos;
       at = common::FindAsciiCaseless(html, key, at + 1)) {
    if (at < done) continue;
    size_t end = at + key.size();
    if (end < html.size() && (html[end] == '"' || html[end] == '\'')) {
      const size_t close = html.find(html[end], end + 1);
      end = close == std::string_view::npos ? html.size() : close + 1;
    } else {
      while (end < html.size() && html[end] != ' ' && html[end] != '>' && html[end] != '/') ++end;
    }
    out.append(html, done, at - done);
    done = end;
  }
  out.append(html, done, std::string_view::npos);
  return out;
}

std::string RemovePrefixedTags(std::string_view html) {
  std::string out;
  out.reserve(html.size());
  size_t done = 0;
  for (size_t at = html.find('<'); at != std::string_view::npos; at = html.find('<', at + 1)) {
    size_t name = at + 1;
    if (name < html.size() && html[name] == '/') ++name;
    size_t end = name;
    while (end < html.size() && (std::isalnum(static_cast<unsigned char>(html[end])) || html[end] == '-' ||
                                 html[end] == '_' || html[end] == ':'))
      ++end;
    if (end == name || html.substr(name, end - name).find(':') == std::string_view::npos) continue;
    const size_t close = html.find('>', end);
    if (close == std::string_view::npos) break;
    out.append(html, done, at - done);
    done = close + 1;
    at = close;
  }
  out.append(html, done, std::string_view::npos);
  return out;
}

std::string CollapseLineBreaks(std::string_view html) {
  std::string out;
  out.reserve(html.size());
  size_t at = 0;
  while (at < html.size()) {
    const size_t next = common::FindAsciiCaseless(html, "<br>", at);
    if (next == std::string_view::npos) break;
    out.append(html, at, next + 4 - at);
    // Count the breaks that follow, blanks between them allowed.
    size_t run = 1;
    size_t end = next + 4;
    while (true) {
      size_t k = end;
      while (k < html.size() && (html[k] == ' ' || html[k] == '\r' || html[k] == '\n' || html[k] == '\t')) ++k;
      if (common::FindAsciiCaseless(html.substr(k, 4), "<br>") != 0) break;
      end = k + 4;
      if (++run <= 2) out += "<br>";
    }
    at = end;
  }
  if (at < html.size()) out.append(html, at, std::string_view::npos);
  return out;
}

std::string RunPalmHtmlChain(std::string html, common::Session& session, const std::filesystem::path& ruleFolder) {
  common::Progress& progress = session.progress;
  const auto step = [&](size_t index) { progress.Status(kPalmChainSteps[index]); };

  step(0);
  CleanUp(html, session.settings.cleanUpBefore, session, ruleFolder);

  step(1);  // The no-break space in every spelling becomes the entity.
  static constexpr TagRule kSpaces[] = {{"&#160;", "&nbsp;"}, {"&#xa0;", "&nbsp;", true}, {"\xC2\xA0", "&nbsp;"}};
  markup::ApplyTagRules(html, kSpaces);

  step(2);
  static constexpr TagRule kHeaders[] = {{"<head", "", true, false, "</head>"}, {"<style", "", true, false, "</style>"}};
  markup::ApplyTagRules(html, kHeaders);

  step(3);
  markup::ApplyTagRule(html, {"<!pwfile", "", true, true});

  step(4);  // Titles that a text converter marked with the control bytes 1 and 2.
  if (html.find('\x01') != std::string::npos) {
    static constexpr TagRule kTitles[] = {{"\x01", "<h2>"}, {"\x02", "</h2>"}};
    markup::ApplyTagRules(html, kTitles);
  }

  step(5);
  static constexpr TagRule kBreaks[] = {{"</br>", "<br>", true}, {"<br", "<br>", true, true}, {"<hr", "<br>", true, true}};
  markup::ApplyTagRules(html, kBreaks);

  step(6);
  static constexpr TagRule kUnused[] = {{"<html", "", true, true},   {"</html", "", true, true},
                                        {"<body", "", true, true},   {"</body>", "", true},
                                        {"<meta", "", true, true},   {"<guide", "", true, false, "</guide>"},
                                        {"<mbp:pagebreak", "<br>", true, true}};
  markup::ApplyTagRules(html, kUnused);

  step(7);
  markup::RemoveSignature(html);

  step(8);
  common::ReplaceAllInPlace(html, "<DIV align=justify>&nbsp;", "<DIV align=justify>&nbsp;&nbsp;&nbsp;&nbsp;");

  step(9);
  html = JoinHyphenatedLines(html);

  // The book author and title headings and the element colours are written by the HTML-to-book
  // converter and the Palm reader around it, from the book's own description.
  step(10);
  step(11);

  step(12);  // Links by byte position that the reader could not turn into anchors lead nowhere.
  html = RemoveAttribute(html, "filepos");

  step(13);  // Blank lines before the first text are not the book's.
  size_t start = 0;
  while (start < html.size() && (html[start] == ' ' || html[start] == '\r' || html[start] == '\n' || html[start] == '\t'))
    ++start;
  html.erase(0, start);

  step(14);
  html = CollapseLineBreaks(html);

  step(15);
  static constexpr TagRule kLineEnds[] = {{"</p>", "</p>\r\n", true}, {"</div>", "</div>\r\n", true},
                                          {"<br>", "<br>\r\n", true}};
  markup::ApplyTagRules(html, kLineEnds);

  step(16);
  CleanUp(html, session.settings.cleanUpAfter, session, ruleFolder);

  step(17);  // The metadata block and the tags of the reader's own vocabulary.
  static constexpr TagRule kTags[] = {
      {"<metadata", "", true, false, "</metadata>"}, {"<dc-metadata", "", true, false, "</dc-metadata>"},
      {"<x-metadata", "", true, false, "</x-metadata>"}, {"<embeddedcover", "", true, false, "</embeddedcover>"},
      {"<reference", "", true, true}, {"<tours", "", true, false, "</tours>"}};
  markup::ApplyTagRules(html, kTags);
  html = RemovePrefixedTags(html);

  step(18);
  markup::ApplyTagRule(html, {"&#160;", "&nbsp;"});
  return html;
}

}  // namespace pw::import::palm

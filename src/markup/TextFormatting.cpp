#include "markup/TextFormatting.h"

#include <unicode/uchar.h>

#include <tuple>
#include <utility>
#include <vector>

#include "common/Utf8.h"
#include "markup/HtmlTags.h"

namespace pw::markup {
namespace {

enum class TokenKind { Tag, Entity, Text };

struct Token {
  TokenKind kind;
  std::string_view text;
  std::string name;  // lower-case tag name of a tag
  bool closing = false;
};

bool IsEntityAt(std::string_view html, size_t pos, size_t& end) {
  size_t i = pos + 1;
  while (i < html.size() && i - pos <= 12 &&
         ((html[i] >= 'a' && html[i] <= 'z') || (html[i] >= 'A' && html[i] <= 'Z') ||
          (html[i] >= '0' && html[i] <= '9') || html[i] == '#')) {
    ++i;
  }
  if (i == pos + 1 || i >= html.size() || html[i] != ';') return false;
  end = i + 1;
  return true;
}

// Walks `html` as tags, entities and runs of text, in order.
template <typename Visit>
void ForEachToken(std::string_view html, Visit visit) {
  size_t i = 0;
  size_t textStart = 0;
  auto flushText = [&](size_t upTo) {
    if (upTo > textStart) visit(Token{TokenKind::Text, html.substr(textStart, upTo - textStart), {}, false});
  };
  while (i < html.size()) {
    HtmlTag tag;
    size_t entityEnd = 0;
    if (html[i] == '<' && ReadTagAt(html, i, tag)) {
      flushText(i);
      visit(Token{TokenKind::Tag, html.substr(i, tag.end - i), tag.name, tag.closing});
      i = textStart = tag.end;
    } else if (html[i] == '&' && IsEntityAt(html, i, entityEnd)) {
      flushText(i);
      visit(Token{TokenKind::Entity, html.substr(i, entityEnd - i), {}, false});
      i = textStart = entityEnd;
    } else {
      ++i;
    }
  }
  flushText(html.size());
}

// Tags that may stand inside a wrapped run of text; every other tag (paragraphs, element
// spans and their colour fonts, breaks) ends a run.
bool IsRunTag(std::string_view name) {
  return IsStyleTag(name) || name == "a" || name == "img" || name == "small" || name == "big" ||
         name == "tt" || name == "code" || name == "abbr" || name == "nobr" || name == "wbr";
}

// Tags that do not interrupt the flow of text: a word or a gap between words runs on across them.
bool IsFlowTag(std::string_view name) { return IsRunTag(name) || name == "font" || name == "span"; }

bool IsNbsp(std::string_view entity) { return entity == "&nbsp;" || entity == "&NBSP;"; }

// Byte range of the visible text of a text token: without blanks and no-break spaces at its ends.
std::pair<size_t, size_t> VisibleRange(std::string_view text) {
  auto blankAt = [&](size_t i) -> size_t {  // length of the blank at i, 0 when none
    if (IsBlankByte(text[i])) return 1;
    if (text.compare(i, 2, "\xC2\xA0") == 0) return 2;
    return 0;
  };
  size_t begin = 0;
  while (begin < text.size()) {
    const size_t n = blankAt(begin);
    if (n == 0) break;
    begin += n;
  }
  size_t end = text.size();
  while (end > begin) {
    if (IsBlankByte(text[end - 1])) --end;
    else if (end - begin >= 2 && text.compare(end - 2, 2, "\xC2\xA0") == 0) end -= 2;
    else break;
  }
  return {begin, end};
}

bool HasVisibleText(std::string_view html) {
  bool visible = false;
  ForEachToken(html, [&](const Token& token) {
    if (token.kind == TokenKind::Entity && !IsNbsp(token.text)) visible = true;
    if (token.kind == TokenKind::Text) {
      const auto [begin, end] = VisibleRange(token.text);
      if (end > begin) visible = true;
    }
  });
  return visible;
}

bool IsInvisible(const Token& token) {
  if (token.kind == TokenKind::Entity) return IsNbsp(token.text);
  if (token.kind == TokenKind::Tag) return false;
  const auto [begin, end] = VisibleRange(token.text);
  return end <= begin;
}

// Writes `run` with [start token, start offset) to [end token, end offset) put into the style.
void WriteWrapped(const std::vector<Token>& run, size_t startToken, size_t startOffset, size_t endToken,
                  size_t endOffset, std::string_view open, std::string_view close, std::string& out) {
  for (size_t k = 0; k < run.size(); ++k) {
    const std::string_view text = run[k].text;
    if (k < startToken || k > endToken) {
      out += text;
      continue;
    }
    const size_t from = k == startToken ? startOffset : 0;
    const size_t to = k == endToken ? endOffset : text.size();
    if (k == startToken) {
      out += text.substr(0, from);
      out += open;
    }
    out += text.substr(from, to - from);
    if (k == endToken) {
      out += close;
      out += text.substr(to);
    }
  }
}

// One run of text between two boundary tags, as tokens: wrapped once from its first to its last
// visible character, taking in the tags around that belong to what lies between; when the tags
// inside cross each other, each text token is wrapped on its own.
void WrapRun(const std::vector<Token>& run, std::string_view open, std::string_view close, std::string& out) {
  size_t first = run.size();
  size_t last = 0;
  size_t firstOffset = 0;
  size_t lastEnd = 0;
  for (size_t k = 0; k < run.size(); ++k) {
    const Token& token = run[k];
    if (token.kind == TokenKind::Tag || IsInvisible(token)) continue;
    size_t begin = 0;
    size_t end = token.text.size();
    if (token.kind == TokenKind::Text) std::tie(begin, end) = VisibleRange(token.text);
    if (first == run.size()) {
      first = k;
      firstOffset = begin;
    }
    last = k;
    lastEnd = end;
  }
  if (first == run.size()) {
    for (const Token& token : run) out += token.text;
    return;
  }
  // Tags opened inside and closed after, or closed inside and opened before.
  std::vector<std::string_view> opened;
  std::vector<std::string_view> closed;
  bool nested = true;
  for (size_t k = first; k <= last && nested; ++k) {
    const Token& token = run[k];
    if (token.kind != TokenKind::Tag || IsVoidTag(token.name)) continue;
    if (!token.closing) opened.push_back(token.name);
    else if (!opened.empty() && opened.back() == token.name) opened.pop_back();
    else if (opened.empty()) closed.push_back(token.name);
    else nested = false;
  }
  for (size_t k = last + 1; nested && !opened.empty() && k < run.size(); ++k) {
    const Token& token = run[k];
    if (token.kind == TokenKind::Tag && token.closing && token.name == opened.back()) {
      opened.pop_back();
      last = k;
      lastEnd = token.text.size();
    } else if (!IsInvisible(run[k]) && !(token.kind == TokenKind::Tag && IsVoidTag(token.name))) {
      break;
    }
  }
  for (size_t k = first; nested && !closed.empty() && k > 0; --k) {
    const Token& token = run[k - 1];
    if (token.kind == TokenKind::Tag && !token.closing && token.name == closed.front()) {
      closed.erase(closed.begin());
      first = k - 1;
      firstOffset = 0;
    } else if (!IsInvisible(token) && !(token.kind == TokenKind::Tag && IsVoidTag(token.name))) {
      break;
    }
  }
  if (nested && opened.empty() && closed.empty()) {
    WriteWrapped(run, first, firstOffset, last, lastEnd, open, close, out);
    return;
  }
  for (size_t k = 0; k < run.size(); ++k) {
    const Token& token = run[k];
    if (token.kind != TokenKind::Text || IsInvisible(token)) {
      out += token.text;
      continue;
    }
    const auto [begin, end] = VisibleRange(token.text);
    WriteWrapped({token}, 0, begin, 0, end, open, close, out);
  }
}

bool IsWordCharacter(char32_t cp) { return u_isalnum(static_cast<UChar32>(cp)) != 0; }
bool IsLetter(char32_t cp) { return u_isalpha(static_cast<UChar32>(cp)) != 0; }
bool IsApostrophe(char32_t cp) { return cp == U'\'' || cp == U'\u2019' || cp == U'\u02BC'; }
constexpr char32_t kSoftHyphen = U'\u00AD';

// Proper case of one text token; `inWord` says whether the text before it ended inside a word.
void ProperCase(std::string_view text, bool& inWord, std::string& out) {
  size_t pos = 0;
  while (pos < text.size()) {
    const size_t start = pos;
    const char32_t cp = common::NextCodePoint(text, pos);
    if (!IsWordCharacter(cp)) {
      out += text.substr(start, pos - start);
      if (cp != kSoftHyphen) inWord = false;
      continue;
    }
    const size_t firstEnd = pos;
    size_t end = pos;
    while (end < text.size()) {
      size_t next = end;
      const char32_t c = common::NextCodePoint(text, next);
      if (IsWordCharacter(c) || c == kSoftHyphen) {
        end = next;
        continue;
      }
      size_t after = next;
      if (IsApostrophe(c) && after < text.size() && IsLetter(common::NextCodePoint(text, after))) {
        end = next;
        continue;
      }
      break;
    }
    if (!inWord && IsLetter(cp)) {
      out += common::ToTitle(text.substr(start, firstEnd - start));
      out += common::ToLower(text.substr(firstEnd, end - firstEnd));
    } else {
      out += common::ToLower(text.substr(start, end - start));
    }
    inWord = true;
    pos = end;
  }
}

}  // namespace

std::string WrapTextInStyle(std::string_view html, std::string_view tagName) {
  std::string open("<");
  open.append(tagName).push_back('>');
  std::string close("</");
  close.append(tagName).push_back('>');
  std::string out;
  out.reserve(html.size() + 32);
  std::vector<Token> run;
  ForEachToken(html, [&](const Token& token) {
    if (token.kind == TokenKind::Tag && !IsRunTag(token.name)) {
      WrapRun(run, open, close, out);
      run.clear();
      out += token.text;
    } else {
      run.push_back(token);
    }
  });
  WrapRun(run, open, close, out);
  return out;
}

std::string ChangeTextCase(std::string_view html, TextCase textCase) {
  std::string out;
  out.reserve(html.size() + html.size() / 8);
  bool inWord = false;
  ForEachToken(html, [&](const Token& token) {
    switch (token.kind) {
      case TokenKind::Tag:
        out += token.text;
        if (!IsFlowTag(token.name)) inWord = false;
        break;
      case TokenKind::Entity:
        out += token.text;
        if (token.text != "&shy;") inWord = false;
        break;
      case TokenKind::Text:
        if (textCase == TextCase::Upper) out += common::ToUpper(token.text);
        else if (textCase == TextCase::Lower) out += common::ToLower(token.text);
        else ProperCase(token.text, inWord, out);
        break;
    }
  });
  return out;
}

std::string RemoveSpaces(std::string_view html) {
  // Blank bytes of the text, grouped into runs; a run counts only between two visible
  // characters of the same flow of text (inline tags and fonts do not interrupt it, other tags do), so
  // the layout blanks between paragraphs stay as they are.
  std::vector<char> drop(html.size(), 0);
  std::vector<size_t> runBlanks;
  bool afterVisible = false;
  auto endRun = [&](bool visibleFollows) {
    if (afterVisible && visibleFollows && !runBlanks.empty()) {
      // One blank between two characters goes; a wider gap keeps one blank.
      for (size_t k = runBlanks.size() == 1 ? 0 : 1; k < runBlanks.size(); ++k) drop[runBlanks[k]] = 1;
      if (runBlanks.size() > 1) drop[runBlanks[0]] = 2;  // written as a plain blank
    }
    runBlanks.clear();
  };
  ForEachToken(html, [&](const Token& token) {
    const size_t base = static_cast<size_t>(token.text.data() - html.data());
    if (token.kind == TokenKind::Tag) {
      if (!IsFlowTag(token.name)) {
        endRun(false);
        afterVisible = false;
      }
      return;
    }
    if (token.kind == TokenKind::Entity) {
      endRun(true);
      afterVisible = true;
      return;
    }
    for (size_t i = 0; i < token.text.size(); ++i) {
      if (IsBlankByte(token.text[i])) {
        runBlanks.push_back(base + i);
      } else {
        endRun(true);
        afterVisible = true;
      }
    }
  });
  endRun(false);
  std::string out;
  out.reserve(html.size());
  for (size_t i = 0; i < html.size(); ++i) {
    if (drop[i] == 0) out += html[i];
    else if (drop[i] == 2) out += ' ';
  }
  return out;
}

std::string FormatSelectionText(std::string_view selectionHtml, TextFormat format) {
  if (!HasVisibleText(selectionHtml)) return {};
  switch (format) {
    case TextFormat::Bold: return WrapTextInStyle(selectionHtml, "B");
    case TextFormat::Italic: return WrapTextInStyle(selectionHtml, "I");
    case TextFormat::Underline: return WrapTextInStyle(selectionHtml, "U");
    case TextFormat::Superscript: return WrapTextInStyle(selectionHtml, "SUP");
    case TextFormat::Subscript: return WrapTextInStyle(selectionHtml, "SUB");
    case TextFormat::UpperCase: return ChangeTextCase(selectionHtml, TextCase::Upper);
    case TextFormat::LowerCase: return ChangeTextCase(selectionHtml, TextCase::Lower);
    case TextFormat::ProperCase: return ChangeTextCase(selectionHtml, TextCase::Proper);
    case TextFormat::RemoveSpaces: return RemoveSpaces(selectionHtml);
  }
  return {};
}

}  // namespace pw::markup

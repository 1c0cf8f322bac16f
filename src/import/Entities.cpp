#include "import/Entities.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "common/Utf8.h"

namespace pw::import {

using common::CodePage;

namespace {

struct EntityRow {
  std::string_view name;  // with its "&" and ";"
  char32_t code;
};

// The HTML 4.01 character entities in the order the UTF-8 chain reports them. "&lt;", "&gt;",
// "&nbsp;" and "&shy;" are not in it: they stay references, because the book keeps them as
// such (an unescaped "<" would turn text into markup, and the book marks no-break spaces and
// soft hyphens as references).
constexpr EntityRow kEntityTable[] = {
    // often-used
    {"&ndash;", 0x2013}, {"&mdash;", 0x2014}, {"&quot;", 0x22}, {"&amp;", 0x26}, {"&iexcl;", 0xA1},
    {"&sect;", 0xA7}, {"&copy;", 0xA9}, {"&laquo;", 0xAB}, {"&reg;", 0xAE}, {"&raquo;", 0xBB},
    {"&lsquo;", 0x2018}, {"&rsquo;", 0x2019}, {"&sbquo;", 0x201A}, {"&ldquo;", 0x201C},
    {"&rdquo;", 0x201D}, {"&bdquo;", 0x201E}, {"&lsaquo;", 0x2039}, {"&rsaquo;", 0x203A},
    {"&tilde;", 0x2DC}, {"&bull;", 0x2022}, {"&hellip;", 0x2026}, {"&prime;", 0x2032},
    {"&Prime;", 0x2033}, {"&oline;", 0x203E}, {"&frasl;", 0x2044}, {"&weierp;", 0x2118},
    {"&image;", 0x2111}, {"&real;", 0x211C}, {"&trade;", 0x2122}, {"&alefsym;", 0x2135},
    // special: arrows, mathematical operators, technical and card symbols
    {"&larr;", 0x2190}, {"&uarr;", 0x2191}, {"&rarr;", 0x2192}, {"&darr;", 0x2193}, {"&harr;", 0x2194},
    {"&crarr;", 0x21B5}, {"&lArr;", 0x21D0}, {"&uArr;", 0x21D1}, {"&rArr;", 0x21D2}, {"&dArr;", 0x21D3},
    {"&hArr;", 0x21D4}, {"&forall;", 0x2200}, {"&part;", 0x2202}, {"&exist;", 0x2203},
    {"&empty;", 0x2205}, {"&nabla;", 0x2207}, {"&isin;", 0x2208}, {"&notin;", 0x2209}, {"&ni;", 0x220B},
    {"&prod;", 0x220F}, {"&sum;", 0x2211}, {"&minus;", 0x2212}, {"&lowast;", 0x2217},
    {"&radic;", 0x221A}, {"&prop;", 0x221D}, {"&infin;", 0x221E}, {"&ang;", 0x2220}, {"&and;", 0x2227},
    {"&or;", 0x2228}, {"&cap;", 0x2229}, {"&cup;", 0x222A}, {"&int;", 0x222B}, {"&there4;", 0x2234},
    {"&sim;", 0x223C}, {"&cong;", 0x2245}, {"&asymp;", 0x2248}, {"&ne;", 0x2260}, {"&equiv;", 0x2261},
    {"&le;", 0x2264}, {"&ge;", 0x2265}, {"&sub;", 0x2282}, {"&sup;", 0x2283}, {"&nsub;", 0x2284},
    {"&sube;", 0x2286}, {"&supe;", 0x2287}, {"&oplus;", 0x2295}, {"&otimes;", 0x2297},
    {"&perp;", 0x22A5}, {"&sdot;", 0x22C5}, {"&lceil;", 0x2308}, {"&rceil;", 0x2309},
    {"&lfloor;", 0x230A}, {"&rfloor;", 0x230B}, {"&lang;", 0x2329}, {"&rang;", 0x232A},
    {"&loz;", 0x25CA}, {"&spades;", 0x2660}, {"&clubs;", 0x2663}, {"&hearts;", 0x2665},
    {"&diams;", 0x2666}, {"&fnof;", 0x192},
    // Greek
    {"&Alpha;", 0x391}, {"&Beta;", 0x392}, {"&Gamma;", 0x393}, {"&Delta;", 0x394}, {"&Epsilon;", 0x395},
    {"&Zeta;", 0x396}, {"&Eta;", 0x397}, {"&Theta;", 0x398}, {"&Iota;", 0x399}, {"&Kappa;", 0x39A},
    {"&Lambda;", 0x39B}, {"&Mu;", 0x39C}, {"&Nu;", 0x39D}, {"&Xi;", 0x39E}, {"&Omicron;", 0x39F},
    {"&Pi;", 0x3A0}, {"&Rho;", 0x3A1}, {"&Sigma;", 0x3A3}, {"&Tau;", 0x3A4}, {"&Upsilon;", 0x3A5},
    {"&Phi;", 0x3A6}, {"&Chi;", 0x3A7}, {"&Psi;", 0x3A8}, {"&Omega;", 0x3A9}, {"&alpha;", 0x3B1},
    {"&beta;", 0x3B2}, {"&gamma;", 0x3B3}, {"&delta;", 0x3B4}, {"&epsilon;", 0x3B5}, {"&zeta;", 0x3B6},
    {"&eta;", 0x3B7}, {"&theta;", 0x3B8}, {"&iota;", 0x3B9}, {"&kappa;", 0x3BA}, {"&lambda;", 0x3BB},
    {"&mu;", 0x3BC}, {"&nu;", 0x3BD}, {"&xi;", 0x3BE}, {"&omicron;", 0x3BF}, {"&pi;", 0x3C0},
    {"&rho;", 0x3C1}, {"&sigmaf;", 0x3C2}, {"&sigma;", 0x3C3}, {"&tau;", 0x3C4}, {"&upsilon;", 0x3C5},
    {"&phi;", 0x3C6}, {"&chi;", 0x3C7}, {"&psi;", 0x3C8}, {"&omega;", 0x3C9}, {"&thetasym;", 0x3D1},
    {"&upsih;", 0x3D2}, {"&piv;", 0x3D6},
    // symbols: the rest of Latin-1's symbols
    {"&cent;", 0xA2}, {"&pound;", 0xA3}, {"&curren;", 0xA4}, {"&yen;", 0xA5}, {"&brvbar;", 0xA6},
    {"&uml;", 0xA8}, {"&ordf;", 0xAA}, {"&not;", 0xAC}, {"&macr;", 0xAF}, {"&deg;", 0xB0},
    {"&plusmn;", 0xB1}, {"&sup2;", 0xB2}, {"&sup3;", 0xB3}, {"&acute;", 0xB4}, {"&micro;", 0xB5},
    {"&para;", 0xB6}, {"&middot;", 0xB7}, {"&cedil;", 0xB8}, {"&sup1;", 0xB9}, {"&ordm;", 0xBA},
    {"&frac14;", 0xBC}, {"&frac12;", 0xBD}, {"&frac34;", 0xBE}, {"&iquest;", 0xBF},
    // latin: Latin-1 letters, then the Latin Extended and punctuation rows
    {"&Agrave;", 0xC0}, {"&Aacute;", 0xC1}, {"&Acirc;", 0xC2}, {"&Atilde;", 0xC3}, {"&Auml;", 0xC4},
    {"&Aring;", 0xC5}, {"&AElig;", 0xC6}, {"&Ccedil;", 0xC7}, {"&Egrave;", 0xC8}, {"&Eacute;", 0xC9},
    {"&Ecirc;", 0xCA}, {"&Euml;", 0xCB}, {"&Igrave;", 0xCC}, {"&Iacute;", 0xCD}, {"&Icirc;", 0xCE},
    {"&Iuml;", 0xCF}, {"&ETH;", 0xD0}, {"&Ntilde;", 0xD1}, {"&Ograve;", 0xD2}, {"&Oacute;", 0xD3},
    {"&Ocirc;", 0xD4}, {"&Otilde;", 0xD5}, {"&Ouml;", 0xD6}, {"&times;", 0xD7}, {"&Oslash;", 0xD8},
    {"&Ugrave;", 0xD9}, {"&Uacute;", 0xDA}, {"&Ucirc;", 0xDB}, {"&Uuml;", 0xDC}, {"&Yacute;", 0xDD},
    {"&THORN;", 0xDE}, {"&szlig;", 0xDF}, {"&agrave;", 0xE0}, {"&aacute;", 0xE1}, {"&acirc;", 0xE2},
    {"&atilde;", 0xE3}, {"&auml;", 0xE4}, {"&aring;", 0xE5}, {"&aelig;", 0xE6}, {"&ccedil;", 0xE7},
    {"&egrave;", 0xE8}, {"&eacute;", 0xE9}, {"&ecirc;", 0xEA}, {"&euml;", 0xEB}, {"&igrave;", 0xEC},
    {"&iacute;", 0xED}, {"&icirc;", 0xEE}, {"&iuml;", 0xEF}, {"&eth;", 0xF0}, {"&ntilde;", 0xF1},
    {"&ograve;", 0xF2}, {"&oacute;", 0xF3}, {"&ocirc;", 0xF4}, {"&otilde;", 0xF5}, {"&ouml;", 0xF6},
    {"&divide;", 0xF7}, {"&oslash;", 0xF8}, {"&ugrave;", 0xF9}, {"&uacute;", 0xFA}, {"&ucirc;", 0xFB},
    {"&uuml;", 0xFC}, {"&yacute;", 0xFD}, {"&thorn;", 0xFE}, {"&yuml;", 0xFF}, {"&OElig;", 0x152},
    {"&oelig;", 0x153}, {"&Scaron;", 0x160}, {"&scaron;", 0x161}, {"&Yuml;", 0x178}, {"&circ;", 0x2C6},
    {"&ensp;", 0x2002}, {"&emsp;", 0x2003}, {"&thinsp;", 0x2009}, {"&zwnj;", 0x200C},
    {"&zwj;", 0x200D}, {"&lrm;", 0x200E}, {"&rlm;", 0x200F}, {"&dagger;", 0x2020},
    {"&Dagger;", 0x2021}, {"&permil;", 0x2030}, {"&euro;", 0x20AC},
};
static_assert(std::size(kEntityTable) == 248);

constexpr std::string_view kUtf8Groups[] = {"often-used", "special", "Greek", "symbols", "latin"};

// The longest reference looked at: "&" + ten characters + ";".
constexpr size_t kLongestReference = 12;

// Reads a numeric reference "&#123;" or "&#x7B;"; false when `ref` is not one.
bool ParseNumeric(std::string_view ref, char32_t& code) {
  if (ref.size() < 4 || ref[1] != '#') return false;
  std::string_view digits = ref.substr(2, ref.size() - 3);
  int base = 10;
  if (!digits.empty() && (digits[0] == 'x' || digits[0] == 'X')) {
    base = 16;
    digits.remove_prefix(1);
  }
  if (digits.empty() || digits.size() > 8) return false;
  uint32_t value = 0;
  const auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), value, base);
  if (ec != std::errc() || end != digits.data() + digits.size()) return false;
  code = value;
  return true;
}

// Runs `replace` on every reference-shaped part ("&" up to ten characters ";") of `text`, in
// one left-to-right pass; `replace` appends the replacement and returns true, or returns false
// to keep the reference.
template <typename Replace>
std::string ForEachReference(std::string_view text, Replace&& replace) {
  std::string out;
  out.reserve(text.size());
  size_t done = 0;
  for (size_t amp = text.find('&'); amp != std::string_view::npos; amp = text.find('&', amp + 1)) {
    if (amp < done) continue;
    const size_t limit = std::min(text.size(), amp + kLongestReference);
    size_t semi = amp + 1;
    while (semi < limit && text[semi] != ';' && text[semi] != '&') ++semi;
    if (semi >= limit || text[semi] != ';' || semi == amp + 1) continue;
    const std::string_view ref = text.substr(amp, semi - amp + 1);
    out.append(text, done, amp - done);
    if (!replace(ref, out)) out.append(ref);
    done = semi + 1;
  }
  out.append(text, done);
  return out;
}

// The character of `code` when `codePage` can hold it, else empty.
std::string IfCodePageHas(char32_t code, CodePage codePage) {
  std::string ch = common::Utf8Of(code);
  if (codePage == CodePage::Utf8) return ch;
  const std::string encoded = common::EncodeFromUtf8(ch, codePage, common::Unmappable::Question);
  if (encoded.size() == 1 && (encoded[0] != '?' || code == U'?')) return ch;
  return {};
}

enum class Action { Delete, Code, Byte, Hyphen, Blank };

struct SingleByteRule {
  Action action;
  unsigned value;  // a code point (Code) or a byte of the book's code page (Byte)
};

struct SingleByteChain {
  std::unordered_map<std::string_view, SingleByteRule> named;
  std::vector<std::string_view> groups;  // status texts, in order
  bool polishAndCzech = false;
};

// Which groups run for which book: the Latin-1 groups ("common symbols", "language symbols")
// for Western books, the "Polish symbols" and "Czech symbols" for Central European ones, and
// for every book the groups whose characters all code pages share. In a Cyrillic book the
// Latin-1 entities are not turned into bytes of another alphabet: they stay references, which
// the book keeps as they are and the FB2 export writes as characters.
SingleByteChain BuildChain(CodePage codePage) {
  SingleByteChain chain;
  auto add = [&](std::string_view name, Action action, unsigned value) { chain.named.emplace(name, SingleByteRule{action, value}); };
  chain.groups = {"often-used", "unicodes", "extended ASCII", "quotations", "dashes", "spaces"};
  add("&amp;", Action::Delete, 0);
  add("&shy;", Action::Delete, 0);
  add("&#173;", Action::Delete, 0);
  add("&quot;", Action::Code, 0x22);
  add("&copy;", Action::Byte, 169);
  add("&lsquo;", Action::Byte, 145);
  add("&rsquo;", Action::Byte, 146);
  add("&ldquo;", Action::Byte, 147);
  add("&rdquo;", Action::Byte, 148);
  add("&hellip;", Action::Byte, 133);
  add("&ndash;", Action::Hyphen, 0);
  add("&mdash;", Action::Hyphen, 0);
  add("&ensp;", Action::Blank, 0);
  add("&emsp;", Action::Blank, 0);
  add("&thinsp;", Action::Blank, 0);
  if (codePage == CodePage::Win1252) {
    chain.groups.push_back("common symbols");
    chain.groups.push_back("language symbols");
    for (const std::string_view name :
         {"&iexcl;", "&cent;", "&pound;", "&curren;", "&yen;", "&brvbar;", "&sect;", "&uml;", "&ordf;",
          "&laquo;", "&not;", "&reg;", "&macr;", "&deg;", "&plusmn;", "&sup2;", "&sup3;", "&raquo;",
          "&acute;", "&micro;", "&para;", "&middot;", "&cedil;", "&sup1;", "&ordm;", "&frac14;",
          "&frac12;", "&frac34;", "&iquest;"}) {
      for (const auto& row : kEntityTable)
        if (row.name == name) add(name, Action::Code, row.code);
    }
    for (const auto& row : kEntityTable)
      if (row.code >= 0xC0 && row.code <= 0xFF && row.name != "&Aring;") add(row.name, Action::Code, row.code);
  }
  if (codePage == CodePage::Win1250) {
    chain.groups.push_back("Polish symbols");
    chain.groups.push_back("Czech symbols");
    chain.polishAndCzech = true;
  }
  return chain;
}

const SingleByteChain& ChainFor(CodePage codePage) {
  static std::mutex mutex;
  static std::map<CodePage, SingleByteChain> chains;
  std::lock_guard lock(mutex);
  auto it = chains.find(codePage);
  if (it == chains.end()) it = chains.emplace(codePage, BuildChain(codePage)).first;
  return it->second;
}

bool IsPolishOrCzechLetter(char32_t code) {
  constexpr char32_t kLetters[] = {260, 262, 280, 321, 323, 346, 377, 379, 261, 263, 281, 322, 324,
                                   347, 378, 380, 282, 283, 366, 367, 344, 345, 352, 353, 381, 382};
  return std::find(std::begin(kLetters), std::end(kLetters), code) != std::end(kLetters);
}

}  // namespace

// The single-byte chain, group by group as the status line shows it, is done in one pass over
// the text: every reference is looked up once and replaced by what its group gives it. A
// separate pass per group would give the same book, except for references that only appear
// when an earlier group deletes the "&amp;" in front of them ("&amp;amp;"), which one pass
// leaves as plain text, as a reader of the source would expect.
std::string ReplaceHtmlEntities(std::string_view text, CodePage codePage, common::Progress* progress) {
  const SingleByteChain& chain = ChainFor(codePage);
  if (progress)
    for (const auto group : chain.groups) progress->Status("...replacing html entities..." + std::string(group) + "...");
  return ForEachReference(text, [&](std::string_view ref, std::string& out) {
    const auto it = chain.named.find(ref);
    if (it != chain.named.end()) {
      switch (it->second.action) {
        case Action::Delete: return true;
        case Action::Hyphen: out.push_back('-'); return true;
        case Action::Blank: out.push_back(' '); return true;
        case Action::Code: common::AppendUtf8(out, it->second.value); return true;
        case Action::Byte: {
          const std::string ch = common::CharOfCode(it->second.value, codePage);
          if (ch.empty()) return false;
          out += ch;
          return true;
        }
      }
    }
    char32_t code = 0;
    if (ref.size() < 4 || ref[2] == 'x' || ref[2] == 'X' || !ParseNumeric(ref, code)) return false;
    // "unicodes": references starting "&#8" with four digits (the general punctuation, the
    // euro, the numero sign...), when the book's code page has the character.
    if (ref[2] == '8' && code >= 8000 && code <= 8999) {
      const std::string ch = IfCodePageHas(code, codePage);
      if (ch.empty()) return false;
      out += ch;
      return true;
    }
    // "extended ASCII": the upper half of the code page, byte for byte.
    if (code >= 128 && code <= 255) {
      const std::string ch = common::CharOfCode(code, codePage);
      if (ch.empty()) return false;
      out += ch;
      return true;
    }
    if (chain.polishAndCzech && IsPolishOrCzechLetter(code)) {
      common::AppendUtf8(out, code);
      return true;
    }
    return false;
  });
}

std::string ReplaceHtmlEntitiesUtf8(std::string_view text, common::Progress* progress) {
  static const std::unordered_map<std::string_view, std::string> table = [] {
    std::unordered_map<std::string_view, std::string> map;
    for (const auto& row : kEntityTable) map.emplace(row.name, common::Utf8Of(row.code));
    return map;
  }();
  if (progress)
    for (const auto group : kUtf8Groups) progress->Status("...replacing html entities: " + std::string(group) + "...");
  return ForEachReference(text, [&](std::string_view ref, std::string& out) {
    if (ref[1] != '#') {
      const auto it = table.find(ref);
      if (it == table.end()) return false;
      out += it->second;
      return true;
    }
    char32_t code = 0;
    if (!ParseNumeric(ref, code)) return false;
    if (code == 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return false;
    // Control characters other than tab and line ends are not text.
    if ((code < 32 && code != '\t' && code != '\n' && code != '\r') || code == 127) return false;
    // "<" and ">" stay escaped, so that a reference never turns into markup.
    if (code == '<') { out += "&lt;"; return true; }
    if (code == '>') { out += "&gt;"; return true; }
    // Codes 128 to 159 are control characters in Unicode, but in web pages they stand for the
    // Windows-1252 punctuation (dashes, quotes, ellipsis), which is how browsers show them.
    if (code >= 128 && code <= 159) {
      const std::string ch = common::CharOfCode(code, CodePage::Win1252);
      if (ch.empty()) return false;
      out += ch;
      return true;
    }
    common::AppendUtf8(out, code);
    return true;
  });
}

}  // namespace pw::import

#include "app/RequestHead.h"

#include <algorithm>

namespace pw::app {

namespace {

bool SameNameIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
           return lower(x) == lower(y);
         });
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r')) text.remove_suffix(1);
  return text;
}

// Takes the text up to `separator` off the front of `text` (all of it when none is left).
std::string_view TakeUntil(std::string_view& text, char separator) {
  const size_t at = text.find(separator);
  const std::string_view part = text.substr(0, at);
  text = at == std::string_view::npos ? std::string_view() : text.substr(at + 1);
  return part;
}

bool QueryCarriesSecret(std::string_view target, std::string_view secret) {
  std::string_view path = TakeUntil(target, '?');
  if (path != "/") return false;
  while (!target.empty()) {
    std::string_view value = TakeUntil(target, '&');
    const std::string_view name = TakeUntil(value, '=');
    if (name == "s" && SameSecret(value, secret)) return true;
  }
  return false;
}

}  // namespace

size_t RequestHeadEnd(std::string_view bytes) {
  for (size_t at = bytes.find('\n'); at != std::string_view::npos; at = bytes.find('\n', at + 1)) {
    if (at + 1 < bytes.size() && bytes[at + 1] == '\n') return at + 2;
    if (at + 2 < bytes.size() && bytes[at + 1] == '\r' && bytes[at + 2] == '\n') return at + 3;
  }
  return std::string_view::npos;
}

bool SameSecret(std::string_view given, std::string_view secret) {
  if (given.size() != secret.size() || secret.empty()) return false;
  unsigned char difference = 0;
  for (size_t i = 0; i < secret.size(); ++i)
    difference |= static_cast<unsigned char>(given[i] ^ secret[i]);
  return difference == 0;
}

bool CookieCarriesSecret(std::string_view cookies, std::string_view name, std::string_view secret) {
  while (!cookies.empty()) {
    std::string_view value = Trim(TakeUntil(cookies, ';'));
    const std::string_view cookieName = Trim(TakeUntil(value, '='));
    if (cookieName == name && SameSecret(Trim(value), secret)) return true;
  }
  return false;
}

bool HeadCarriesSecret(std::string_view head, std::string_view secret) {
  std::string_view requestLine = Trim(TakeUntil(head, '\n'));
  TakeUntil(requestLine, ' ');  // the method
  if (QueryCarriesSecret(TakeUntil(requestLine, ' '), secret)) return true;
  while (!head.empty()) {
    std::string_view value = TakeUntil(head, '\n');
    const std::string_view name = TakeUntil(value, ':');
    value = Trim(value);
    if (SameNameIgnoringCase(name, kSecretHeader) && SameSecret(value, secret)) return true;
    if (SameNameIgnoringCase(name, "Cookie") && CookieCarriesSecret(value, kSecretCookie, secret)) return true;
  }
  return false;
}

}  // namespace pw::app

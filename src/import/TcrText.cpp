#include "import/TcrText.h"

#include <array>

#include "common/Limits.h"

namespace pw::import {

bool UnpackTcr(std::string_view file, std::string& text, bool* tooLarge) {
  if (tooLarge) *tooLarge = false;
  constexpr size_t kSearched = 1024;
  const size_t signature = file.substr(0, kSearched + kTcrSignature.size()).find(kTcrSignature);
  if (signature == std::string_view::npos) return false;
  size_t pos = signature + kTcrSignature.size();
  std::array<std::string_view, 256> table;
  for (std::string_view& entry : table) {
    if (pos >= file.size()) return false;
    const size_t length = static_cast<unsigned char>(file[pos++]);
    if (pos + length > file.size()) return false;
    entry = file.substr(pos, length);
    pos += length;
  }
  size_t length = 0;
  for (size_t i = pos; i < file.size(); ++i) length += table[static_cast<unsigned char>(file[i])].size();
  if (length > common::BookSizeLimit(file.size())) {
    if (tooLarge) *tooLarge = true;
    return false;
  }
  text.clear();
  text.reserve(length);
  for (; pos < file.size(); ++pos) text += table[static_cast<unsigned char>(file[pos])];
  return true;
}

}  // namespace pw::import

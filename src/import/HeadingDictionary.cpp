#include "import/HeadingDictionary.h"

#include <map>
#include <memory>
#include <mutex>

#include "common/Files.h"
#include "common/Text.h"
#include "common/Utf8.h"

namespace pw::import {

std::vector<std::string> ParseWordList(std::string_view text) {
  std::vector<std::string> entries;
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    const std::string_view entry = common::Trim(text.substr(start, end - start));
    if (!entry.empty() && entry[0] != '#') entries.emplace_back(entry);
    start = end + 1;
  }
  return entries;
}

HeadingDictionary MakeHeadingDictionary(std::string_view keywordsText, std::string_view wordsText) {
  HeadingDictionary dictionary;
  dictionary.keywords = ParseWordList(keywordsText);
  for (const std::string& word : ParseWordList(wordsText)) dictionary.words.push_back(common::ToLower(word));
  return dictionary;
}

const HeadingDictionary& LoadHeadingDictionary(const std::filesystem::path& folder) {
  static std::mutex mutex;
  static std::map<std::filesystem::path, std::unique_ptr<HeadingDictionary>> loaded;
  const std::lock_guard<std::mutex> lock(mutex);
  std::unique_ptr<HeadingDictionary>& slot = loaded[folder];
  if (!slot) {
    std::string keywords;
    std::string words;
    common::ReadWholeFile(folder / kHeadingKeywordsFile, keywords);
    common::ReadWholeFile(folder / kHeadingWordsFile, words);
    slot = std::make_unique<HeadingDictionary>(MakeHeadingDictionary(keywords, words));
  }
  return *slot;
}

}  // namespace pw::import

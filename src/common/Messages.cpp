#include "common/Messages.h"

#include <array>

namespace pw::common {
namespace {

struct MessageRow {
  Msg id;
  std::string_view english;
  std::string_view russian;
};

// Rows in the order of the enum; the static_assert below and the check in MessageText keep
// the two in step.
constexpr std::array kMessages{
    MessageRow{Msg::FileNotFound, "File not found: ", "Файл не найден: "},
    MessageRow{Msg::ErrorReadingFile, "error reading file ", "ошибка чтения файла "},
    MessageRow{Msg::ErrorWritingFile, "error writing file ", "ошибка записи файла "},
    MessageRow{Msg::StoredBookDamaged, "the book file is damaged: ", "файл книги повреждён: "},
    MessageRow{Msg::StoredBookTooShort, "the book file is too short",
               "файл книги слишком короткий"},
    MessageRow{Msg::BadRegularExpression, "bad regular expression: ",
               "ошибка в регулярном выражении: "},
    MessageRow{Msg::RegularExpressionLimit, "regular expression is too costly for this text: ",
               "регулярное выражение слишком сложно для этого текста: "},
    MessageRow{Msg::UnknownCodePage, "unknown code page: ", "неизвестная кодовая страница: "},
};
static_assert(kMessages.size() == static_cast<size_t>(Msg::Count_),
              "every message needs its row");

}  // namespace

std::string_view MessageText(Msg id, Language language) {
  const auto index = static_cast<size_t>(id);
  if (index >= kMessages.size() || kMessages[index].id != id) return {};
  return language == Language::Russian ? kMessages[index].russian : kMessages[index].english;
}

std::string Messages::Text(Msg id, std::string_view detail) const {
  std::string text(MessageText(id, language_));
  text += detail;
  return text;
}

}  // namespace pw::common

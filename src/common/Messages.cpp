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
    MessageRow{Msg::CleanUpNothingSelected, "nothing selected - nothing cleaned",
               "ничего не выделено - нечего чистить"},
    MessageRow{Msg::CleanUpBadFragment, "cannot proceed with chosen fragment",
               "невозможно обработать выбранный фрагмент"},
    MessageRow{Msg::CleanUpBadSelection,
               " bad selection\nto select a single row: put cursor inside a cell;\nto select many "
               "rows: Ctrl+click inside the first row, then Shift+click inside the last row.",
               " неверное выделение\nчтобы выделить одну строку: поставьте курсор в ячейку;\nчтобы "
               "выделить несколько строк: Ctrl+щелчок в первой строке, затем Shift+щелчок в последней."},
    MessageRow{Msg::CleanUpBadClipboard, " bad clipboard data\nmake \"cut/copy row\" operation before",
               " в буфере нет строк\nсначала выполните \"вырезать/копировать строку\""},
    MessageRow{Msg::CleanUpBadRowSelection,
               " bad row selection\n- put the cursor into a row after (before) which you want to paste "
               "the clipboard data\n- repeat the \"paste row after (before)\" operation",
               " неверно выбрана строка\n- поставьте курсор в строку, после (перед) которой нужно "
               "вставить строки из буфера\n- повторите операцию \"вставить строку после (перед)\""},
    MessageRow{Msg::CleanUpFileNotFound, "file not found", "файл не найден"},
    MessageRow{Msg::CannotImportFile, "cannot import file", "невозможно импортировать файл"},
    MessageRow{Msg::EmptyFile, "Empty file: ", "Пустой файл: "},
    MessageRow{Msg::NotSupportedFormat, "Not supported input file format: ",
               "Формат входного файла не поддерживается: "},
    MessageRow{Msg::CannotConvert, "cannot convert to Pagewright format",
               "невозможно преобразовать в формат Pagewright"},
    MessageRow{Msg::ErrorProcessingFile, "error processing file", "ошибка обработки файла"},
    MessageRow{Msg::SettingsUnreadable, "error reading Pagewright.ini file\nThe default settings will be used",
               "ошибка чтения файла Pagewright.ini\nБудут использованы настройки по умолчанию"},
    MessageRow{Msg::LastFileNotFound, "Last loaded file not found: ", "Последний загруженный файл не найден: "},
    MessageRow{Msg::CannotSaveFile, "Cannot save file: internal error of outer HTML reading",
               "Невозможно сохранить файл: внутренняя ошибка чтения HTML"},
    MessageRow{Msg::UnsavedChanges, "Current file was not saved\nDo you want to save the changes?",
               "Текущий файл не был сохранён\nСохранить изменения?"},
    MessageRow{Msg::UnsavedWarningDisabled, "\"file not saved\" warning was disabled",
               "предупреждение \"файл не сохранён\" отключено"},
    MessageRow{Msg::TargetNotAvailable, "this build cannot write books of the form ",
               "эта сборка не умеет записывать книги в формате "},
    MessageRow{Msg::OutputOverwritesInput, "the output would overwrite the input: ",
               "выходной файл совпадает с входным: "},
    MessageRow{Msg::UnsupportedImageFormat, "not supported image format: ",
               "формат изображения не поддерживается: "},
    MessageRow{Msg::Fb2OutputLocked, "File\n{}\nis open in some program\nClose the file and try again",
               "Файл\n{}\nоткрыт в какой-то программе\nЗакройте файл и попробуйте ещё раз"},
    MessageRow{Msg::Fb2UnformattedNotes,
               "Warning. The book containes notes but they are not formatted.\nTo format notes:\n"
               "- double-click on the first note;\n- Shift+click on the last note;\n- Format -> selected notes.\n"
               "Continue without the formatting?",
               "Внимание. В книге есть примечания, но они не оформлены.\nЧтобы оформить примечания:\n"
               "- дважды щёлкните по первому примечанию;\n- Shift+щелчок по последнему примечанию;\n"
               "- Формат -> выбранные примечания.\nПродолжить без оформления?"},
    MessageRow{Msg::Fb2BookSaved, "the book was saved as\n", "книга сохранена как\n"},
    MessageRow{Msg::HtmlCannotTransform, "cannot transform to Pagewright format",
               "преобразование в Pagewright формат невозможно"},
    MessageRow{Msg::HtmlKeepFormatFailed, "cannot transform to Pagewright format keeping original format",
               "преобразование в Pagewright формат с сохранением исходного форматирования невозможно"},
    MessageRow{Msg::HtmlTryReformatting, "Do you want to try the complete re-formatting?",
               "Попробовать полное переформатирование?"},
    MessageRow{Msg::Fb2DescriptionNotFound, "Fiction Book description not found",
               "описание книги FictionBook не найдено"},
    MessageRow{Msg::Fb2ImportSkipped, "parts of the FB2 file could not be read as they are: ",
               "часть файла FB2 не удалось прочитать как есть: "},
    MessageRow{Msg::Fb2GenreLeftOut, "genre left out, it is not an FB2 genre code: ",
               "жанр пропущен, такого кода жанра в FB2 нет: "},
    MessageRow{Msg::NoTextSelected, "Error. No text selected in the main Pagewright window",
               "Ошибка. В главном окне Pagewright не выделен текст"},
    MessageRow{Msg::NoteNoBookmarks, "Error: no bookmarks inside selection",
               "Ошибка: внутри выделения нет закладок"},
    MessageRow{Msg::NoteBadSelection,
               "Error: bad selection.\nTo format notes:\n- double-click on the first note;\n"
               "- Shift+click on the last note;\n- Format -> mark note block.",
               "Ошибка: неверное выделение.\nЧтобы оформить примечания:\n- дважды щёлкните по "
               "первому примечанию;\n- Shift+щелчок по последнему примечанию;\n- Формат -> блок "
               "примечаний."},
    MessageRow{Msg::NoteBlockNotSelected,
               "Error: the note block is not selected.\nA note block can be selected in two ways.\n"
               "1. Double-click on the first note.\n2. Element Browser -> note block -> find -> "
               "double-click on the block name.",
               "Ошибка: блок примечаний не выделен.\nБлок примечаний можно выделить двумя способами.\n"
               "1. Дважды щёлкните по первому примечанию.\n2. Обзор элементов -> блок примечаний -> "
               "найти -> дважды щёлкните по имени блока."},
    MessageRow{Msg::NoNoteBlocks, "no note blocks - nothing to remove",
               "блоков примечаний нет - удалять нечего"},
    MessageRow{Msg::OnlyWholeElementsMove,
               "Only the complete Pagewright elements\nselected by the double click can be moved",
               "Перемещать можно только целые элементы Pagewright,\nвыделенные двойным щелчком"},
    MessageRow{Msg::SectionTreeCheck, "section tree check: ", "проверка дерева секций: "},
    MessageRow{Msg::SectionTreeOk, "it seems OK", "похоже, всё в порядке"},
    MessageRow{Msg::SectionTreeFailed, "Error. Section tree check failed.", "Ошибка. Проверка дерева секций не прошла."},
    MessageRow{Msg::SectionsInserted, "{} sections have been inserted into the book.",
               "{} секций вставлено в книгу."},
    MessageRow{Msg::EmptyBookNothingToRead, "Empty book: nothing to read", "Пустая книга: читать нечего"},
    MessageRow{Msg::ToolMissing, "cannot convert: the program this format needs is not installed: ",
               "невозможно преобразовать: не установлена программа, нужная для этого формата: "},
    MessageRow{Msg::AuthorTitleBadSelection,
               "author title: select the book author and the book title (two lines, or one line "
               "\"Author. Title\")",
               "автор и название: выделите автора и название книги (две строки или одну строку "
               "\"Автор. Название\")"},
    MessageRow{Msg::NoFollowingParagraph, "no paragraph follows this one directly - nothing to join",
               "сразу за этим абзацем нет абзаца - соединять нечего"},
    MessageRow{Msg::PalmCannotUnpack, "cannot unpack Palm-file", "невозможно распаковать Palm-файл"},
    MessageRow{Msg::PalmProtected,
               "cannot unpack Palm-file: the book is protected by DRM (its text is encrypted), only books "
               "without protection can be read: ",
               "невозможно распаковать Palm-файл: книга защищена DRM (её текст зашифрован), читаются только "
               "книги без защиты: "},
    MessageRow{Msg::OfficeSuiteMissing, "Operation failed. Check your LibreOffice installation.",
               "Операция невозможна. Проверьте, инсталлирован ли LibreOffice."},
    MessageRow{Msg::RbCannotConvert, "cannot convert rb-file to Pagewright format",
               "невозможно преобразовать rb-файл в Pagewright формат"},
    MessageRow{Msg::LitCannotConvert, "cannot convert lit-file to html-file", "невозможно преобразовать lit-файл в html-файл"},
    MessageRow{Msg::LitProtected, "the lit book is protected by DRM (its text is encrypted) and cannot be opened: ",
               "lit-книга защищена DRM (её текст зашифрован) и не может быть открыта: "},
    MessageRow{Msg::ArchiveCannotOpen, "Cannot open ", "Невозможно открыть "},
    MessageRow{Msg::ArchiveNotRar, "{} is not RAR archive", "{} не является RAR-архивом"},
    MessageRow{Msg::ArchiveHeaderBroken, "{}: archive header broken", "{}: заголовок архива повреждён"},
    MessageRow{Msg::ArchiveFileHeaderBroken, "File header broken", "Заголовок файла повреждён"},
    MessageRow{Msg::ArchiveUnknownFormat, "Unknown archive format", "Неизвестный формат архива"},
    MessageRow{Msg::ArchiveFileCreateError, "File create error", "Ошибка создания файла"},
    MessageRow{Msg::ArchiveReadError, "Read error", "Ошибка чтения"},
    MessageRow{Msg::ArchiveCrcError, "CRC error", "Ошибка CRC"},
    MessageRow{Msg::ArchiveNotEnoughMemory, "Not enough memory", "Недостаточно памяти"},
    MessageRow{Msg::ArchiveSeveralBooks, "the archive holds several books, choose one of them:",
               "в архиве несколько книг, выберите одну из них:"},
    MessageRow{Msg::ArchiveNoSuchMember, "the archive holds no file named ", "в архиве нет файла с именем "},
    MessageRow{Msg::ArchiveMemberOutside, "archive member refused, its path leads out of the folder: ",
               "файл архива отклонён, его путь ведёт за пределы папки: "},
    MessageRow{Msg::ArchiveMemberAbsolute, "archive member refused, its path is absolute: ",
               "файл архива отклонён, его путь абсолютный: "},
    MessageRow{Msg::ArchiveMemberLink, "archive member refused, it is a link or a device: ",
               "файл архива отклонён, это ссылка или устройство: "},
    MessageRow{Msg::ArchiveMemberTooLarge, "archive member refused, it unpacks beyond the size bound: ",
               "файл архива отклонён, при распаковке он превышает допустимый размер: "},
    MessageRow{Msg::ArchiveTooManyMembers, "archive refused, it holds more than {} members",
               "архив отклонён, в нём больше {} файлов"},
    MessageRow{Msg::ArchiveListCut,
               "only the first {} files of the archive are listed: reaching the others would unpack it past the size bound",
               "показаны только первые {} файлов архива: чтобы добраться до остальных, его пришлось бы распаковать сверх допустимого размера"},
    MessageRow{Msg::InputIsFolder, "{} is a folder, not a book file", "{} - это папка, а не файл книги"},
    MessageRow{Msg::InputNotRegularFile, "{} is not a regular file", "{} - не обычный файл"},
    MessageRow{Msg::InputPermissionDenied, "{} cannot be read: permission denied", "{} не читается: нет прав доступа"},
    MessageRow{Msg::BookTooLarge, "the book would grow past the size limit of {} MB; nothing was changed",
               "книга превысила бы предельный размер {} МБ; ничего не изменено"},
    MessageRow{Msg::Fb2EntitiesTooLarge,
               "the entities the FB2 file declares would make the book larger than {} MB; the file is refused",
               "сущности, объявленные в файле FB2, сделали бы книгу больше {} МБ; файл не принят"},
    MessageRow{Msg::RuleTooSlow,
               "clean-up stopped at rule row {}: it takes too long on this text; the book is unchanged",
               "чистка остановлена на правиле в строке {}: на этом тексте оно работает слишком долго; книга не изменена"},
    MessageRow{Msg::RuleResultTooLarge,
               "clean-up stopped at rule row {}: it makes the text larger than the size limit; the book is unchanged",
               "чистка остановлена на правиле в строке {}: оно делает текст больше допустимого размера; книга не изменена"},
    MessageRow{Msg::PicturesUnsupported, "{} pictures in an unsupported format", "рисунков в неподдерживаемом формате: {}"},
    MessageRow{Msg::PicturesNotFound, "{} picture files not found", "файлов рисунков не найдено: {}"},
    MessageRow{Msg::PictureOutsideBook, "picture left out, it is not a picture file inside the book's folder: ",
               "рисунок пропущен, это не файл рисунка в папке книги: "},
    MessageRow{Msg::PicturesOutsideBook, "{} pictures left out, they are not picture files inside the book's folder",
               "рисунков пропущено, так как это не файлы рисунков в папке книги: {}"},
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
  // A row may say where its detail goes ("{}"); otherwise the detail follows the text.
  const std::string_view row = MessageText(id, language_);
  const size_t place = row.find("{}");
  std::string text;
  if (place == std::string_view::npos) {
    text.assign(row);
    text += detail;
  } else {
    text.assign(row.substr(0, place));
    text += detail;
    text += row.substr(place + 2);
  }
  return text;
}

}  // namespace pw::common

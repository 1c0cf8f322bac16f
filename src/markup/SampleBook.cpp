#include "markup/SampleBook.h"

#include "markup/BookMarkup.h"

namespace pw::markup {

std::string MakeSampleChapter(int chapter, const common::ElementColours& colours) {
  const std::string n = std::to_string(chapter);
  std::string out;
  out += kPageBreak;
  out += MakeTitle("Глава " + n + ". The <B>Road</B> &lt;north&gt;", colours.title);
  out += kCrLf;
  out += MakeEpigraph(MakeParagraph("Всё течёт, всё меняется."),
                      MakeTextAuthor("Гераклит", colours.textAuthor), colours.epigraph);
  out += kCrLf;
  out += MakeParagraph("The morning of chapter " + n +
                       " came grey and cold over the hills; the travellers rose before the sun, "
                       "packed their things and set out along the old road.");
  out += kCrLf;
  out += MakeParagraph("- Далеко ли до города? - спросил он, глядя на дорогу.");
  out += kCrLf;
  out += MakeParagraph("- Ещё два дня пути, - ответила она.<A href=#note" + n + ">[" + n + "]</A>");
  out += kCrLf;
  out += MakeSubtitle("* * *", colours.subtitle);
  out += kCrLf;
  out += MakeVerse(MakeParagraph("Мороз и солнце; день чудесный!") + std::string(kCrLf) +
                       MakeParagraph("Ещё ты дремлешь, друг прелестный"),
                   MakeTextAuthor("А. Пушкин", colours.textAuthor), colours.verse);
  out += kCrLf;
  out += MakeCite(MakeParagraph("A quoted letter, read aloud by the fire."), {}, colours.cite);
  out += kCrLf;
  out += kEmptyLine;
  out += kCrLf;
  out += MakeParagraph("Line one<BR id=KeepBr>line two, kept apart.");
  out += kCrLf;
  return out;
}

std::string MakeSampleBook(int chapters, const common::Settings& settings) {
  const common::ElementColours& colours = settings.elementColours;
  std::string out = MakeBodyTag(BodyStyleFromSettings(settings), true, false, false);
  out += kCrLf;
  out += MakeBookAuthor("Иван Петров", colours.bookAuthor);
  out += kCrLf;
  out += MakeBookTitle("Дорога на север", colours.bookTitle);
  out += kCrLf;
  out += MakeAnnotation(MakeParagraph("A sample book that uses every element of the format."),
                        {}, colours.annotation);
  out += kCrLf;
  out += kContentsPlace;
  out += kCrLf;
  std::string notes;
  for (int i = 1; i <= chapters; ++i) {
    out += MakeSampleChapter(i, colours);
    const std::string n = std::to_string(i);
    notes += MakeParagraph("<A name=note" + n + "></A>" + n + " The city lies beyond the river.");
  }
  out += MakeNoteBlock(notes, colours.noteBlock);
  out += kCrLf;
  out += kLastParagraph;
  out += kCrLf;
  out += kBookEnd;
  return out;
}

}  // namespace pw::markup

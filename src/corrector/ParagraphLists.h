// The lists of suspect paragraphs a user looks through when repairing an imported book, beside
// the bad sentence ends: short paragraphs, empty paragraphs and paragraphs that begin with a
// lower-case letter (most often the second half of a sentence cut in two). Each entry carries
// the paragraph's index, so that the page can select it, and a shortened text.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "corrector/ParagraphEnds.h"

namespace pw::corrector {

// A paragraph with fewer characters than this (and at least one) is "short".
inline constexpr size_t kShortParagraphLimit = 25;

enum class ParagraphCheck { BadEnds, Short, Empty, LowerCaseStart };

// Names of the checks as the page asks for them: "badends", "short", "empty", "lowercase".
bool ParseParagraphCheck(std::string_view name, ParagraphCheck& check);

// The paragraphs ("<DIV align=justify>" elements, indexed in document order from 0) that the
// check lists:
//  - BadEnds: the text does not end in one of `decodedEnds` (FindBadSentenceEnds);
//  - Short: the text has 1 to kShortParagraphLimit - 1 characters;
//  - Empty: nothing but blanks, no-break spaces and tags (pictures count as content);
//  - LowerCaseStart: the first letter, after blanks, dashes, quotes and other punctuation, is
//    a lower-case letter.
std::vector<SuspectParagraph> ListParagraphs(std::string_view book, ParagraphCheck check,
                                             std::string_view decodedEnds,
                                             std::string_view indentMarker = "&nbsp;");

// Joins paragraph `index` with the paragraph that follows it directly (only blanks and empty
// paragraphs between them, which go too): the text of the next one goes to the end of this one
// after a blank, and the next paragraph goes away. False, and the book unchanged, when there is no such pair.
bool JoinWithNext(std::string& book, size_t index);

// Moves words from the start of the paragraph after paragraph `index` to its end: every word
// up to and including the first that ends in one of `decodedEnds` (the rest of the broken
// sentence); when no word of the next paragraph ends a sentence, the whole paragraph joins.
// False, and the book unchanged, when there is no directly following paragraph.
bool LeftWordsShift(std::string& book, size_t index, std::string_view decodedEnds);

}  // namespace pw::corrector

// Books in the containers the program unpacks itself: Rocket eBook (.rb) and lit. Each reader
// takes the container apart in memory; the pages then go through the text or HTML converter,
// and the container's author and title head the book.
#pragma once

#include <string>

#include "shell/Converters.h"

namespace pw::shell {

// rb: the pages joined in order; a book with pictures goes through the HTML converter so that
// they stay in place, any other through the text converter.
bool ConvertRbBook(ConvertJob& job);

// lit: the text components combined in manifest order through the HTML converter, with the
// pictures, the style sheets (under the reader's own names, "LitStyle1.css", ...) and the cover
// ("CoverPicture." + a picture's extension) in the book folder. A book that would grow past
// its size bound gets the "book too large" message.
bool ConvertLitBook(ConvertJob& job);

// Puts the book author and title lines (plain text, escaped here) at the head of an html0
// document that has none; every container reader names its book this way.
void PlaceBookHeader(std::string& document, const std::string& author, const std::string& title,
                     const common::Session& session);

}  // namespace pw::shell

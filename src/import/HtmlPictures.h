// The picture files an HTML page names: the sources of its pictures and the cover page a
// "<link rel=coverpage>" of its head points to. The session copies those that lie beside the
// page along with it, so that a page opened from anywhere keeps its pictures.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pw::import {

// The references of the page's pictures ("images/x.jpg", "../img/a%20b.png"), each once, in
// the order they first appear, the cover page first; references that name a place on the web,
// data or an absolute path are left out (they are never files beside the page).
std::vector<std::string> LocalPictureReferences(std::string_view html);

// The "href" of the first "<link rel=coverpage>" (also "rel=cover"), decoded; empty without one.
std::string CoverPageReference(std::string_view html);

// True when one of the page's "<img>" elements shows `reference`.
bool ShowsPicture(std::string_view html, std::string_view reference);


}  // namespace pw::import

// The FB2 description as the workshop page holds it: one JSON object whose keys are the
// description form's field ids ("b_title", "d_id", ...), with the repeated groups (book
// authors, translators, document authors) as arrays of objects keyed the same way.
#pragma once

#include <nlohmann/json.hpp>

#include "fb2/Description.h"

namespace pw::app {

// The description as the form shows it: the genres joined with ", ", every field present.
nlohmann::json DescriptionToJson(const fb2::Fb2Description& description);

// The description the form sent. Keys that are missing leave their field empty; false (and
// nothing changed) when `in` is not an object or a field has a value that is not text.
bool DescriptionFromJson(const nlohmann::json& in, fb2::Fb2Description& description);

}  // namespace pw::app

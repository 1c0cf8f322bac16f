// Character references of imported HTML and text.
#pragma once

#include <string>
#include <string_view>

#include "common/CodePage.h"
#include "common/Progress.h"

namespace pw::import {

// The replacement chain of the HTML import, group by group with its status text. `codePage`
// is the book's script family; it decides which groups run (see Entities.cpp).
std::string ReplaceHtmlEntities(std::string_view text, common::CodePage codePage,
                                common::Progress* progress = nullptr);

// Replaces every named reference of the HTML 4.01 entity set and every valid numeric
// reference by its character; anything else stays as it is.
std::string ReplaceHtmlEntitiesUtf8(std::string_view text, common::Progress* progress = nullptr);

}  // namespace pw::import

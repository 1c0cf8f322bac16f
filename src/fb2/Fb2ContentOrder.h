// The order and number of child elements each FB2 element may hold, checked child by child.
// A schema validator stops at the first misplaced child of an element; this check names every
// one, so that a book can be mended in one go.
#pragma once

#include <libxml/tree.h>

#include <vector>

#include "fb2/Fb2Checks.h"

namespace pw::fb2 {

// Adds a finding for each child of `element` that stands where the format does not allow it,
// and for each required child that is missing. Elements the check has no rule for pass.
void CheckContentOrder(const xmlNode* element, std::vector<Fb2Finding>& findings);

}  // namespace pw::fb2

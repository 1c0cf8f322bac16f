// The files of the workshop page, built into the program from web/.
#pragma once

#include <string_view>
#include <vector>

namespace pw::app {

struct WebFile {
  std::string_view name;
  std::string_view text;
};

const std::vector<WebFile>& WebFiles();

}  // namespace pw::app

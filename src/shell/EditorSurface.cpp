#include "shell/EditorSurface.h"

#include "common/Files.h"

namespace pw::shell {

bool HeadlessEditor::Load(const std::filesystem::path& file) {
  std::string text;
  if (!common::ReadWholeFile(file, text)) return false;
  document_ = std::move(text);
  loaded_.push_back(file);
  return true;
}

bool HeadlessEditor::Document(std::string& html) {
  if (loaded_.empty()) return false;
  html = document_;
  return true;
}

}  // namespace pw::shell

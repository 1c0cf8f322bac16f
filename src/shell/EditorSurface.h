// The editing surface as the shell sees it: a place that loads the working document, hands
// back the document it holds, and shows or hides itself while a chain runs. The workshop page
// implements it; HeadlessEditor serves the command line and the tests.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "common/Settings.h"

namespace pw::shell {

class EditorSurface {
 public:
  virtual ~EditorSurface() = default;
  // Shows `file` as the current document. False when it cannot be loaded; the surface then
  // keeps what it showed before.
  virtual bool Load(const std::filesystem::path& file) = 0;
  // The whole document the surface holds, as HTML. False when it cannot be read.
  virtual bool Document(std::string& html) = 0;
  // Hidden while a chain rewrites the book, shown again at its end.
  virtual void SetVisible(bool visible) = 0;
  virtual void SetCaption(std::string_view caption) = 0;
  virtual void ShowToolbar(bool show) = 0;
  // Takes the fonts and colours of the settings for what it shows next.
  virtual void ApplySettings(const common::Settings& settings) = 0;
  // The display zoom factor, measured on the probe document (1 when nothing scales).
  virtual double MeasureZoom(const std::filesystem::path& probe) = 0;
};

// A surface without a window: it holds the text of the file it loaded last.
class HeadlessEditor final : public EditorSurface {
 public:
  bool Load(const std::filesystem::path& file) override;
  bool Document(std::string& html) override;
  void SetVisible(bool visible) override { visible_ = visible; }
  void SetCaption(std::string_view caption) override { caption_ = caption; }
  void ShowToolbar(bool show) override { toolbar_ = show; }
  void ApplySettings(const common::Settings&) override {}
  double MeasureZoom(const std::filesystem::path&) override { return 1.0; }

  // Replaces the held document, as an edit in a window would.
  void Edit(std::string html) { document_ = std::move(html); }

  const std::vector<std::filesystem::path>& loaded() const { return loaded_; }
  const std::string& caption() const { return caption_; }
  bool visible() const { return visible_; }
  bool toolbar() const { return toolbar_; }
  bool holdsDocument() const { return !loaded_.empty(); }

 private:
  std::vector<std::filesystem::path> loaded_;
  std::string document_;
  std::string caption_;
  bool visible_ = true;
  bool toolbar_ = true;
};

}  // namespace pw::shell

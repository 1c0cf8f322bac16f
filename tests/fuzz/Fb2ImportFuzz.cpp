// FB2 import, and the FB2 written again from what was imported. Oracle: every FB2 written is
// well-formed XML in the encoding it declares.
#include <cstdint>

#include "FuzzSupport.h"
#include "fb2/Fb2Export.h"
#include "fb2/Fb2Import.h"

using namespace pw;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::QuietJob job;  // no work folder: the pictures are not written anywhere
  const auto imported = fb2::ConvertFb2ToHtml0(fuzz::AsText(data, size), job.session);
  if (!imported.ok) return 0;
  static constexpr const char* kEncodings[] = {"utf-8", "windows-1251", "windows-1252"};
  fb2::Fb2ExportOptions options;
  options.encoding = kEncodings[size % 3];
  const auto written = fb2::ConvertHtml0ToFb2(imported.html0, imported.description.value_or(fb2::Fb2Description{}), options,
                                              fuzz::EmptyFolder(), job.session);
  if (written.ok) fuzz::CheckWellFormedFb2(written.bytes, options.encoding);
  return 0;
}

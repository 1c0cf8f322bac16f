// The html0 reader of the FB2 export: any document as the working book. Oracle: the FB2 written
// is well-formed XML in the encoding it declares.
#include <cstdint>

#include "FuzzSupport.h"
#include "fb2/Fb2Export.h"

using namespace pw;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::QuietJob job;
  static constexpr const char* kEncodings[] = {"utf-8", "windows-1251", "windows-1252"};
  fb2::Fb2ExportOptions options;
  options.encoding = kEncodings[size % 3];
  options.bookForLibrary = size % 2 == 0;
  const auto written = fb2::ConvertHtml0ToFb2(fuzz::AsText(data, size), fb2::Fb2Description{}, options, fuzz::EmptyFolder(),
                                              job.session);
  if (written.ok) fuzz::CheckWellFormedFb2(written.bytes, options.encoding);
  return 0;
}

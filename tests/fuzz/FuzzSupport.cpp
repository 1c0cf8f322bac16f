#include "FuzzSupport.h"

#include <libxml/parser.h>
#include <libxml/xmlerror.h>
#include <unistd.h>

namespace pw::fuzz {

namespace {

struct OwnFolder {
  std::filesystem::path path;
  OwnFolder() {
    path = std::filesystem::temp_directory_path() / ("pw-fuzz-" + std::to_string(::getpid()));
    std::error_code error;
    std::filesystem::create_directories(path, error);
  }
  ~OwnFolder() {
    std::error_code error;
    std::filesystem::remove_all(path, error);
  }
};

void IgnoreError(void*, const char*, ...) {}

}  // namespace

const std::filesystem::path& EmptyFolder() {
  static const OwnFolder folder;
  return folder.path;
}

bool IsWellFormedXml(std::string_view bytes, std::string* error) {
  static const bool quiet = [] {
    xmlSetGenericErrorFunc(nullptr, IgnoreError);
    return true;
  }();
  (void)quiet;
  xmlParserCtxtPtr context = xmlNewParserCtxt();
  if (!context) return false;
  xmlDocPtr document = xmlCtxtReadMemory(context, bytes.data(), static_cast<int>(bytes.size()), "fuzz.xml", nullptr,
                                         XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_HUGE);
  const bool ok = document != nullptr && context->wellFormed;
  if (!ok && error) {
    const xmlError* last = xmlCtxtGetLastError(context);
    *error = last && last->message ? last->message : "not well-formed";
  }
  if (document) xmlFreeDoc(document);
  xmlFreeParserCtxt(context);
  return ok;
}

void CheckWellFormedFb2(const std::string& bytes, const std::string& encoding) {
  std::string error;
  if (IsWellFormedXml(bytes, &error)) return;
  const char* folder = std::getenv("PW_FUZZ_ARTIFACTS");
  const std::filesystem::path kept = std::filesystem::path(folder && *folder ? folder : ".") / "failed-output.xml";
  if (std::FILE* file = std::fopen(kept.c_str(), "wb")) {
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fclose(file);
  }
  PW_FUZZ_CHECK(false, "the FB2 written in " + encoding + " is well-formed: " + error + " (kept as " + kept.string() + ")");
}

}  // namespace pw::fuzz

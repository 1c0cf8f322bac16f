#include "fb2/Fb2Schema.h"

#include <libxml/parser.h>
#include <libxml/xmlschemas.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace pw::fb2 {
namespace {

struct SchemaDeleter {
  void operator()(xmlSchema* schema) const { xmlSchemaFree(schema); }
};
struct ValidDeleter {
  void operator()(xmlSchemaValidCtxt* ctxt) const { xmlSchemaFreeValidCtxt(ctxt); }
};
struct DocDeleter {
  void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};

void Collect(void* context, xmlError* error) {
  auto* findings = static_cast<std::vector<Fb2Finding>*>(context);
  std::string message = error->message ? error->message : "schema error";
  while (!message.empty() && (message.back() == '\n' || message.back() == ' ')) message.pop_back();
  findings->push_back({error->line, message});
}

// The parsed schema for `path`, parsed once; a parsed schema is read-only and may be shared
// by validation contexts of several threads.
xmlSchema* LoadSchema(const std::filesystem::path& path, std::vector<Fb2Finding>& findings) {
  static std::mutex mutex;
  static std::map<std::string, std::unique_ptr<xmlSchema, SchemaDeleter>> schemas;
  std::lock_guard lock(mutex);
  auto& slot = schemas[path.string()];
  if (!slot) {
    xmlSchemaParserCtxt* parser = xmlSchemaNewParserCtxt(path.string().c_str());
    if (!parser) return nullptr;
    std::vector<Fb2Finding> problems;
    xmlSchemaSetParserStructuredErrors(parser, Collect, &problems);
    slot.reset(xmlSchemaParse(parser));
    xmlSchemaFreeParserCtxt(parser);
    if (!slot) {
      findings.push_back({0, "cannot load the schema " + path.string()});
      findings.insert(findings.end(), problems.begin(), problems.end());
    }
  }
  return slot.get();
}

}  // namespace

std::vector<Fb2Finding> ValidateFb2Schema(std::string_view xml, const std::filesystem::path& schemaPath) {
  std::vector<Fb2Finding> findings;
  xmlSchema* schema = LoadSchema(schemaPath, findings);
  if (!schema) {
    if (findings.empty()) findings.push_back({0, "cannot load the schema " + schemaPath.string()});
    return findings;
  }
  xmlSetStructuredErrorFunc(&findings, Collect);
  std::unique_ptr<xmlDoc, DocDeleter> doc(
      xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "book.fb2", nullptr, XML_PARSE_NONET | XML_PARSE_HUGE));
  xmlSetStructuredErrorFunc(nullptr, nullptr);
  if (!doc) {
    if (findings.empty()) findings.push_back({0, "the file is not well-formed XML"});
    return findings;
  }
  std::unique_ptr<xmlSchemaValidCtxt, ValidDeleter> validator(xmlSchemaNewValidCtxt(schema));
  xmlSchemaSetValidStructuredErrors(validator.get(), Collect, &findings);
  xmlSchemaValidateDoc(validator.get(), doc.get());
  return findings;
}

}  // namespace pw::fb2

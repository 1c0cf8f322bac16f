#include "fb2/Fb2Schema.h"

#include <libxml/parser.h>
#include <libxml/xmlschemas.h>

#include <algorithm>
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

constexpr std::string_view kFb2Namespace = "{http://www.gribuser.ru/xml/fictionbook/2.0}";

// The element a schema message is about: "Element 'NAME': ..." (the book's own namespace
// already taken out of the message).
std::string MessageElement(std::string_view message) {
  constexpr std::string_view kLead = "Element '";
  if (message.substr(0, kLead.size()) != kLead) return {};
  const size_t end = message.find('\'', kLead.size());
  return end == std::string_view::npos ? std::string() : std::string(message.substr(kLead.size(), end - kLead.size()));
}

void Collect(void* context, xmlError* error) {
  auto* findings = static_cast<std::vector<Fb2Finding>*>(context);
  std::string message = error->message ? error->message : "schema error";
  while (!message.empty() && (message.back() == '\n' || message.back() == ' ')) message.pop_back();
  // Element names are told without the book's namespace: every element of a book is in it.
  for (size_t at = message.find(kFb2Namespace); at != std::string::npos; at = message.find(kFb2Namespace, at))
    message.erase(at, kFb2Namespace.size());
  // A value outside a long list (the genre codes) is told without repeating the whole list.
  constexpr std::string_view kSet = " is not an element of the set {";
  if (const size_t set = message.find(kSet); set != std::string::npos && message.size() - set > 200)
    message.replace(set, std::string::npos, " is not one of the values the format allows.");
  findings->push_back({error->line, message, MessageElement(message)});
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

std::vector<Fb2Finding> ValidateFb2(std::string_view xml, const std::filesystem::path& schema) {
  std::vector<Fb2Finding> structure = CheckFb2Structure(xml);
  if (!structure.empty() && structure.front().message.rfind("XML: ", 0) == 0) return structure;
  std::vector<Fb2Finding> findings = ValidateFb2Schema(xml, schema);
  std::multimap<std::pair<long, std::string>, bool> told;
  for (const auto& f : findings)
    if (!f.element.empty()) told.emplace(std::pair(f.line, f.element), true);
  for (auto& f : structure) {
    if (!f.element.empty()) {
      const auto same = told.find(std::pair(f.line, f.element));
      if (same != told.end()) {
        told.erase(same);
        continue;
      }
    }
    findings.push_back(std::move(f));
  }
  std::stable_sort(findings.begin(), findings.end(),
                   [](const Fb2Finding& a, const Fb2Finding& b) { return a.line < b.line; });
  return findings;
}

}  // namespace pw::fb2

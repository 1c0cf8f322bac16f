#include "fb2/Fb2Checks.h"

#include "fb2/Fb2ContentOrder.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>

#include <map>
#include <memory>
#include <set>

namespace pw::fb2 {
namespace {

constexpr std::string_view kXLinkNamespace = "http://www.w3.org/1999/xlink";

struct DocDeleter {
  void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};

std::string_view Name(const xmlNode* node) { return reinterpret_cast<const char*>(node->name); }

std::string Attribute(const xmlNode* node, const char* name) {
  xmlChar* value = xmlGetProp(node, reinterpret_cast<const xmlChar*>(name));
  if (!value) return {};
  std::string out(reinterpret_cast<const char*>(value));
  xmlFree(value);
  return out;
}

// The value of the href attribute in the XLink namespace, whatever its prefix.
bool LinkTarget(const xmlNode* node, std::string& target) {
  for (const xmlAttr* attr = node->properties; attr; attr = attr->next) {
    if (std::string_view(reinterpret_cast<const char*>(attr->name)) != "href" || !attr->ns) continue;
    if (std::string_view(reinterpret_cast<const char*>(attr->ns->href)) != kXLinkNamespace) continue;
    xmlChar* value = xmlNodeListGetString(node->doc, attr->children, 1);
    target = value ? reinterpret_cast<const char*>(value) : "";
    xmlFree(value);
    return true;
  }
  return false;
}

bool IsElement(const xmlNode* node, std::string_view name) {
  return node && node->type == XML_ELEMENT_NODE && Name(node) == name;
}

bool IsIsoDate(std::string_view value) {
  if (value.size() != 10 || value[4] != '-' || value[7] != '-') return false;
  for (size_t i : {0, 1, 2, 3, 5, 6, 8, 9}) {
    if (value[i] < '0' || value[i] > '9') return false;
  }
  const int month = (value[5] - '0') * 10 + (value[6] - '0');
  const int day = (value[8] - '0') * 10 + (value[9] - '0');
  return month >= 1 && month <= 12 && day >= 1 && day <= 31;
}

bool IsNumber(std::string_view value) {
  if (value.empty()) return false;
  bool digits = false, dot = false;
  for (const char c : value) {
    if (c >= '0' && c <= '9') digits = true;
    else if (c == '.' && !dot) dot = true;
    else return false;
  }
  return digits;
}

class Checker {
 public:
  std::vector<Fb2Finding> findings;

  void Walk(const xmlNode* node) {
    for (; node; node = node->next) {
      if (node->type != XML_ELEMENT_NODE) continue;
      Visit(node);
      Walk(node->children);
    }
  }

  void Finish() {
    for (const auto& [target, line] : links_) {
      if (!ids_.count(target)) Add(line, "link to a missing id: #" + target);
    }
    for (const auto& [id, line] : binaries_) {
      if (!pictureTargets_.count(id)) Add(line, "binary " + id + " is not shown anywhere");
    }
    for (const auto& [target, line] : pictureLinks_) {
      if (!binaries_.count(target)) Add(line, "picture without its binary: #" + target);
    }
  }

 private:
  void Add(long line, std::string message, std::string element = {}) {
    findings.push_back({line, std::move(message), std::move(element)});
  }

  void Visit(const xmlNode* node) {
    const std::string_view name = Name(node);
    const long line = xmlGetLineNo(node);
    if (const std::string id = Attribute(node, "id"); !id.empty() || xmlHasProp(node, reinterpret_cast<const xmlChar*>("id"))) {
      if (xmlValidateNCName(reinterpret_cast<const xmlChar*>(id.c_str()), 0) != 0)
        Add(line, "id is not an XML name: \"" + id + "\"");
      if (!ids_.emplace(id, line).second) Add(line, "duplicate id: " + id);
      if (name == "binary") binaries_.emplace(id, line);
    }
    std::string target;
    if (LinkTarget(node, target) && !target.empty() && target[0] == '#') {
      const std::string id = target.substr(1);
      links_.emplace(id, line);
      if (name == "image") {
        pictureTargets_.insert(id);
        pictureLinks_.emplace(id, line);
      }
    }
    CheckContentOrder(node, findings);
    if (name == "date" && xmlHasProp(node, reinterpret_cast<const xmlChar*>("value"))) {
      const std::string value = Attribute(node, "value");
      if (!IsIsoDate(value)) Add(line, "date value is not an ISO date: " + value, "date");
    }
    if (name == "version" && IsElement(node->parent, "document-info")) {
      xmlChar* text = xmlNodeGetContent(node);
      std::string value = text ? reinterpret_cast<const char*>(text) : "";
      xmlFree(text);
      const size_t first = value.find_first_not_of(" \t\r\n");
      const size_t last = value.find_last_not_of(" \t\r\n");
      value = first == std::string::npos ? "" : value.substr(first, last - first + 1);
      if (!IsNumber(value)) Add(line, "version is not a number: " + value, "version");
    }
  }

  std::map<std::string, long> ids_;
  std::multimap<std::string, long> links_;
  std::map<std::string, long> binaries_;
  std::set<std::string> pictureTargets_;
  std::multimap<std::string, long> pictureLinks_;
};

void CollectError(void* context, xmlError* error) {
  auto* findings = static_cast<std::vector<Fb2Finding>*>(context);
  std::string message = error->message ? error->message : "XML error";
  while (!message.empty() && (message.back() == '\n' || message.back() == ' ')) message.pop_back();
  findings->push_back({error->line, "XML: " + message});
}

}  // namespace

std::vector<Fb2Finding> CheckFb2Structure(std::string_view xml) {
  std::vector<Fb2Finding> errors;
  xmlSetStructuredErrorFunc(&errors, CollectError);
  std::unique_ptr<xmlDoc, DocDeleter> doc(xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "book.fb2", nullptr,
                                                        XML_PARSE_NONET | XML_PARSE_HUGE));
  xmlSetStructuredErrorFunc(nullptr, nullptr);
  if (!doc) {
    if (errors.empty()) errors.push_back({0, "XML: the file cannot be parsed"});
    return errors;
  }
  Checker checker;
  checker.findings = std::move(errors);
  checker.Walk(xmlDocGetRootElement(doc.get()));
  checker.Finish();
  return checker.findings;
}

}  // namespace pw::fb2

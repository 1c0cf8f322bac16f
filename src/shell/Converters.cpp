#include "shell/Converters.h"

#include <algorithm>

#include "fb2/Fb2Import.h"
#include "import/HtmlToBook.h"
#include "shell/ArchiveInput.h"
#include "shell/CitationFile.h"
#include "shell/PalmInput.h"
#include "shell/ContainerInput.h"
#include "shell/StoredBookInput.h"
#include "shell/TextInput.h"
#include "shell/ToolInput.h"

namespace pw::shell {
namespace {

struct StatusRow {
  std::string_view extension;
  std::string_view status;
};

constexpr StatusRow kStatuses[] = {
    {"html0", "...loading Pagewright file..."},
    {"cit", "...loading citation file..."},
    {"pdf", "...converting pdf to html..."},
    {"tcr", "...converting tcr to html..."},
    {"pdb", "...converting Palm file to html..."},
    {"prc", "...converting Palm file to html..."},
    {"mobi", "...converting Palm file to html..."},
    {"azw", "...converting Palm file to html..."},
    {"kml", "...converting kml file to html..."},
    {"xml", "...converting xml to html..."},
    {"fb2", "...converting fb2 to html..."},
    {"rtf", "...converting rtf to html..."},
    {"rb", "...converting rb to html..."},
    {"lit", "...converting lit to html..."},
    {"htm", "...preparing html..."},
    {"html", "...preparing html..."},
    {"shtml", "...preparing html..."},
    {"txt", "...converting txt to html..."},
    {"doc", "...converting doc to html..."},
};

bool ConvertHtmlBook(ConvertJob& job) {
  return import::ConvertHtmlFileToHtml0(job.input, job.workingDocument, job.session);
}

bool ConvertFb2Book(ConvertJob& job) {
  return fb2::ConvertFb2FileToHtml0(job.input, job.workingDocument, job.session).has_value();
}

// The one place where formats are registered, in the order they are tried.
ConverterRegistry MakeBuiltInConverters() {
  ConverterRegistry registry;
  registry.Add({"stored book", {"html0"}, ConvertStoredBook});
  registry.Add({"citation file", {"cit"}, ConvertCitationFile});
  registry.Add({"text", {"txt"}, ConvertTextBook});
  registry.Add({"tcr book", {"tcr"}, ConvertTcrBook});
  registry.Add({"kml book", {"kml"}, ConvertKmlBook});
  registry.Add({"Palm book", {"prc", "pdb", "mobi", "azw"}, ConvertPalmBook});
  registry.Add({"Rocket eBook", {"rb"}, ConvertRbBook});
  registry.Add({"lit book", {"lit"}, ConvertLitBook});
  registry.Add({"HTML page", {"htm", "html", "shtml"}, ConvertHtmlBook});
  registry.Add({"PDF document", {"pdf"}, ConvertPdfBook});
  registry.Add({"office document", {"doc", "rtf"}, ConvertOfficeBook});
  registry.Add({"FictionBook", {"fb2"}, ConvertFb2Book});
  registry.Add({"FictionBook XML", {"xml"}, ConvertFb2Book});
  registry.SetArchiveUnpacker([](const fs::path& archive, const fs::path& folder, const std::string& entry,
                                 fs::path& bookFile, common::Session& session) {
    return UnpackArchive(archive, folder, entry, bookFile, session);
  });
  return registry;
}

}  // namespace

const std::string_view kOpenDialogFilter =
    "all (*.txt;*.htm;*.html;*.shtml;*.doc;*.rtf;*.pdf;*.lit;*.prc;*.mobi;*.azw;*.pdb;*.rb;*.kml;*.fb2;*.xml;"
    "*.tcr;*.html0;*.cit;*.zip;*.rar)|*.txt;*.htm;*.html;*.shtml;*.doc;*.rtf;*.pdf;*.lit;*.prc;*.mobi;*.azw;*.pdb;"
    "*.rb;*.kml;*.fb2;*.xml;*.tcr;*.html0;*.cit;*.zip;*.rar|txt files (*.txt)|*.txt|html files (*.htm;*.html;*.shtml)|"
    "*.htm;*.html;*.shtml|doc files (*.doc)|*.doc|rtf files (*.rtf)|*.rtf|pdf files (*.pdf)|*.pdf|"
    "lit files (*.lit)|*.lit|prc files (*.prc;*.mobi;*.azw)|*.prc;*.mobi;*.azw|pdb files (*.pdb)|*.pdb|"
    "rb files (*.rb)|*.rb|kml files (*.kml)|*.kml|FictionBook files (*.fb2)|*.fb2|"
    "xml files (*.xml)|*.xml|tcr files (*.tcr)|*.tcr|Pagewright files (*.html0;*.cit)|*.html0;*.cit|"
    "archive files (*.zip;*.rar)|*.zip;*.rar|";

std::string_view ConversionStatus(std::string_view extension) {
  for (const StatusRow& row : kStatuses) {
    if (row.extension == extension) return row.status;
  }
  return {};
}

bool BookConverter::Accepts(std::string_view extension) const {
  return std::find(extensions.begin(), extensions.end(), extension) != extensions.end();
}

const BookConverter* ConverterRegistry::Find(std::string_view extension) const {
  for (const BookConverter& converter : converters_) {
    if (converter.Accepts(extension)) return &converter;
  }
  return nullptr;
}

const ConverterRegistry& BuiltInConverters() {
  static const ConverterRegistry registry = MakeBuiltInConverters();
  return registry;
}

}  // namespace pw::shell

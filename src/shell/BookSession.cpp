#include "shell/BookSession.h"

#include <algorithm>
#include <span>
#include <system_error>

#include "common/Files.h"
#include "common/Text.h"
#include "markup/BookMarkup.h"
#include "markup/Normalise.h"

namespace pw::shell {
namespace {

constexpr uintmax_t kShortestBook = 10;

struct StatusRow {
  std::string_view extension;
  std::string_view status;
};

// What the status line says while each kind of source is converted.
constexpr StatusRow kStatuses[] = {
    {"html0", "...loading Pagewright file..."},   {"cit", "...loading citation file..."},
    {"pdf", "...converting pdf to html..."},        {"tcr", "...converting tcr to html..."},
    {"pdb", "...converting Palm file to html..."},  {"prc", "...converting Palm file to html..."},
    {"kml", "...converting hiebook file to html..."}, {"xml", "...converting xml to html..."},
    {"fb2", "...converting fb2 to html..."},        {"rtf", "...converting rtf to html..."},
    {"rb", "...converting rb to html..."},          {"lit", "...converting lit to html..."},
    {"htm", "...preparing html..."},                {"html", "...preparing html..."},
    {"shtml", "...preparing html..."},              {"txt", "...converting txt to html..."},
    {"doc", "...converting doc to html..."},
};

bool Contains(std::span<const std::string_view> list, std::string_view value) {
  return std::find(list.begin(), list.end(), value) != list.end();
}

}  // namespace

InputCheck CheckInputFile(const fs::path& path, common::Messages& messages, bool quiet) {
  const std::string name = path.string();
  if (common::StartsWith(name, "http") || common::StartsWith(name, "ftp")) return InputCheck::WebAddress;
  auto refuse = [&](common::Msg msg, InputCheck result) {
    if (!quiet) messages.Show(msg, name);
    return result;
  };
  std::error_code ec;
  if (!fs::is_regular_file(path, ec)) return refuse(common::Msg::FileNotFound, InputCheck::Missing);
  if (fs::file_size(path, ec) < kShortestBook || ec) return refuse(common::Msg::EmptyFile, InputCheck::Empty);
  const std::string extension = common::LowerExtension(path);
  if (Contains(kArchiveExtensions, extension)) return InputCheck::Archive;
  if (!Contains(kSupportedExtensions, extension))
    return refuse(common::Msg::NotSupportedFormat, InputCheck::Unsupported);
  return InputCheck::Ok;
}

const Converter* ConverterRegistry::Find(std::string_view extension) const {
  for (const Converter& converter : converters_) {
    if (std::find(converter.extensions.begin(), converter.extensions.end(), extension) != converter.extensions.end())
      return &converter;
  }
  return nullptr;
}

std::string_view ConversionStatus(std::string_view extension) {
  for (const StatusRow& row : kStatuses) {
    if (row.extension == extension) return row.status;
  }
  return {};
}

BookSession::BookSession(WorkshopFolder workshop, int serial, common::Session& session)
    : workshop_(std::move(workshop)), serial_(serial), session_(session) {}

fs::path BookSession::NewBookFolder() {
  // A fresh folder per book, so a reopened book never meets the files of the previous one.
  // Creating the folder is the test, so two jobs of one instance never get the same one.
  const fs::path instance = workshop_.instanceFolder(serial_);
  if (!common::MakeFolderIfMissing(instance)) return {};
  for (int attempt = 0; attempt < 100000; ++attempt) {
    fs::path folder = instance / ("book" + std::to_string(++bookCounter_));
    std::error_code ec;
    if (fs::create_directory(folder, ec)) return folder;
    if (ec) return {};
  }
  return {};
}

bool BookSession::PrepareBook(const fs::path& path) {
  common::Progress& progress = session_.progress;
  progress.Status("...preparing book...");
  progress.Percent(0);
  const auto fail = [&](common::Msg msg, const std::string& name) {
    session_.messages.Show(msg, ": " + name);
    progress.Status("");
    return false;
  };
  try {
    const std::string extension = common::LowerExtension(path);
    const std::string fileName = path.filename().string();
    const fs::path bookFolder = NewBookFolder();
    if (bookFolder.empty() || !common::MakeFolderIfMissing(workshop_.inputCopy()))
      return fail(common::Msg::ErrorProcessingFile, fileName);
    // The copy carries its book folder's name in front, so that conversions running side by
    // side never share a copy even when their sources have the same name.
    const fs::path inputCopy = workshop_.inputCopy() /
                               ("tmp" + std::to_string(serial_) + "_" + bookFolder.filename().string() + "_" + fileName);
    std::string bytes;
    if (!common::ReadWholeFile(path, bytes) || !common::WriteFileAtomic(inputCopy, bytes))
      return fail(common::Msg::ErrorProcessingFile, fileName);
    const fs::path workingDocument = bookFolder / (path.stem().string() + ".html0");

    const Converter* converter = Converters().Find(extension);
    if (!converter) return fail(common::Msg::CannotConvert, fileName);
    progress.Status(converter->status);
    const bool converted = converter->convert(inputCopy, workingDocument, bookFolder, session_);
    std::error_code ignored;
    fs::remove(inputCopy, ignored);
    if (!converted || !common::FileExists(workingDocument)) return fail(common::Msg::CannotConvert, fileName);

    std::string document;
    if (!common::ReadWholeFile(workingDocument, document)) return fail(common::Msg::ErrorProcessingFile, fileName);
    markup::NormaliseBookHeader(document, session_.settings.sectionMode);
    if (!common::WriteFileAtomic(workingDocument, document)) return fail(common::Msg::ErrorProcessingFile, fileName);

    workingDocument_ = workingDocument;
    bookFolder_ = bookFolder;
    AddRecentFile(session_.settings.recentFiles, fs::absolute(path).string());
    progress.Percent(100);
    return true;
  } catch (const std::exception&) {
    return fail(common::Msg::ErrorProcessingFile, path.filename().string());
  }
}

bool BookSession::MakeEmptyBook() {
  const fs::path bookFolder = NewBookFolder();
  if (bookFolder.empty()) return false;
  const fs::path workingDocument = bookFolder / "NewBook.html0";
  if (!common::WriteFileAtomic(workingDocument, markup::MakeBlankBook())) return false;
  workingDocument_ = workingDocument;
  bookFolder_ = bookFolder;
  return true;
}

void AddRecentFile(std::vector<std::string>& recent, const std::string& path) {
  const size_t length = recent.empty() ? common::kRecentFilesCount : recent.size();
  std::erase(recent, path);
  recent.insert(recent.begin(), path);
  recent.resize(length, common::kRecentFilesPlaceholder);
}

}  // namespace pw::shell

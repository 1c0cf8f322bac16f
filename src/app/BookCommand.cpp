// `pagewright book pack|unpack|info`: the stored-book container from the command line.
#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>

#include "app/Commands.h"
#include "common/Files.h"
#include "markup/StoredBook.h"

namespace pw::app {
namespace {

namespace fs = std::filesystem;

struct BookOptions {
  std::string input;
  std::string output;
  bool compress = false;
  std::string title;
  std::string author;
  std::string genre;
  std::string language;
  std::vector<std::string> pictures;
  std::string picturesDir;
};

int Fail(const std::string& message) {
  std::cerr << "pagewright: " << message << "\n";
  return 1;
}

bool SameFile(const fs::path& a, const fs::path& b) {
  std::error_code ec;
  return fs::exists(b, ec) && fs::equivalent(a, b, ec);
}

int Pack(const BookOptions& options) {
  if (SameFile(options.input, options.output)) return Fail("the output would overwrite the input");
  markup::StoredBook book;
  if (!common::ReadWholeFile(options.input, book.document)) return Fail("cannot read " + options.input);
  book.compressed = options.compress;
  book.header[markup::HeaderField::Title] = options.title;
  book.header[markup::HeaderField::Author] = options.author;
  book.header[markup::HeaderField::Genre] = options.genre;
  book.header[markup::HeaderField::Language] = options.language;
  for (const std::string& path : options.pictures) {
    markup::StoredPicture picture;
    picture.name = fs::path(path).filename().string();
    if (!common::ReadWholeFile(path, picture.data)) return Fail("cannot read picture " + path);
    book.pictures.push_back(std::move(picture));
  }
  std::string error;
  if (!markup::SaveStoredBookFile(options.output, book, error)) return Fail(error);
  return 0;
}

int Unpack(const BookOptions& options) {
  if (SameFile(options.input, options.output)) return Fail("the output would overwrite the input");
  const fs::path folder = options.picturesDir.empty() ? fs::path(options.output).parent_path()
                                                      : fs::path(options.picturesDir);
  if (!folder.empty() && !common::MakeFolderIfMissing(folder)) return Fail("cannot make " + folder.string());
  markup::StoredBook book;
  std::string error;
  if (!markup::LoadStoredBookFile(options.input, folder.empty() ? fs::path(".") : folder, book, error))
    return Fail(options.input + ": " + error);
  if (!common::WriteFileAtomic(options.output, book.document)) return Fail("cannot write " + options.output);
  return 0;
}

int Info(const BookOptions& options) {
  std::string bytes;
  if (!common::ReadWholeFile(options.input, bytes)) return Fail("cannot read " + options.input);
  markup::StoredBook book;
  std::string error;
  if (!markup::ReadStoredBook(bytes, book, error)) return Fail(options.input + ": " + error);
  static constexpr const char* kNames[] = {"annotation", "author", "title", "genre",
                                           "language", "rating", "keywords"};
  std::cout << "form: " << (!book.hasHeader ? "plain document (no header)"
                            : book.compressed ? "compressed" : "plain")
            << "\n";
  if (book.hasHeader) {
    for (size_t i = 0; i < book.header.fields.size(); ++i)
      std::cout << kNames[i] << ": " << book.header.fields[i] << "\n";
  }
  std::cout << "document bytes: " << book.document.size() << "\n";
  if (book.compressed) std::cout << "blocks: " << markup::StoredBlockCount(book.document.size()) << "\n";
  std::cout << "pictures: " << book.pictures.size() << "\n";
  for (const auto& picture : book.pictures)
    std::cout << "  " << picture.name << " (" << picture.data.size() << " bytes)\n";
  return 0;
}

}  // namespace

void RegisterBookCommand(CLI::App& app, CommandAction& action) {
  auto options = std::make_shared<BookOptions>();
  auto* book = app.add_subcommand("book", "Stored book files (.html0): pack, unpack, show the header");
  book->require_subcommand(1);

  auto* pack = book->add_subcommand("pack", "Store an html0 or HTML document as a book file");
  pack->add_option("INPUT", options->input, "Document to store")->required()->check(CLI::ExistingFile);
  pack->add_option("-o,--output", options->output, "Book file to write")->required();
  pack->add_flag("--compress", options->compress, "Compress the document in zlib blocks");
  pack->add_option("--title", options->title, "Title field of the header");
  pack->add_option("--author", options->author, "Author field of the header");
  pack->add_option("--genre", options->genre, "Genre field of the header");
  pack->add_option("--lang", options->language, "Language field of the header");
  pack->add_option("--picture", options->pictures, "Picture file to carry inside the book (repeatable)")
      ->check(CLI::ExistingFile);
  pack->callback([&action, options] { action = [options] { return Pack(*options); }; });

  auto* unpack = book->add_subcommand("unpack", "Write the document of a book file, and its pictures");
  unpack->add_option("INPUT", options->input, "Book file to read")->required()->check(CLI::ExistingFile);
  unpack->add_option("-o,--output", options->output, "Document to write")->required();
  unpack->add_option("--pictures-dir", options->picturesDir,
                     "Folder for the pictures (default: the output's folder)");
  unpack->callback([&action, options] { action = [options] { return Unpack(*options); }; });

  auto* info = book->add_subcommand("info", "Show the header, form and contents of a book file");
  info->add_option("INPUT", options->input, "Book file to read")->required()->check(CLI::ExistingFile);
  info->callback([&action, options] { action = [options] { return Info(*options); }; });
}

}  // namespace pw::app

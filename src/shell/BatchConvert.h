// The batch converter behind `pagewright convert`: every input goes through its own book
// session into its own book folder and out through a book writer; several inputs may be
// converted side by side. Nothing here knows the terminal: progress and messages go to an
// observer.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "common/Messages.h"
#include "common/Settings.h"
#include "shell/BookOutput.h"
#include "shell/WorkshopFolder.h"

namespace pw::shell {

struct BatchRequest {
  std::vector<std::string> inputs;
  std::string output;  // empty: beside each input; a file for one input; else a folder
  std::string target;  // empty: from the output's extension, else "fb2"
  bool compress = false;
  unsigned jobs = 1;
  std::string hyphenate;  // empty: no hyphenation; a language name, or "auto" for the text's own
  std::string entry;      // the book to open inside archive inputs; empty: the only one
  Fb2Request fb2;
  // A last correction of each converted book before it is written (after the "output" slot
  // and the hyphenation); none when empty.
  std::function<void(std::string& document, common::Progress& progress)> correct;
};

struct PlannedBook {
  std::string input;
  std::filesystem::path output;
  bool overwritesInput = false;  // refused when run: the user's file is never written
};

struct BatchPlan {
  std::string target;
  std::vector<PlannedBook> books;
};

// Decides the output form and the output file of every input. False with `error` when the
// request cannot run: no writer for the form, or two inputs that would write one file.
bool PlanBatch(const BatchRequest& request, common::Language language, BatchPlan& plan, std::string& error);

// Hears the batch; called from the worker threads, so implementations lock.
class BatchObserver {
 public:
  virtual ~BatchObserver() = default;
  virtual void Status(size_t book, std::string_view text) = 0;
  virtual void Percent(size_t book, int percent) = 0;
  virtual void Finished(size_t book, bool ok) = 0;
  // Where the messages of the books go.
  virtual common::MessageSink& Sink() = 0;
};

// Converts the planned books, `jobs` at a time, in instance `serial` of the workshop, with
// `settings` as every book's settings. Each book's scratch files are removed when it is done.
// Returns the number of books that failed.
size_t RunBatch(const BatchPlan& plan, const BatchRequest& request, const WorkshopFolder& workshop, int serial,
                const common::Settings& settings, BatchObserver& observer);

// Converts one book as `convert` does (the input copy, the converter of its extension, the
// clean-up slots) and hands its working document to `use`; the book's scratch folder is gone
// afterwards. False, with the reason shown through `sink`, when the book cannot be converted.
bool ReadBookDocument(const std::string& input, const WorkshopFolder& workshop, int serial,
                      const common::Settings& settings, common::MessageSink& sink, common::Progress& progress,
                      const std::function<void(const std::string& document)>& use);

}  // namespace pw::shell

#include "shell/BatchConvert.h"

#include <algorithm>
#include <atomic>
#include <set>
#include <system_error>
#include <thread>

#include "common/Files.h"
#include "shell/BookOutput.h"
#include "corrector/CleanUpFile.h"
#include "corrector/Hyphenation.h"
#include "import/Charset.h"
#include "shell/BookSession.h"
#include "shell/EditorSurface.h"
#include "shell/SaveBook.h"

namespace pw::shell {
namespace {

namespace fs = std::filesystem;

bool SameFile(const fs::path& a, const fs::path& b) {
  std::error_code ec;
  if (fs::exists(a, ec) && fs::exists(b, ec)) return fs::equivalent(a, b, ec);
  return fs::weakly_canonical(a, ec) == fs::weakly_canonical(b, ec);
}

// The progress of one book, passed on to the observer with the book's number.
class BookProgress final : public common::Progress {
 public:
  BookProgress(BatchObserver& observer, size_t book) : observer_(observer), book_(book) {}
  void Status(std::string_view text) override { observer_.Status(book_, text); }
  void Percent(int percent) override { observer_.Percent(book_, percent); }

 private:
  BatchObserver& observer_;
  size_t book_;
};

// Removes the book's scratch folders when it goes out of scope, however the conversion ends
// (a writer that throws, bad_alloc on a huge book).
class ScratchRemoval {
 public:
  explicit ScratchRemoval(BookSession& session) : session_(session) {}
  ~ScratchRemoval() { session_.RemoveScratch(); }
  ScratchRemoval(const ScratchRemoval&) = delete;
  ScratchRemoval& operator=(const ScratchRemoval&) = delete;

 private:
  BookSession& session_;
};

bool ConvertOne(const PlannedBook& planned, size_t index, const BookWriter& writer, const BatchRequest& request,
                const WorkshopFolder& workshop, int serial, const common::Settings& base, BatchObserver& observer) {
  common::Settings settings = base;
  common::Messages messages(observer.Sink(), settings.interfaceLanguage);
  if (planned.overwritesInput) {
    messages.Show(common::Msg::OutputOverwritesInput, planned.input);
    return false;
  }
  BookProgress progress(observer, index);
  HeadlessEditor editor;
  BookSession session(workshop, serial, settings, editor, messages, progress);
  session.SetRememberBooks(false);
  session.SetArchiveEntry(request.entry);
  const ScratchRemoval removal(session);
  bool ok = session.PrepareBook(planned.input);
  std::string document;
  if (ok && !editor.Document(document)) {
    messages.Show(common::Msg::ErrorProcessingFile, ": " + planned.input);
    ok = false;
  }
  if (ok && (!request.hyphenate.empty() || request.correct || (!settings.cleanUpOutput.empty() &&
                                              settings.cleanUpOutput != corrector::kNoRuleFile))) {
    // The book as the user would correct it before writing: the "output" clean-up slot, then
    // soft hyphens in its paragraphs.
    common::Session job(progress, messages);
    job.settings = settings;
    job.workFolder = session.bookFolder();
    document = corrector::ApplyCleanUpFile(document, settings.cleanUpOutput, workshop.bookCleaner(), job);
    if (!request.hyphenate.empty()) {
      std::string language = request.hyphenate;
      if (language == "auto") language = import::DetectLanguage(document.substr(0, 200000));
      document = corrector::InsertHyphenations(document, false, language, progress);
    }
    if (request.correct) request.correct(document, progress);
  }
  if (ok) {
    OutputJob job{document, session.bookFolder(), session.header(), planned.output, request.compress,
                  TodayText(), settings, progress, &messages, &request.fb2};
    std::string error;
    const fs::path folder = planned.output.parent_path();
    ok = (folder.empty() || common::MakeFolderIfMissing(folder)) && writer.write(job, error);
    if (!ok) messages.Show(common::Msg::ErrorWritingFile, planned.output.string() + (error.empty() ? "" : ": " + error));
  }
  return ok;
}

}  // namespace

bool PlanBatch(const BatchRequest& request, common::Language language, BatchPlan& plan, std::string& error) {
  plan = {};
  const bool oneFile = request.inputs.size() == 1 && !request.output.empty() && !fs::is_directory(request.output);
  plan.target = !request.target.empty()               ? request.target
                : oneFile                             ? TargetForOutput(request.output)
                                                      : std::string("fb2");
  const BookWriter* writer = FindBookWriter(plan.target);
  if (!writer) {
    error = std::string(common::MessageText(common::Msg::TargetNotAvailable, language)) + plan.target;
    return false;
  }
  std::set<fs::path> outputs;
  for (const std::string& input : request.inputs) {
    PlannedBook book;
    book.input = input;
    const fs::path source(input);
    // "book.fb2.zip" is the book "book".
    fs::path stem = source.stem();
    const std::string outer = common::LowerExtension(source);
    if ((outer == "zip" || outer == "rar") && !stem.extension().empty()) stem = stem.stem();
    const std::string name = stem.string() + "." + writer->extension;
    if (oneFile) {
      book.output = request.output;
      book.overwritesInput = SameFile(book.output, source);
    } else if (!request.output.empty()) {
      book.output = fs::path(request.output) / name;
      book.overwritesInput = SameFile(book.output, source);
    } else {
      book.output = source.parent_path() / name;
      // Beside the input a book of the same form keeps its source and takes another name.
      if (SameFile(book.output, source))
        book.output = source.parent_path() / (source.stem().string() + ".converted." + writer->extension);
    }
    std::error_code ec;
    const fs::path key = fs::weakly_canonical(book.output, ec);
    if (!outputs.insert(ec ? book.output : key).second) {
      error = "two inputs would write the same book: " + book.output.string();
      return false;
    }
    plan.books.push_back(std::move(book));
  }
  return true;
}

bool ReadBookDocument(const std::string& input, const WorkshopFolder& workshop, int serial,
                      const common::Settings& base, common::MessageSink& sink, common::Progress& progress,
                      const std::function<void(const std::string& document)>& use) {
  common::Settings settings = base;
  common::Messages messages(sink, settings.interfaceLanguage);
  HeadlessEditor editor;
  BookSession session(workshop, serial, settings, editor, messages, progress);
  session.SetRememberBooks(false);
  const ScratchRemoval removal(session);
  bool ok = session.PrepareBook(input);
  std::string document;
  if (ok && !editor.Document(document)) {
    messages.Show(common::Msg::ErrorProcessingFile, ": " + input);
    ok = false;
  }
  if (ok) use(document);
  return ok;
}

size_t RunBatch(const BatchPlan& plan, const BatchRequest& request, const WorkshopFolder& workshop, int serial,
                const common::Settings& settings, BatchObserver& observer) {
  const BookWriter* writer = FindBookWriter(plan.target);
  if (!writer) return plan.books.size();
  std::atomic<size_t> next{0};
  std::atomic<size_t> failures{0};
  const auto worker = [&] {
    for (size_t i = next++; i < plan.books.size(); i = next++) {
      bool ok = false;
      try {
        ok = ConvertOne(plan.books[i], i, *writer, request, workshop, serial, settings, observer);
      } catch (const std::exception& e) {
        observer.Sink().Show(plan.books[i].input + ": " + e.what());
      }
      if (!ok) ++failures;
      observer.Finished(i, ok);
    }
  };
  const size_t threads = std::clamp<size_t>(request.jobs, 1, std::max<size_t>(plan.books.size(), 1));
  std::vector<std::thread> pool;
  for (size_t t = 1; t < threads; ++t) pool.emplace_back(worker);
  worker();
  for (std::thread& thread : pool) thread.join();
  return failures;
}

}  // namespace pw::shell

// A conversion that ends in an exception still leaves no scratch behind.
#include "shell/BatchConvert.h"

#include <gtest/gtest.h>

#include <new>

#include "common/Files.h"
#include "shell/WorkshopFolder.h"
#include "support/TestSupport.h"

namespace pw::shell {
namespace {

namespace fs = std::filesystem;

class QuietObserver final : public BatchObserver {
 public:
  void Status(size_t, std::string_view) override {}
  void Percent(size_t, int) override {}
  void Finished(size_t, bool ok) override { finished.push_back(ok); }
  common::MessageSink& Sink() override { return sink; }
  common::RecordingSink sink;
  std::vector<bool> finished;
};

size_t FilesBelow(const fs::path& folder) {
  size_t files = 0;
  std::error_code ec;
  for (fs::recursive_directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec))
    if (it->is_regular_file(ec)) ++files;
  return files;
}

TEST(BatchConvert, ScratchIsRemovedWhenTheBookWriterThrows) {
  test::ScratchFolder place;
  WorkshopFolder workshop{place / "home"};
  ASSERT_TRUE(common::WriteFileAtomic(place / "book.txt", "A short book.\r\nIts second line of plain text.\r\n"));
  BatchRequest request;
  request.inputs = {(place / "book.txt").string()};
  request.output = (place / "out.html0").string();
  // Stands for a writer that runs out of memory on a huge book.
  request.correct = [](std::string&, common::Progress&) { throw std::bad_alloc(); };
  BatchPlan plan;
  std::string error;
  ASSERT_TRUE(PlanBatch(request, common::Language::English, plan, error)) << error;
  QuietObserver observer;
  EXPECT_EQ(RunBatch(plan, request, workshop, 7, common::Settings{}, observer), 1u);
  EXPECT_EQ(observer.finished, std::vector<bool>{false});
  EXPECT_FALSE(fs::exists(place / "out.html0"));
  EXPECT_EQ(FilesBelow(workshop.temp()), 0u);
  EXPECT_EQ(FilesBelow(workshop.inputCopy()), 0u);
}

}  // namespace
}  // namespace pw::shell

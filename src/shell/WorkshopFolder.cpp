#include "shell/WorkshopFolder.h"

#include <cstdlib>
#include <system_error>

#include "common/Files.h"

namespace pw::shell {
namespace {

std::string Env(const char* name) {
  const char* value = std::getenv(name);
  return value ? std::string(value) : std::string();
}

// Shipped files and where each goes in the workshop folder.
struct ShippedFile {
  const char* source;
  const char* target;
};
constexpr ShippedFile kShippedFiles[] = {
    {"BookCleanerDef.bcf", "BookCleaner/BookCleanerDef.bcf"},
    {"Self Teaching/1_MyFirstEbook.html0", "Self Teaching/1_MyFirstEbook.html0"},
    {"FontsDefault.dat", "FontsDefault.dat"},
};

}  // namespace

fs::path ResolveWorkshopFolder(const std::string& homeOption) {
  if (!homeOption.empty()) return fs::path(homeOption);
  if (const std::string home = Env("PAGEWRIGHT_HOME"); !home.empty()) return fs::path(home);
  if (const std::string xdg = Env("XDG_DATA_HOME"); !xdg.empty()) return fs::path(xdg) / "pagewright";
  const std::string userHome = Env("HOME");
  return fs::path(userHome.empty() ? "." : userHome) / ".local" / "share" / "pagewright";
}

bool PrepareWorkshopFolder(const WorkshopFolder& folder, const fs::path& shippedData) {
  for (const fs::path& path : {folder.root, folder.temp(), folder.inputCopy(), folder.citations(),
                               folder.bookCleaner(), folder.userCleanUp(), folder.selfTeaching()}) {
    if (!common::MakeFolderIfMissing(path)) return false;
  }
  for (const ShippedFile& file : kShippedFiles) {
    const fs::path source = shippedData / file.source;
    const fs::path target = folder.root / file.target;
    if (common::FileExists(target) || !common::FileExists(source)) continue;
    std::string bytes;
    if (common::ReadWholeFile(source, bytes)) common::WriteFileAtomic(target, bytes);
  }
  return true;
}

fs::path ShippedDataFolder() {
  if (const std::string data = Env("PAGEWRIGHT_DATA"); !data.empty()) return fs::path(data);
  std::error_code ec;
  const fs::path exe = fs::read_symlink("/proc/self/exe", ec);
  if (!ec) {
    const fs::path installed = exe.parent_path().parent_path() / "share" / "pagewright";
    if (fs::is_directory(installed, ec)) return installed;
  }
  return fs::path(PW_SOURCE_DATA_DIR);
}

}  // namespace pw::shell

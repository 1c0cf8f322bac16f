#include "shell/SettingsFile.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "common/Files.h"

namespace pw::shell {
namespace {

constexpr std::string_view kMagic = "PWSET";
// Layout history: 1 — the first record; 2 — reader geometry and zoom, citation folders, FB2
// export options, multi-language saving, tool paths; 3 — reading fonts and colours; 4 — time-outs
// of the pdf and office tools.
constexpr uint16_t kSettingsLayoutVersion = 4;
// Lists of the record are short (recent files, programs); a longer one means damage.
constexpr int32_t kLongestList = 1000;

void Put(std::string& out, uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out += static_cast<char>((value >> (8 * i)) & 0xFF);
}

class Writer {
 public:
  explicit Writer(std::string& out) : out_(out) {}
  void operator()(const char*, const std::string& s) { PutString(s); }
  void operator()(const char*, const bool& b) { out_ += static_cast<char>(b ? 1 : 0); }
  void operator()(const char*, const float& f) {
    uint32_t bits;
    std::memcpy(&bits, &f, sizeof bits);
    Put(out_, bits, 4);
  }
  void operator()(const char*, const int& i) { Put(out_, static_cast<uint32_t>(static_cast<int32_t>(i)), 4); }
  void operator()(const char*, const common::Language& l) { Put(out_, static_cast<uint32_t>(l), 4); }
  void operator()(const char*, const std::vector<std::string>& list) {
    Put(out_, 0, 4);
    Put(out_, static_cast<uint32_t>(static_cast<int32_t>(list.size()) - 1), 4);
    for (const std::string& s : list) PutString(s);
  }

 private:
  void PutString(const std::string& s) {
    // Strings longer than the 16-bit length allows are cut: no setting is that long.
    const size_t length = std::min<size_t>(s.size(), std::numeric_limits<uint16_t>::max());
    Put(out_, static_cast<uint32_t>(length), 2);
    out_.append(s, 0, length);
  }
  std::string& out_;
};

class Reader {
 public:
  Reader(std::string_view bytes, size_t pos) : bytes_(bytes), pos_(pos) {}
  bool ok() const { return ok_; }
  bool atEnd() const { return pos_ == bytes_.size(); }

  void operator()(const char*, std::string& s) { GetString(s); }
  void operator()(const char*, bool& b) {
    uint32_t v = 0;
    if (Get(v, 1) && v > 1) ok_ = false;
    b = v == 1;
  }
  void operator()(const char*, float& f) {
    uint32_t bits = 0;
    if (Get(bits, 4)) std::memcpy(&f, &bits, sizeof f);
  }
  void operator()(const char*, int& i) {
    uint32_t v = 0;
    if (Get(v, 4)) i = static_cast<int32_t>(v);
  }
  void operator()(const char*, common::Language& l) {
    uint32_t v = 0;
    if (Get(v, 4) && v > static_cast<uint32_t>(common::Language::Russian)) ok_ = false;
    l = static_cast<common::Language>(v);
  }
  void operator()(const char*, std::vector<std::string>& list) {
    uint32_t low = 0, high = 0;
    if (!Get(low, 4) || !Get(high, 4)) return;
    const auto lower = static_cast<int32_t>(low);
    const auto upper = static_cast<int32_t>(high);
    if (lower != 0 || upper < -1 || upper >= kLongestList) {
      ok_ = false;
      return;
    }
    list.assign(static_cast<size_t>(upper + 1), std::string());
    for (std::string& s : list) GetString(s);
  }

 private:
  bool Get(uint32_t& value, int width) {
    if (!ok_ || bytes_.size() - pos_ < static_cast<size_t>(width)) {
      ok_ = false;
      return false;
    }
    value = 0;
    for (int i = 0; i < width; ++i) value |= static_cast<uint32_t>(static_cast<unsigned char>(bytes_[pos_ + i])) << (8 * i);
    pos_ += static_cast<size_t>(width);
    return true;
  }
  void GetString(std::string& s) {
    uint32_t length = 0;
    if (!Get(length, 2)) return;
    if (bytes_.size() - pos_ < length) {
      ok_ = false;
      return;
    }
    s.assign(bytes_.substr(pos_, length));
    pos_ += length;
  }

  std::string_view bytes_;
  size_t pos_;
  bool ok_ = true;
};

}  // namespace

std::string WriteSettingsRecord(const common::Settings& settings) {
  std::string out(kMagic);
  Put(out, kSettingsLayoutVersion, 2);
  Writer writer(out);
  VisitSettings(settings, writer);
  return out;
}

bool ReadSettingsRecord(std::string_view bytes, common::Settings& settings) {
  settings = common::Settings{};
  if (bytes.size() < kMagic.size() + 2 || bytes.substr(0, kMagic.size()) != kMagic) return false;
  const auto version = static_cast<uint16_t>(static_cast<unsigned char>(bytes[kMagic.size()]) |
                                             (static_cast<unsigned char>(bytes[kMagic.size() + 1]) << 8));
  if (version != kSettingsLayoutVersion) return false;
  common::Settings read;
  Reader reader(bytes, kMagic.size() + 2);
  VisitSettings(read, reader);
  if (!reader.ok() || !reader.atEnd()) return false;
  settings = std::move(read);
  return true;
}

RestoreResult RestoreSettings(const std::filesystem::path& file, common::Settings& settings) {
  settings = common::Settings{};
  if (!common::FileExists(file)) return RestoreResult::Missing;
  std::string bytes;
  if (!common::ReadWholeFile(file, bytes) || !ReadSettingsRecord(bytes, settings)) return RestoreResult::Damaged;
  return RestoreResult::Read;
}

bool SaveSettings(const std::filesystem::path& file, const common::Settings& settings) {
  return common::WriteFileAtomic(file, WriteSettingsRecord(settings));
}

}  // namespace pw::shell

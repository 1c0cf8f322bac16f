#include "common/Regex.h"
#include "common/RegexMatches.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

namespace pw::common {
namespace {

// Enough for any sane pattern over a 20 MB book; a pattern that needs more is backtracking
// out of control and is reported instead of hanging the program.
constexpr uint32_t kMatchLimit = 50'000'000;
constexpr uint32_t kDepthLimit = 1'000'000;
constexpr size_t kCacheCapacity = 256;
// Bounded replacements hand the engine this many starting places at a time and look at the
// clock in between.
constexpr size_t kBoundedWindow = 256;
// Repeated groups over long runs of text need deep JIT stacks; the memory is reserved, not
// committed, until a match needs it.
constexpr size_t kJitStackMax = 512 * 1024 * 1024;

struct CodeDeleter {
  void operator()(pcre2_code* code) const { pcre2_code_free(code); }
};
struct MatchDataDeleter {
  void operator()(pcre2_match_data* data) const { pcre2_match_data_free(data); }
};
struct ContextDeleter {
  void operator()(pcre2_match_context* context) const { pcre2_match_context_free(context); }
};
struct JitStackDeleter {
  void operator()(pcre2_jit_stack* stack) const { pcre2_jit_stack_free(stack); }
};

using CodePtr = std::shared_ptr<pcre2_code>;

std::string ErrorText(int code) {
  PCRE2_UCHAR buffer[256];
  const int length = pcre2_get_error_message(code, buffer, sizeof(buffer));
  if (length < 0) return "error " + std::to_string(code);
  return std::string(reinterpret_cast<const char*>(buffer), static_cast<size_t>(length));
}

// Compiled patterns shared by every thread; a compiled pattern is read-only once JIT-compiled.
class PatternCache {
 public:
  // `windowed`: compiled so that a match may be told where its start must lie (bounded runs).
  CodePtr Get(std::string_view pattern, bool caseSensitive, std::string* error, bool windowed = false) {
    std::string key(1, caseSensitive ? 'c' : 'i');
    key += windowed ? 'w' : '-';
    key += pattern;
    {
      std::lock_guard lock(mutex_);
      if (auto found = map_.find(key); found != map_.end()) return found->second;
    }
    uint32_t options = PCRE2_UTF | PCRE2_UCP | PCRE2_MATCH_INVALID_UTF;
    if (windowed) options |= PCRE2_USE_OFFSET_LIMIT;
    if (!caseSensitive) options |= PCRE2_CASELESS;
    int errorCode = 0;
    PCRE2_SIZE errorOffset = 0;
    pcre2_code* raw = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.data()), pattern.size(),
                                    options, &errorCode, &errorOffset, nullptr);
    if (!raw) {
      if (error) *error = ErrorText(errorCode) + " at offset " + std::to_string(errorOffset);
      return nullptr;
    }
    pcre2_jit_compile(raw, PCRE2_JIT_COMPLETE);  // without JIT support matching still works
    CodePtr code(raw, CodeDeleter{});
    std::lock_guard lock(mutex_);
    if (map_.size() >= kCacheCapacity) map_.clear();
    map_.emplace(std::move(key), code);
    return code;
  }

 private:
  std::mutex mutex_;
  std::unordered_map<std::string, CodePtr> map_;
};

PatternCache& Cache() {
  static PatternCache cache;
  return cache;
}

// Match context and JIT stack of this thread, with the limits set.
pcre2_match_context* ThreadContext() {
  thread_local std::unique_ptr<pcre2_match_context, ContextDeleter> context;
  thread_local std::unique_ptr<pcre2_jit_stack, JitStackDeleter> stack;
  if (!context) {
    context.reset(pcre2_match_context_create(nullptr));
    pcre2_set_match_limit(context.get(), kMatchLimit);
    pcre2_set_depth_limit(context.get(), kDepthLimit);
    stack.reset(pcre2_jit_stack_create(64 * 1024, kJitStackMax, nullptr));
    if (stack) pcre2_jit_stack_assign(context.get(), nullptr, stack.get());
  }
  return context.get();
}

// Visits every match left to right; `onMatch` gets the ovector and returns false to stop.
// Returns false with `error` filled when matching fails for a reason other than no match.
// With `window` (a pattern compiled windowed), each call of the engine may start a match only
// within `window` bytes of where it starts looking, and `between` is asked after every such
// call whether to go on: the engine's own limit bounds one starting place, and this bounds the
// time a pattern that backtracks at every place of a long text can take in all.
template <class OnMatch>
bool ForEachMatch(const CodePtr& code, std::string_view text, size_t from, std::string* error,
                  OnMatch onMatch, size_t window = 0, const std::function<bool()>& between = {}) {
  std::unique_ptr<pcre2_match_data, MatchDataDeleter> data(
      pcre2_match_data_create_from_pattern(code.get(), nullptr));
  pcre2_match_context* context = ThreadContext();
  const auto subject = reinterpret_cast<PCRE2_SPTR>(text.data());
  size_t offset = from;
  uint32_t options = 0;
  pcre2_set_offset_limit(context, PCRE2_UNSET);
  while (offset <= text.size()) {
    if (window) pcre2_set_offset_limit(context, offset + window);
    const int rc = pcre2_match(code.get(), subject, text.size(), offset, options, data.get(), context);
    if (window && between && !between()) return true;
    if (rc == PCRE2_ERROR_NOMATCH && window && options == 0 && offset + window < text.size()) {
      offset += window + 1;
      while (offset < text.size() && (static_cast<unsigned char>(text[offset]) & 0xC0) == 0x80) ++offset;
      continue;
    }
    if (rc == PCRE2_ERROR_NOMATCH) {
      if (options == 0) return true;
      // An empty match here could not be extended: step over one whole character.
      options = 0;
      ++offset;
      while (offset < text.size() && (static_cast<unsigned char>(text[offset]) & 0xC0) == 0x80) ++offset;
      continue;
    }
    if (rc < 0) {
      if (error) {
        *error = (rc == PCRE2_ERROR_MATCHLIMIT || rc == PCRE2_ERROR_DEPTHLIMIT ||
                  rc == PCRE2_ERROR_HEAPLIMIT || rc == PCRE2_ERROR_JIT_STACKLIMIT)
                     ? "match limit reached"
                     : ErrorText(rc);
      }
      return false;
    }
    const PCRE2_SIZE* ovector = pcre2_get_ovector_pointer(data.get());
    if (!onMatch(ovector, static_cast<size_t>(rc))) return true;
    offset = ovector[1];
    // After an empty match, look for a non-empty one at the same place first.
    options = ovector[0] == ovector[1] ? (PCRE2_NOTEMPTY_ATSTART | PCRE2_ANCHORED) : 0;
  }
  return true;
}

void AppendReplacement(std::string& out, std::string_view text, std::string_view replacement,
                       const PCRE2_SIZE* ovector, size_t pairs) {
  for (size_t i = 0; i < replacement.size(); ++i) {
    const char c = replacement[i];
    if (c == '$' && i + 1 < replacement.size()) {
      const char next = replacement[i + 1];
      if (next >= '0' && next <= '9') {
        const auto group = static_cast<size_t>(next - '0');
        if (group < pairs && ovector[2 * group] != PCRE2_UNSET) {
          out.append(text, ovector[2 * group], ovector[2 * group + 1] - ovector[2 * group]);
        }
        ++i;
        continue;
      }
      if (next == '$') {
        out += '$';
        ++i;
        continue;
      }
    }
    out += c;
  }
}

bool Replace(std::string& text, std::string_view pattern, std::string_view replacement,
             bool caseSensitive, bool all, std::string* error, size_t* count = nullptr,
             RegexBounds* bounds = nullptr) {
  const CodePtr code = Cache().Get(pattern, caseSensitive, error, bounds != nullptr);
  if (!code) return false;
  std::string out;
  size_t copied = 0;
  bool any = false;
  bool stopped = false;
  const std::function<bool()> inTime = [&] {
    if (std::chrono::steady_clock::now() <= bounds->deadline) return true;
    bounds->timeRanOut = stopped = true;
    return false;
  };
  size_t matches = 0;
  const std::string_view source(text);
  bool ok = ForEachMatch(code, source, 0, error, [&](const PCRE2_SIZE* ovector, size_t pairs) {
    if (!any) out.reserve(source.size());
    any = true;
    if (count) ++*count;
    out.append(source, copied, ovector[0] - copied);
    AppendReplacement(out, source, replacement, ovector, pairs);
    copied = ovector[1];
    if (bounds) {
      // What is left of the text is copied as it is, so the result is at least this long.
      if (out.size() + (source.size() - copied) > bounds->maxResult) {
        bounds->tooLarge = stopped = true;
        return false;
      }
      if (++matches % 64 == 0 && !inTime()) return false;
    }
    return all;
  }, bounds ? kBoundedWindow : 0, bounds ? inTime : std::function<bool()>());
  if (stopped) {
    ok = false;
    if (error) *error = bounds->tooLarge ? "the result grows past the size limit" : "time limit reached";
  }
  if (!ok) {
    if (count) *count = 0;
    return false;
  }
  if (any) {
    out.append(source, copied, source.size() - copied);
    text = std::move(out);
  }
  return true;
}

}  // namespace

bool RegExpReplaceAll(std::string& text, std::string_view pattern, std::string_view replacement,
                      bool caseSensitive, std::string* error, size_t* count, RegexBounds* bounds) {
  if (count) *count = 0;
  return Replace(text, pattern, replacement, caseSensitive, true, error, count, bounds);
}

bool RegExpReplaceFirst(std::string& text, std::string_view pattern, std::string_view replacement,
                        bool caseSensitive, std::string* error) {
  return Replace(text, pattern, replacement, caseSensitive, false, error);
}

RegexMatch RegExpFind(std::string_view text, std::string_view pattern, bool caseSensitive,
                      size_t from, std::string* error) {
  RegexMatch match;
  if (from > text.size()) return match;
  const CodePtr code = Cache().Get(pattern, caseSensitive, error);
  if (!code) return match;
  ForEachMatch(code, text, from, error, [&](const PCRE2_SIZE* ovector, size_t) {
    match.found = true;
    match.begin = ovector[0];
    match.end = ovector[1];
    return false;
  });
  return match;
}

bool RegExpMatches(std::string_view text, std::string_view pattern, std::string_view replacement,
                   bool caseSensitive, size_t limit, std::vector<RegexReplacement>& out, std::string* error) {
  out.clear();
  const CodePtr code = Cache().Get(pattern, caseSensitive, error);
  if (!code) return false;
  return ForEachMatch(code, text, 0, error, [&](const PCRE2_SIZE* ovector, size_t pairs) {
    if (out.size() >= limit) return false;
    RegexReplacement match{ovector[0], ovector[1], {}};
    AppendReplacement(match.text, text, replacement, ovector, pairs);
    out.push_back(std::move(match));
    return true;
  });
}

bool RegExpIsValid(std::string_view pattern, std::string* error) {
  return static_cast<bool>(Cache().Get(pattern, true, error));
}

}  // namespace pw::common

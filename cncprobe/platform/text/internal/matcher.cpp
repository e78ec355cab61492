// reMatcher on PCRE2 with JIT. The compiled (and JIT-compiled) code of a pattern is built once per
// process and shared read-only by every matcher of that pattern; match data and match context are
// per matcher, the JIT stack per thread, all reused.
#include "cncprobe/platform/text/internal/matcher.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#if defined(_WIN32)
#include <windows.h>
#endif

#include <climits>
#include <map>
#include <mutex>
#include <string>
#include <tuple>

namespace {
// The JIT starts with a small stack and may grow it to this size; ordinary long lines stay far
// below it, and a pathological one ends as "no match" instead of exhausting the machine stack.
constexpr PCRE2_SIZE kJitStackStart = 32 * 1024;
constexpr PCRE2_SIZE kJitStackMax = 1024 * 1024;

// The JIT stack of the calling thread, made on its first JIT match and freed when the thread
// ends. A JIT match needs its stack only while it runs, and a thread runs one match at a time, so
// every matcher of a thread shares one: the thousands of parsers a batch of small files builds
// reserve no stack each, and no match runs on the JIT's small default stack, which would cost a
// probe of every page of it on every call. Null when it cannot be made: the JIT then uses its own.
pcre2_jit_stack* new_jit_stack() {
  return pcre2_jit_stack_create(kJitStackStart, kJitStackMax, nullptr);
}

#if defined(_WIN32)
// On Windows the stack is kept in fiber-local storage, whose callback frees it when the thread
// ends: with a thread_local object that has a destructor, a process whose second thread had
// scanned a file's references beside its extraction never exited (MinGW's runtime, under Wine).
class ThreadJitStacks {
 public:
  ThreadJitStacks() : slot_(FlsAlloc(&free_stack)) {}
  // Frees the stack of every thread still holding one, e.g. when the library is unloaded.
  ~ThreadJitStacks() {
    if (slot_ != FLS_OUT_OF_INDEXES) FlsFree(slot_);
    slot_ = FLS_OUT_OF_INDEXES;
  }
  ThreadJitStacks(const ThreadJitStacks&) = delete;
  ThreadJitStacks& operator=(const ThreadJitStacks&) = delete;

  pcre2_jit_stack* of_this_thread() {
    if (slot_ == FLS_OUT_OF_INDEXES) return nullptr;
    auto* stack = static_cast<pcre2_jit_stack*>(FlsGetValue(slot_));
    if (stack == nullptr && (stack = new_jit_stack()) != nullptr && !FlsSetValue(slot_, stack)) {
      pcre2_jit_stack_free(stack);
      stack = nullptr;
    }
    return stack;
  }

 private:
  static void WINAPI free_stack(void* stack) {
    if (stack != nullptr) pcre2_jit_stack_free(static_cast<pcre2_jit_stack*>(stack));
  }
  DWORD slot_;
};

pcre2_jit_stack* thread_jit_stack(void* /*unused*/) {
  static ThreadJitStacks stacks;
  return stacks.of_this_thread();
}
#else
pcre2_jit_stack* thread_jit_stack(void* /*unused*/) {
  struct Holder {
    pcre2_jit_stack* stack = new_jit_stack();
    ~Holder() {
      if (stack) pcre2_jit_stack_free(stack);
    }
  };
  thread_local Holder holder;
  return holder.stack;
}
#endif

uint32_t to_pcre2_options(int options) {
  uint32_t result = 0;
  if (options & reMatcher::kCaseless) result |= PCRE2_CASELESS;
  if (options & reMatcher::kMultiline) result |= PCRE2_MULTILINE;
  if (options & reMatcher::kDotAll) result |= PCRE2_DOTALL;
  if (options & reMatcher::kExtended) result |= PCRE2_EXTENDED;
  if (options & reMatcher::kAnchored) result |= PCRE2_ANCHORED;
  return result;
}

std::string error_message(int error_code) {
  PCRE2_UCHAR message[256];
  pcre2_get_error_message(error_code, message, sizeof message);
  return std::string(reinterpret_cast<const char*>(message));
}
}  // namespace

// One pattern compiled with one set of options, and possibly JIT-compiled. Never changed once it
// has been handed out, so any number of matchers on any threads match with it at once (PCRE2
// reads compiled code only; each match writes to the caller's match data alone).
struct reCompiledPattern {
  pcre2_code* code = nullptr;
  bool jit = false;
  std::string error;  // why compiling or JIT-compiling failed
  PCRE2_SIZE error_offset = 0;
  ~reCompiledPattern() {
    if (code) pcre2_code_free(code);
  }
};

namespace {
// Compiles a pattern; with `jit`, also JIT-compiles it before anyone else can see it.
std::shared_ptr<const reCompiledPattern> build_pattern(const std::string& pattern, uint32_t options,
                                                       bool jit) {
  auto compiled = std::make_shared<reCompiledPattern>();
  int error_code = 0;
  // Only a line feed is a newline, whatever default the library was built with: "." then takes
  // every other byte (a carriage return, a NUL, 0x85) and "$" is the end of the line, so the
  // value tails of the parsers capture the same text in their plain and their linear forms.
  pcre2_compile_context* context = pcre2_compile_context_create(nullptr);
  if (context) pcre2_set_newline(context, PCRE2_NEWLINE_LF);
  // "." is any byte, a line feed included, and "$" is the end of the subject alone: a host may
  // build a cursor from lines of its own, and those lines are matched as the file's would be.
  const uint32_t always = PCRE2_DOTALL | PCRE2_DOLLAR_ENDONLY;
  compiled->code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.data()), pattern.size(),
                                 options | always, &error_code, &compiled->error_offset, context);
  if (context) pcre2_compile_context_free(context);
  if (!compiled->code) {
    compiled->error = error_message(error_code);
    return compiled;
  }
  if (jit) {
    const int rc = pcre2_jit_compile(compiled->code, PCRE2_JIT_COMPLETE);
    // Without the JIT, matching falls back to the interpreter with the same outcomes.
    compiled->jit = rc == 0;
    if (rc != 0) compiled->error = error_message(rc);
  }
  return compiled;
}

// A JIT-compiled copy of compiled code: the same pattern without compiling it again.
std::shared_ptr<const reCompiledPattern> jit_compiled_copy(const reCompiledPattern& plain) {
  auto compiled = std::make_shared<reCompiledPattern>();
  compiled->code = pcre2_code_copy(plain.code);
  if (!compiled->code) return nullptr;
  const int rc = pcre2_jit_compile(compiled->code, PCRE2_JIT_COMPLETE);
  compiled->jit = rc == 0;
  if (rc != 0) compiled->error = error_message(rc);
  return compiled;
}

// The process's compiled patterns, keyed by pattern text, options and whether JIT-compiled. A
// parser is built for every file a host extracts, and compiling its twenty-nine patterns costs
// several times what reading a small file does; with the cache each is compiled once. The plain
// and the JIT-compiled code are separate entries, because JIT-compiling code in place would
// change it under a matcher that is interpreting it on another thread.
class PatternCache {
 public:
  std::shared_ptr<const reCompiledPattern> get(const utString& pattern, uint32_t options,
                                               bool jit) {
    std::string text = pattern.valid() ? pattern.str() : std::string();
    const std::lock_guard<std::mutex> lock(mutex_);
    auto key = std::make_tuple(std::move(text), options, jit);
    const auto found = entries_.find(key);
    if (found != entries_.end()) return found->second;
    std::shared_ptr<const reCompiledPattern> compiled;
    if (jit) {
      // The JIT works on a copy of the plain code, which matchers may be interpreting right now.
      const auto plain = entries_.find(std::make_tuple(std::get<0>(key), options, false));
      if (plain != entries_.end()) compiled = jit_compiled_copy(*plain->second);
    }
    if (!compiled) compiled = build_pattern(std::get<0>(key), options, jit);
    // The library's own patterns number a few dozen; a host compiling patterns of its own
    // without end gets them compiled privately instead of growing the cache.
    if (compiled->code && entries_.size() < kMaxEntries) entries_.emplace(std::move(key), compiled);
    return compiled;
  }

 private:
  static constexpr std::size_t kMaxEntries = 512;
  std::mutex mutex_;
  std::map<std::tuple<std::string, uint32_t, bool>, std::shared_ptr<const reCompiledPattern>>
      entries_;
};

PatternCache& pattern_cache() {
  // Matchers hold their entries through shared pointers, so the code outlives the cache.
  static PatternCache cache;
  return cache;
}
}  // namespace

struct reMatcher::Impl {
  // The shared compiled code this matcher matches with; null until compile() succeeds.
  std::shared_ptr<const reCompiledPattern> compiled;
  pcre2_code* code = nullptr;  // compiled->code, read on every match
  int options = 0;
  pcre2_match_data* match_data = nullptr;
  pcre2_match_context* match_context = nullptr;
  // The bytes of the last successful match's subject, the caller's: its groups point into them.
  const char* subject = nullptr;
  // The group offsets of the match data and their number of pairs, taken once when the match
  // data is made: every captured value is read through them.
  const PCRE2_SIZE* ovector = nullptr;
  uint32_t pairs = 0;
  bool matched = false;
  bool jit = false;  // the JIT code is there: match through its direct entry

  ~Impl() { reset(); }
  void reset() {
    if (match_context) pcre2_match_context_free(match_context);
    if (match_data) pcre2_match_data_free(match_data);
    match_context = nullptr;
    match_data = nullptr;
    code = nullptr;
    options = 0;
    compiled.reset();
    subject = nullptr;
    ovector = nullptr;
    pairs = 0;
    matched = false;
    jit = false;
  }
};

reMatcher::reMatcher(const utString& pattern)
    : pattern_(pattern), impl_(std::make_unique<Impl>()) {}

reMatcher::~reMatcher() = default;

int reMatcher::compile(int options, utString& error_text, int& error_offset) {
  impl_->reset();
  const uint32_t pcre2_options = to_pcre2_options(options);
  std::shared_ptr<const reCompiledPattern> compiled =
      pattern_cache().get(pattern_, pcre2_options, false);
  if (!compiled->code) {
    error_text = utString(compiled->error.c_str());
    const PCRE2_SIZE offset = compiled->error_offset;
    error_offset = offset > static_cast<PCRE2_SIZE>(INT_MAX) ? INT_MAX : static_cast<int>(offset);
    return 0;
  }
  impl_->match_data = pcre2_match_data_create_from_pattern(compiled->code, nullptr);
  impl_->match_context = pcre2_match_context_create(nullptr);
  if (!impl_->match_data || !impl_->match_context) {
    impl_->reset();
    error_text = utString("out of memory");
    error_offset = 0;
    return 0;
  }
  impl_->code = compiled->code;
  impl_->compiled = std::move(compiled);
  impl_->options = static_cast<int>(pcre2_options);
  impl_->ovector = pcre2_get_ovector_pointer(impl_->match_data);
  impl_->pairs = pcre2_get_ovector_count(impl_->match_data);
  error_offset = 0;
  return 1;
}

int reMatcher::study(utString& error_text, int /*options*/) {
  if (!impl_->code) {
    error_text = utString("pattern not compiled");
    return 0;
  }
  if (impl_->jit) return 1;
  // The JIT-compiled code of the same pattern and options: the same groups, so the match data
  // made for the plain code serves it as it is.
  std::shared_ptr<const reCompiledPattern> compiled =
      pattern_cache().get(pattern_, static_cast<uint32_t>(impl_->options), true);
  if (!compiled->jit) {
    error_text = utString(compiled->error.c_str());
    return 0;  // matching goes on with the interpreter
  }
  pcre2_jit_stack_assign(impl_->match_context, thread_jit_stack, nullptr);
  impl_->code = compiled->code;
  impl_->compiled = std::move(compiled);
  impl_->jit = true;
  return 1;
}

int reMatcher::match(const utString& subject, int start) {
  impl_->matched = false;
  if (!impl_->code || start < 0 || static_cast<std::uint32_t>(start) > subject.length()) return -1;
  const char* text = subject.valid() ? subject.c_str() : "";
  // Most lines are offered to many patterns and fail at their first byte, so the call itself
  // counts: the JIT's direct entry skips the checks that do not apply to a JIT-compiled pattern.
  const auto* bytes = reinterpret_cast<PCRE2_SPTR>(text);
  const int rc =
      impl_->jit
          ? pcre2_jit_match(impl_->code, bytes, subject.length(), static_cast<PCRE2_SIZE>(start), 0,
                            impl_->match_data, impl_->match_context)
          : pcre2_match(impl_->code, bytes, subject.length(), static_cast<PCRE2_SIZE>(start), 0,
                        impl_->match_data, impl_->match_context);
  // rc == 0 cannot happen with match data sized from the pattern; treat it as failure anyway.
  if (rc <= 0) return rc == 0 ? -1 : rc;
  impl_->subject = text;
  impl_->matched = true;
  return rc;
}

utString reMatcher::get_substring(int group) const {
  const std::string_view text = group_view(group);
  return text.data() ? utString(text.data(), text.size()) : utString();
}

std::string_view reMatcher::group_view(int group) const noexcept {
  if (!impl_->matched || group < 0) return {};
  if (static_cast<uint32_t>(group) >= impl_->pairs) return {};
  const PCRE2_SIZE* ovector = impl_->ovector;
  const PCRE2_SIZE begin = ovector[2 * group];
  const PCRE2_SIZE end = ovector[2 * group + 1];
  if (begin == PCRE2_UNSET || end < begin) return {};
  return std::string_view(impl_->subject + begin, end - begin);
}

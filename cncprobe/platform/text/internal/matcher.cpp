// reMatcher on PCRE2 with JIT; match data and JIT stack are per matcher and reused.
#include "cncprobe/platform/text/internal/matcher.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <climits>

namespace {
// The JIT starts with a small stack and may grow it to this size; ordinary long lines stay far
// below it, and a pathological one ends as "no match" instead of exhausting the machine stack.
constexpr PCRE2_SIZE kJitStackStart = 32 * 1024;
constexpr PCRE2_SIZE kJitStackMax = 1024 * 1024;

uint32_t to_pcre2_options(int options) {
  uint32_t result = 0;
  if (options & reMatcher::kCaseless) result |= PCRE2_CASELESS;
  if (options & reMatcher::kMultiline) result |= PCRE2_MULTILINE;
  if (options & reMatcher::kDotAll) result |= PCRE2_DOTALL;
  if (options & reMatcher::kExtended) result |= PCRE2_EXTENDED;
  if (options & reMatcher::kAnchored) result |= PCRE2_ANCHORED;
  return result;
}
}  // namespace

struct reMatcher::Impl {
  pcre2_code* code = nullptr;
  pcre2_match_data* match_data = nullptr;
  pcre2_match_context* match_context = nullptr;
  pcre2_jit_stack* jit_stack = nullptr;
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
    if (jit_stack) pcre2_jit_stack_free(jit_stack);
    if (match_context) pcre2_match_context_free(match_context);
    if (match_data) pcre2_match_data_free(match_data);
    if (code) pcre2_code_free(code);
    jit_stack = nullptr;
    match_context = nullptr;
    match_data = nullptr;
    code = nullptr;
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
  int error_code = 0;
  PCRE2_SIZE offset = 0;
  const auto* text = reinterpret_cast<PCRE2_SPTR>(pattern_.valid() ? pattern_.c_str() : "");
  // Only a line feed is a newline, whatever default the library was built with: "." then takes
  // every other byte (a carriage return, a NUL, 0x85) and "$" is the end of the line, so the
  // value tails of the parsers capture the same text in their plain and their linear forms.
  pcre2_compile_context* context = pcre2_compile_context_create(nullptr);
  if (context) pcre2_set_newline(context, PCRE2_NEWLINE_LF);
  // "." is any byte, a line feed included, and "$" is the end of the subject alone: a host may
  // build a cursor from lines of its own, and those lines are matched as the file's would be.
  const uint32_t always = PCRE2_DOTALL | PCRE2_DOLLAR_ENDONLY;
  impl_->code = pcre2_compile(text, pattern_.length(), to_pcre2_options(options) | always,
                              &error_code, &offset, context);
  if (context) pcre2_compile_context_free(context);
  if (!impl_->code) {
    PCRE2_UCHAR message[256];
    pcre2_get_error_message(error_code, message, sizeof message);
    error_text = utString(reinterpret_cast<const char*>(message));
    error_offset = offset > static_cast<PCRE2_SIZE>(INT_MAX) ? INT_MAX : static_cast<int>(offset);
    return 0;
  }
  impl_->match_data = pcre2_match_data_create_from_pattern(impl_->code, nullptr);
  impl_->match_context = pcre2_match_context_create(nullptr);
  if (!impl_->match_data || !impl_->match_context) {
    impl_->reset();
    error_text = utString("out of memory");
    error_offset = 0;
    return 0;
  }
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
  const int rc = pcre2_jit_compile(impl_->code, PCRE2_JIT_COMPLETE);
  if (rc != 0) {
    PCRE2_UCHAR message[256];
    pcre2_get_error_message(rc, message, sizeof message);
    error_text = utString(reinterpret_cast<const char*>(message));
    return 0;  // matching falls back to the interpreter
  }
  impl_->jit = true;
  if (!impl_->jit_stack) {
    impl_->jit_stack = pcre2_jit_stack_create(kJitStackStart, kJitStackMax, nullptr);
    if (impl_->jit_stack) {
      pcre2_jit_stack_assign(impl_->match_context, nullptr, impl_->jit_stack);
    }
  }
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

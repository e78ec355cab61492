// reMatcher: one compiled Perl-compatible regular expression and the outcome of its last match.
// Internal to the library and not installed: hosts include "cncprobe/cncprobe.h".
//
//   reMatcher m("^[\\s\\*]*TOOLPATHID[\\s\\*]+(\\d+(?:\\.\\d*)?)[\\s\\*]*$");
//   utString error; int offset = 0;
//   m.compile(reMatcher::kAnchored, error, offset);
//   m.study(error, 0);              // JIT-compiles
//   if (m.match(line, 0) == 2) use(m.get_substring(1));
//
// Patterns are Perl-compatible and case-sensitive; "." is any byte (a line feed included) and "$"
// is the end of the subject only.
//
// A matcher keeps where the subject of its last match lies and the group offsets, so it serves one
// thread at a time. It does not copy the subject: the group texts (get_substring, group_view) are
// read from the caller's string, so they are good only while that string lives unchanged; match a
// named string, not a temporary, and take the groups before the string is changed or released.
// Matching allocates nothing: the match data is made once per matcher, the JIT stack once per
// thread.
//
// The compiled code is the process's: every matcher of the same pattern and options shares one
// compiled and one JIT-compiled copy, made by the first compile() or study() and never changed
// afterwards, so matchers on separate threads share nothing they write. Building a matcher again
// costs its match data, not a compilation.
#pragma once

#include <memory>
#include <string_view>

#include "cncprobe/export.h"
#include "cncprobe/platform/text/string.h"

class CNCPROBE_API reMatcher {
 public:
  // Option bits accepted by compile(), numbered as the classic PCRE interface numbers them.
  static constexpr int kCaseless = 0x01;
  static constexpr int kMultiline = 0x02;
  static constexpr int kDotAll = 0x04;
  static constexpr int kExtended = 0x08;
  static constexpr int kAnchored = 0x10;

  // Keeps the pattern; the matcher matches nothing until compile() has succeeded.
  explicit reMatcher(const utString& pattern);
  ~reMatcher();
  reMatcher(const reMatcher&) = delete;
  reMatcher& operator=(const reMatcher&) = delete;

  // Compiles the pattern with the option bits above. Non-zero on success; on failure
  // `error_text` describes the fault and `error_offset` is where in the pattern it lies.
  int compile(int options, utString& error_text, int& error_offset);

  // JIT-compiles the pattern for faster matching (options are ignored). Non-zero when the JIT is
  // in use; matching still works, interpreted, when it is not.
  int study(utString& error_text, int options);

  // Matches `subject` from byte offset `start`. On success: one more than the highest-numbered
  // capture group that took part (1 for a pattern without groups). Negative for no match, for an
  // uncompiled pattern, an offset beyond the subject, or a match that hit a resource limit. The
  // subject is not copied (see above).
  int match(const utString& subject, int start);

  // The text that `group` (from 1; 0 is the whole match) covered in the last successful match;
  // an invalid string for a group that did not take part or when the last match failed. Read
  // from the subject, which must still be as it was matched.
  utString get_substring(int group) const;
  // The same text as a view into the subject of the last successful match, without a copy; an
  // empty view where get_substring gives an invalid string. Valid until the next match and while
  // the subject lives unchanged.
  std::string_view group_view(int group) const noexcept;

  const utString& pattern() const noexcept { return pattern_; }

 private:
  struct Impl;
  utString pattern_;
  std::unique_ptr<Impl> impl_;
};

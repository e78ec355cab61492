// as_unprivileged_user: runs a check as a user who cannot read a file of mode 0, also when the
// tests run as root (as they do in CI), where every such file would be readable.
//
// As root the check runs in a child process that gave up root for the user and group nobody
// (65534) and every supplementary group; otherwise it runs here. POSIX only.
//
//   EXPECT_TRUE(as_unprivileged_user([&] { return read(locked).problem() == kDenied; }));
#pragma once

#include <grp.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <functional>

// Whether check() returned true, run as a user without root's rights; false when root could not
// be given up or the child ended otherwise.
inline bool as_unprivileged_user(const std::function<bool()>& check) {
  if (::geteuid() != 0) return check();
  const pid_t child = ::fork();
  if (child < 0) return false;
  if (child == 0) {
    constexpr uid_t kNobody = 65534;
    const bool dropped =
        ::setgroups(0, nullptr) == 0 && ::setgid(kNobody) == 0 && ::setuid(kNobody) == 0;
    ::_exit(dropped && ::geteuid() == kNobody && check() ? 0 : 1);
  }
  int status = 0;
  pid_t waited;
  do {
    waited = ::waitpid(child, &status, 0);
  } while (waited < 0 && errno == EINTR);
  return waited == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

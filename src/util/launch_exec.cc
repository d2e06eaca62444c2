// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Process launcher: runs one helper program at a time and collects its standard error.

#include "corvane/launch_exec.h"

#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>

#include "corvane/appliance_utils.h"
#include "corvane/log.h"
#include "log/process_id.h"

namespace corvane {
namespace {

char const kTempTemplate[] = "/tmp/le.XXXXXX";

char const* orNull(char const* text) { return text != nullptr ? text : "(null)"; }

// Untranslated system error text. `strerror` may go through gettext, which locks and
// allocates; the child below must do neither, so both sides use the plain table.
char const* errorText(int err) {
  char const* text = strerrordesc_np(err);
  return text != nullptr ? text : "Unknown error";
}

void traceExit(int rc) { log::trace(7, "Exit  LaunchExec::launch, rc %d", rc); }

// The file that catches the child's standard error. Removed on every way out of `launch`
// (the child never runs this destructor: it leaves through execv or _exit).
class StderrFile {
 public:
  StderrFile() {
    memcpy(mName, kTempTemplate, sizeof mName);
    // Close-on-exec so that no other program ever inherits it; the child's dup2 onto
    // descriptor 2 gives it a copy without the flag.
    mFd = mkostemp(mName, O_CLOEXEC);
    if (mFd < 0) {
      log::trace(3, "Can't create temp %s, %s", kTempTemplate, errorText(errno));
      return;
    }
    mCreated = true;
    // A host with a closed standard descriptor would get it back here, and the child's
    // dup2 calls would then overwrite it; keep it clear of 0, 1 and 2.
    if (mFd < 3) {
      int moved = fcntl(mFd, F_DUPFD_CLOEXEC, 3);
      ::close(mFd);
      mFd = moved;
      if (mFd < 0) log::trace(3, "Can't create temp %s, %s", kTempTemplate, errorText(errno));
    }
  }
  ~StderrFile() {
    closeFd();
    if (mCreated) unlink(mName);
  }
  StderrFile(StderrFile const&) = delete;
  StderrFile& operator=(StderrFile const&) = delete;

  // True when the file exists and can be read back after the child ends.
  bool created() const { return mCreated; }
  int fd() const { return mFd; }
  char const* name() const { return mName; }
  void closeFd() {
    if (mFd >= 0) ::close(mFd);
    mFd = -1;
  }

 private:
  char mName[sizeof kTempTemplate];
  int mFd = -1;
  bool mCreated = false;
};

// Restores the caller's SIGCHLD disposition when the launch ends, however it ends.
class SigchldDefault {
 public:
  SigchldDefault() {
    struct sigaction dfl;
    memset(&dfl, 0, sizeof dfl);
    dfl.sa_handler = SIG_DFL;
    dfl.sa_flags = SA_RESTART;
    sigemptyset(&dfl.sa_mask);
    mSaved = sigaction(SIGCHLD, &dfl, &mOld) == 0;
  }
  ~SigchldDefault() { restore(); }
  SigchldDefault(SigchldDefault const&) = delete;
  SigchldDefault& operator=(SigchldDefault const&) = delete;

  void restore() {
    if (mSaved) sigaction(SIGCHLD, &mOld, nullptr);
    mSaved = false;
  }

 private:
  struct sigaction mOld;
  bool mSaved = false;
};

// Runs in the child between vfork and execv. The child borrows the parent's memory until it
// execs (the parent's thread waits) and the host may have other threads whose locks it must
// never take, so only async-signal-safe work happens here: system calls on values prepared
// before the vfork, writing nothing but this function's own stack and the logger's remembered
// process id (which the parent forgets again once the child has gone). Signals arrive blocked;
// handlers of the host are reset before the mask is restored, so none of them can run on the
// borrowed memory. The two trace lines are kept: the parent made sure the logger exists, and
// a trace formats into stack buffers and sends one datagram, with no heap and no lock. The
// error text comes from the untranslated table, not from gettext. (Only a failed send makes
// the logger write to stderr through stdio; that rare path is accepted.)
[[noreturn]] void runChild(char const* const* argv, int stdinFd, int stdoutFd, char const* workdir,
                           int tempFd, sigset_t const* mask) {
  // This child shares the parent thread's memory: its lines must carry its own id.
  log::forgetPid();
  for (int sig = 1; sig < NSIG; ++sig) {
    struct sigaction current;
    if (sigaction(sig, nullptr, &current) == 0 && current.sa_handler != SIG_DFL &&
        current.sa_handler != SIG_IGN) {
      signal(sig, SIG_DFL);
    }
  }
  pthread_sigmask(SIG_SETMASK, mask, nullptr);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (workdir != nullptr && chdir(workdir) != 0) _exit(LaunchExec::kNoWorkdir);
  if (stdoutFd >= 0 && (dup2(stdoutFd, 1) < 0 || dup2(stdoutFd, 2) < 0)) {
    _exit(LaunchExec::kDupStdout);
  }
  if (stdinFd >= 0 && dup2(stdinFd, 0) < 0) _exit(LaunchExec::kDupStdin);
  // Standard error always goes to the capture file; without one it stays as it is.
  if (tempFd >= 0) dup2(tempFd, 2);
  log::trace(3, "LaunchExec execv call to %s", argv[0]);
  execv(argv[0], const_cast<char* const*>(argv));
  int err = errno;
  log::trace(3, "LaunchExec execv returned from %s: %s", argv[0], errorText(err));
  _exit(LaunchExec::kExecError);
}

// Appends the captured lines to `stderrList` (when given) and traces each one.
void collectStderr(char const* path, char const* caller, char const* program,
                   std::vector<std::string>* stderrList) {
  std::unique_ptr<FILE, int (*)(FILE*)> file(fopen(path, "re"), fclose);
  if (!file) return;
  struct LineBuffer {
    ~LineBuffer() { free(data); }
    char* data = nullptr;
    size_t capacity = 0;
  } line;
  ssize_t length;
  while ((length = getline(&line.data, &line.capacity, file.get())) >= 0) {
    if (length > 0 && line.data[length - 1] == '\n') line.data[--length] = '\0';
    log::trace(3, "%s %s %s", orNull(caller), program, line.data);
    if (stderrList != nullptr) {
      stderrList->emplace_back(line.data, static_cast<size_t>(length));
    }
  }
}

}  // namespace

int LaunchExec::launch(char const* const* argv, char const* caller,
                       std::vector<std::string>* stderrList, int stdinFd, int stdoutFd,
                       char const* workdir, int* status) {
  log::trace(7, "Enter LaunchExec::launch");
  log::trace(7,
             "argv %p, caller %s, stderrList %p, stdinFd %d, stdoutFd %d, workdir %s, "
             "status %p",
             static_cast<void const*>(argv), orNull(caller), static_cast<void*>(stderrList),
             stdinFd, stdoutFd, orNull(workdir), static_cast<void*>(status));

  if (argv == nullptr || argv[0] == nullptr) {
    traceExit(kNotTerminated);
    return kNotTerminated;
  }
  for (int count = 0; argv[count] != nullptr;) {
    if (++count > kMaxArgs) {
      traceExit(kNotTerminated);
      return kNotTerminated;
    }
  }
  char const* program = argv[0];

  StderrFile temp;
  // A handler installed by the host would otherwise reap the child before we do.
  SigchldDefault sigchld;

  std::string locale = applianceUtils::getLocale();
  if (!locale.empty()) {
    // Set in our own environment on purpose: the child inherits it and the caller keeps it.
    if (setenv("LANG", locale.c_str(), 1) != 0) log::trace(3, "setenv LANG failed");
    log::trace(7, "getLocale returned %s", locale.c_str());
    char const* lang = getenv("LANG");
    log::trace(7, "getenv2 returned %s", lang != nullptr ? lang : "NULL");
  } else {
    log::trace(3, "getLocale returned %s", "NULL");
  }

  // The child traces; the logger must not be created there.
  log::getLogger();
  // vfork, not fork: the child runs only until execv, and copying the parent's page tables
  // and then its written pages would cost every launch a large share of the child's run.
  sigset_t all, mask;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, &mask);
  pid_t child = vfork();
  if (child == 0) runChild(argv, stdinFd, stdoutFd, workdir, temp.fd(), &mask);
  int err = errno;
  log::forgetPid();  // the child may have left its own id here
  pthread_sigmask(SIG_SETMASK, &mask, nullptr);
  if (child < 0) {
    sigchld.restore();
    log::trace(3, "Can't create %s task, %s", program, errorText(err));
    traceExit(kCannotSpawn);
    return kCannotSpawn;
  }

  // Level 3 although nothing failed; operators rely on seeing every launch.
  log::trace(3, "%s task started with id 0x%x", program, static_cast<unsigned>(child));
  int raw = 0;
  pid_t waited;
  do {
    waited = waitpid(child, &raw, 0);
  } while (waited < 0 && errno == EINTR);
  int waitErr = errno;

  sigchld.restore();
  temp.closeFd();
  log::trace(7,
             "LaunchExec waitpidstatus %d, retstatus %d, WIFEXITED %d, WIFSIGNALED %d, "
             "WIFSTOPPED %d, WEXITSTATUS %d",
             static_cast<int>(waited), raw, WIFEXITED(raw) ? 1 : 0, WIFSIGNALED(raw) ? 1 : 0,
             WIFSTOPPED(raw) ? 1 : 0, WEXITSTATUS(raw));
  if (temp.created()) collectStderr(temp.name(), caller, program, stderrList);

  if (waited < 0) {
    log::trace(3, "%s task waitpid error, %s", program, errorText(waitErr));
    traceExit(kWaitError);
    return kWaitError;
  }
  int exitStatus = (raw >> 8) & 0xff;
  if ((raw & 0x7f) != 0) {
    // "abormally" is the message operators search for; keep the spelling.
    log::trace(3, "%s task exited abormally; status 0x%x", program, static_cast<unsigned>(raw));
    exitStatus = -1;
  }
  if (status != nullptr) *status = exitStatus;
  if (exitStatus != 0) {
    log::trace(3, "%s task exit %d", program, exitStatus);
    traceExit(kChildNonZero);
    return kChildNonZero;
  }
  traceExit(kNoError);
  return kNoError;
}

int LaunchExec::launch(std::vector<std::string>& args, char const* caller,
                       std::vector<std::string>* stderrList, int stdinFd, int stdoutFd,
                       char const* workdir, int* status) {
  std::vector<std::unique_ptr<char[]>> copies;
  copies.reserve(args.size());
  std::vector<char const*> argv;
  argv.reserve(args.size() + 1);
  for (std::string const& arg : args) {
    copies.emplace_back(new char[arg.size() + 1]);
    memcpy(copies.back().get(), arg.c_str(), arg.size() + 1);
    argv.push_back(copies.back().get());
  }
  argv.push_back(nullptr);

  log::trace(7, "Enter LaunchExec::launch");
  log::trace(7,
             "argv %p, caller %s, stderrList %p, stdinFd %d, stdoutFd %d, workdir %s, "
             "status %p",
             static_cast<void const*>(argv.data()), orNull(caller), static_cast<void*>(stderrList),
             stdinFd, stdoutFd, orNull(workdir), static_cast<void*>(status));
  int rc = launch(argv.data(), caller, stderrList, stdinFd, stdoutFd, workdir, status);
  log::trace(7, "Exit  LaunchExec::launch");
  return rc;
}

char const* LaunchExec::getExitDescription(int code) {
  static char const* const kDescriptions[] = {
      "No error",
      "Child exited with non-zero status",
      "Cannot spawn task",
      "Child task exited abnormally",
      "Error waiting for child task",
      "Working directory not found",
      "Could not duplicate stdout",
      "Could not duplicate stdin",
      "Error executing",
      "Parameter list is not terminated",
  };
  log::trace(7, "Enter LaunchExec::getExitDescription, exitCode %d", code);
  int const count = static_cast<int>(sizeof kDescriptions / sizeof kDescriptions[0]);
  char const* result =
      code >= 0 && code < count ? kDescriptions[code] : "Undefined internal exit code";
  log::trace(7, "Exit  LaunchExec::getExitDescription, result %s", result);
  return result;
}

}  // namespace corvane

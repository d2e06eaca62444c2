// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Local maintenance on files: the factory reset with its reboot, the SSH host keys, the
// close-on-exec flag and the CPU count.

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>

#include "corvane/appliance_utils.h"
#include "corvane/launch_exec.h"
#include "corvane/log.h"
#include "corvane/utils.h"

namespace corvane {
namespace applianceUtils {

namespace {

char const kUsersFile[] = "/etc/corvane/users.xml";
char const kUsersFactoryFile[] = "/etc/corvane/users.xml.orig";
char const kKeyStrengthFile[] = "/etc/corvane/keyStrength";
char const kVarLog[] = "/var/log";

// The first line of the key-strength file is "false"; an unreadable file is traced and
// counts as strong.
bool keysMarkedWeak() {
  std::ifstream in(kKeyStrengthFile);
  if (!in.is_open()) {
    int error = errno;
    log::trace(3, "unable to open file '%s' for reading, error=%s", kKeyStrengthFile,
               strerror(error));
    return false;
  }
  std::string line;
  std::getline(in, line);
  return line == "false";
}

// Step 7 of the reset: the user store back to its factory copy.
void restoreUsers(std::vector<std::string>& messages) {
  std::ifstream factory(kUsersFactoryFile);
  if (access(kUsersFile, W_OK) != 0 || !factory.is_open()) {
    log::trace(3, "unable to access %s, or missing backup", kUsersFile);
    messages.push_back("cli_dev_user_not_reset");
    return;
  }
  std::ofstream users(kUsersFile, std::ios::out | std::ios::trunc);
  for (std::string line; std::getline(factory, line);) users << line << std::endl;
  messages.push_back("cli_dev_reset_complete");
}

// Step 8 of the reset: ask init for runlevel 6.
int requestReboot(std::vector<std::string>& messages) {
  std::vector<std::string> args{"/sbin/telinit", "6"};
  int rc = LaunchExec::launch(args, "requestReboot", nullptr, -1, -1, nullptr, nullptr);
  if (rc != 0) {
    log::trace(3, "Reboot runlevel returns %d - %s\n", rc, LaunchExec::getExitDescription(rc));
    log::trace(3, "Reboot request failed");
    return 3;
  }
  log::trace(5, "Reboot requested via runlevel 6\n");
  messages.push_back("cli_gen_print_ok");
  return 0;
}

}  // namespace

char const* const resetFileList[] = {
    "/etc/ssh/ssh_host_rsa_key",
    "/etc/ssh/ssh_host_rsa_key.pub",
    "/etc/ssh/ssh_host_dsa_key",
    "/etc/ssh/ssh_host_dsa_key.pub",
    "/etc/corvane/dns.xml",
    "/etc/corvane/ntp.xml",
    "/etc/resolv.conf",
    "/etc/ntp.conf",
    "/etc/hostname",
    "/etc/corvane/locale.xml",
    "/etc/localtime",
    nullptr,
};

// Error-checking, so that a reset started again from the thread that holds the lock is
// refused instead of deadlocking.
pthread_mutex_t mResetMutex = PTHREAD_ERRORCHECK_MUTEX_INITIALIZER_NP;

void removeFile(std::string const& path, std::vector<resetFileError> errors) {
  if (unlink(path.c_str()) != 0 && errno != ENOENT) errors.push_back({path, errno});
}

void removeDir(std::string const& path, std::vector<std::string> exclusions,
               std::vector<resetFileError> errors) {
  auto excluded = [&exclusions](std::string const& p) {
    return std::find(exclusions.begin(), exclusions.end(), p) != exclusions.end();
  };
  if (excluded(path)) return;
  std::unique_ptr<DIR, int (*)(DIR*)> dir(opendir(path.c_str()), closedir);
  if (!dir) {
    log::trace(3, "Unable to open directory: %s, errno=%d", path.c_str(), errno);
    return;
  }
  while (dirent* entry = readdir(dir.get())) {
    if (strcmp(entry->d_name, ".") == 0 || strcmp(entry->d_name, "..") == 0) continue;
    std::string child = path + "/" + entry->d_name;
    struct stat st;
    if (stat(child.c_str(), &st) != 0) {
      log::trace(3, "Unable to stat file: %s, errno=%d\n", child.c_str(), errno);
      continue;
    }
    if (S_ISDIR(st.st_mode)) {
      removeDir(child, exclusions, errors);
    } else if (!excluded(child)) {
      removeFile(child, errors);
    }
  }
}

int deviceRESET(std::vector<resetFileError>& errors, std::vector<std::string>& messages) {
  errors.clear();
  messages.clear();
  if (pthread_mutex_lock(&mResetMutex) != 0) {
    // Two blanks after the full stop: the text is matched by log watchers as it stands.
    log::trace(4, "Unable to lock reset mutex.  Shutdown, restart or reset is already in progress");
    messages.push_back("cli_dev_shutdown_in_prog");
    return 1;
  }
  // The helpers get copies of `errors`: the caller's list stays empty, as it always has.
  removeDir("/etc/corvane/config", {"/etc/corvane/config/default/msglib"}, errors);
  removeDir("/tmp/.networkManager/", {}, errors);
  for (char const* const* file = resetFileList; *file != nullptr; ++file) {
    removeFile(*file, errors);
  }
  for (std::string const& name : utils::readDir(kVarLog, "*")) {
    std::string path = std::string(kVarLog) + "/" + name;
    struct stat st;
    if (stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) continue;
    removeFile(path, errors);
  }
  restoreUsers(messages);
  int rc = requestReboot(messages);
  pthread_mutex_unlock(&mResetMutex);
  return rc;
}

int deviceRESET(std::vector<resetFileError>& errors) {
  std::vector<std::string> messages;
  return deviceRESET(errors, messages);
}

bool closeOnExec(int fd, bool on) {
  int flags = fcntl(fd, F_GETFD);
  if (flags < 0) return false;
  flags = on ? (flags | FD_CLOEXEC) : (flags & ~FD_CLOEXEC);
  return fcntl(fd, F_SETFD, flags) == 0;
}

int getCPUCount() {
  if (!isAppliance()) return 1;
  std::ifstream in("/proc/cpuinfo");
  if (!in.is_open()) return 1;
  // Starts at 1 and counts every processor on top: n + 1, deliberately kept.
  int count = 1;
  for (std::string line; std::getline(in, line);) {
    if (line.compare(0, 9, "processor") == 0) ++count;
  }
  return count;
}

bool areHostSSHKeysStrong() { return !keysMarkedWeak(); }

int resetHostSSHKeys() {
  static struct {
    char const* path;
    char const* what;
  } const kKeys[] = {
      {"/etc/ssh/ssh_host_rsa_key", "RSA privkey"},
      {"/etc/ssh/ssh_host_rsa_key.pub", "RSA pubkey"},
      {"/etc/ssh/ssh_host_dsa_key", "DSA privkey"},
      {"/etc/ssh/ssh_host_dsa_key.pub", "DSA pubkey"},
  };
  for (auto const& key : kKeys) {
    if (unlink(key.path) != 0 && errno != ENOENT) {
      log::trace(3, "Removing %s error code %d", key.what, errno);
    }
  }
  std::vector<std::string> args{"/usr/sbin/sshdStarter"};
  int rc = LaunchExec::launch(args, "SSHKeyReset", nullptr, -1, -1, nullptr, nullptr);
  if (rc != 0) {
    // The stray apostrophe is part of the text as log watchers know it.
    log::trace(3, "unable to reset SSH host keys', rc %d: %s", rc,
               LaunchExec::getExitDescription(rc));
    return 2;
  }
  log::log(6, "KTXCV01100D", nullptr, 0, nullptr);
  log::trace(6, "SSH host keys have been reset");
  if (keysMarkedWeak()) {
    log::trace(4, "Host SSH keys are not optimally strong");
    return 1;
  }
  return 0;
}

}  // namespace applianceUtils
}  // namespace corvane

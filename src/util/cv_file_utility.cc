// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// File moves across file systems, directory creation and removal, and path helpers.

#include "corvane/cv_file_utility.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>

namespace corvane {

namespace {

size_t const kBlock = 4096;
int const kWriteRetries = 5;

// Writes all of `data`, retrying partial writes; a failing write (other than an interrupt)
// is retried after a `sync()`, which may free space held by dirty pages, up to 5 times.
bool writeBlock(int fd, char const* data, size_t size) {
  int retries = 0;
  while (size > 0) {
    ssize_t written = write(fd, data, size);
    if (written > 0) {
      data += written;
      size -= static_cast<size_t>(written);
      continue;
    }
    if (written < 0 && errno == EINTR) continue;
    if (++retries > kWriteRetries) return false;
    sync();
  }
  return true;
}

bool absoluteEnough(std::string const& path) { return path.size() >= 2 && path[0] == '/'; }

}  // namespace

int cvFileUtility::moveFile(std::string const& from, std::string const& to) {
  if (rename(from.c_str(), to.c_str()) == 0) return 0;
  if (errno != EXDEV) return -1;

  int in = open(from.c_str(), O_RDONLY | O_CLOEXEC);
  if (in < 0) return -2;
  struct stat st;
  if (fstat(in, &st) != 0) {
    close(in);
    return -3;
  }
  int out = open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, st.st_mode & 07777);
  if (out < 0) {
    close(in);
    return -4;
  }
  char block[kBlock];
  int rc = 0;
  for (;;) {
    ssize_t got = read(in, block, sizeof block);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      rc = -6;
      break;
    }
    if (got == 0) break;
    if (!writeBlock(out, block, static_cast<size_t>(got))) {
      rc = -5;
      break;
    }
  }
  close(in);
  if (close(out) != 0 && rc == 0) rc = -5;
  if (rc == 0 && unlink(from.c_str()) != 0) rc = -7;
  if (rc != 0) unlink(to.c_str());
  return rc;
}

bool cvFileUtility::isIgnored(std::string const& name) {
  return name == "." || name == ".." || name == "lost+found";
}

bool cvFileUtility::isRegularFile(std::string const& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

bool cvFileUtility::isDirectory(std::string const& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

std::string cvFileUtility::lastNode(std::string const& path) {
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string cvFileUtility::pathName(std::string const& dir, std::string const& name) {
  size_t dirEnd = dir.find_last_not_of('/');
  size_t nameStart = name.find_first_not_of('/');
  std::string joined = dirEnd == std::string::npos ? std::string() : dir.substr(0, dirEnd + 1);
  joined += '/';
  if (nameStart != std::string::npos) joined += name.substr(nameStart);
  return joined;
}

int cvFileUtility::makeDir(std::string const& path) {
  if (!absoluteEnough(path)) return 9;
  // Every ancestor first; one that exists already (as anything) is left to the final mkdir
  // to report.
  for (size_t slash = path.find('/', 1); slash != std::string::npos;
       slash = path.find('/', slash + 1)) {
    std::string ancestor = path.substr(0, slash);
    if (mkdir(ancestor.c_str(), 0777) != 0 && errno != EEXIST) return errno;
  }
  if (mkdir(path.c_str(), 0777) == 0) return 0;
  int error = errno;
  return error == EEXIST && isDirectory(path) ? 0 : error;
}

int cvFileUtility::removeDir(std::string const& path, bool removeSelf) {
  if (path == "/") return -1;
  if (!absoluteEnough(path)) return -2;
  std::unique_ptr<DIR, int (*)(DIR*)> dir(opendir(path.c_str()), closedir);
  if (!dir) return -3;
  while (dirent* entry = readdir(dir.get())) {
    std::string name = entry->d_name;
    if (name == "." || name == "..") continue;
    std::string child = pathName(path, name);
    if (unlink(child.c_str()) == 0) continue;
    // Linux answers EISDIR for a directory; POSIX allows EPERM.
    if (errno == EISDIR || (errno == EPERM && isDirectory(child))) removeDir(child, true);
  }
  dir.reset();
  if (removeSelf) rmdir(path.c_str());
  return 0;
}

}  // namespace corvane

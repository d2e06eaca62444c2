// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// File moves (also across file systems), directory creation and removal, and path helpers,
/// reporting by integer codes. All operations are static and may be called from any thread.

#ifndef CORVANE_CV_FILE_UTILITY_H
#define CORVANE_CV_FILE_UTILITY_H

#include <string>

#include "corvane/export.h"

namespace corvane {

class CORVANE_EXPORT cvFileUtility {
 public:
  /// Renames `from` to `to`; across file systems copies the data (with the source's mode) and
  /// deletes the source. 0 on success; -1 when the rename fails other than across file
  /// systems; when copying: -2 source not opened, -3 source not stat-able, -4 target not
  /// created, -5 a block not written whole (after 5 retries with sync), -6 a read error,
  /// -7 the source not deleted. After -5, -6 and -7 the target is deleted.
  static int moveFile(std::string const& from, std::string const& to);

  /// True for ".", ".." and "lost+found".
  static bool isIgnored(std::string const& name);
  /// True when `stat` succeeds and `path` is a regular file (follows links).
  static bool isRegularFile(std::string const& path);
  /// True when `stat` succeeds and `path` is a directory (follows links).
  static bool isDirectory(std::string const& path);

  /// The part of `path` after its last "/", or the whole path when it has none.
  static std::string lastNode(std::string const& path);
  /// `dir` without trailing slashes, one "/", then `name` without leading slashes.
  static std::string pathName(std::string const& dir, std::string const& name);

  /// Creates `path` and its missing ancestors with mode 0777 (less the umask). 0 when it
  /// exists as a directory afterwards; 9 for a relative path or one shorter than 2 characters
  /// (nothing is touched); otherwise the `errno` of the failing `mkdir`.
  static int makeDir(std::string const& path);

  /// Deletes everything inside directory `path` (subdirectories included) and, when
  /// `removeSelf`, the directory itself. Failures to delete single entries are ignored.
  /// 0; -1 for "/"; -2 for a relative path or one shorter than 2 characters; -3 when the
  /// directory cannot be opened.
  static int removeDir(std::string const& path, bool removeSelf);
};

}  // namespace corvane

#endif  // CORVANE_CV_FILE_UTILITY_H

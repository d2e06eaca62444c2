// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// Shared string and file helpers: readers of the problem-data collection manifests, a
/// tokenizer, a filtered directory lister, date and time text, base64 and the scrambling of
/// text for files that leave the appliance.

#ifndef CORVANE_UTILS_H
#define CORVANE_UTILS_H

#include <cstddef>
#include <string>
#include <vector>

#include "corvane/export.h"

namespace corvane {
namespace types {

/// One file of a collection manifest.
struct CORVANE_EXPORT fileEnt {
  enum : int { kObfuscate = 1, kShowable = 2, kFailsafe = 4, kDeleteAfterCollect = 8 };

  std::string name;  ///< path; "/primary" in front when read in fail-safe mode
  std::string help;  ///< the "help" attribute, empty when absent
  int flags = 0;     ///< bits of the enum above
};

}  // namespace types

namespace utils {

/// Reads the file-list manifest at `path` ("filelist" root, "file" and "glob" entries); with
/// `failsafe` every path gets "/primary" in front. Globs are expanded in directory order,
/// directories marked with a trailing slash. Caller owns the list; free with delete. Null when
/// the file cannot be opened or parsed or its root is not "filelist". Any thread.
CORVANE_EXPORT std::vector<types::fileEnt>* readFileEnts(char const* path, bool failsafe);

/// The names of `readFileEnts(path, failsafe)` in the same order. Caller owns the list; free
/// with delete. Null when `readFileEnts` gives none.
CORVANE_EXPORT std::vector<std::string>* readFilelist(char const* path, bool failsafe);

/// Reads the command-list manifest at `path` (at "/primary" + `path` with `failsafe`): the
/// trimmed texts of its "cli" and "cmd" entries; a relative "cmd" gets "/bin/" in front, an
/// absolute "cli" is refused and traced, with `failsafe` entries marked failsafe="false" are
/// left out. Caller owns the list; free with delete. Null (and a level 3 trace) when the file
/// cannot be parsed or its root is not "cmdlist".
CORVANE_EXPORT std::vector<std::string>* readCmdlist(char const* path, bool failsafe);

/// Cuts `text` (null gives no tokens) into tokens separated by blanks and tabs. Each character
/// of `specials` (may be null) is a token of its own; double or single quotes make one token of
/// their contents, a backslash inside them taking the next character literally; `stop` ends
/// the split (pass '\0' for none).
CORVANE_EXPORT std::vector<std::string> Split(char const* text, char const* specials, char stop);

/// Appends the runs of non-white-space characters of `text` to `out` (nothing when null).
CORVANE_EXPORT void Split2(std::string const& text, std::vector<std::string>* out);

/// The names in directory `path` that do not begin with "." (hidden files are left out
/// deliberately) and, when `pattern` is not null, `Match` it; sorted by byte value. Empty when
/// the directory cannot be read.
CORVANE_EXPORT std::vector<std::string> readDir(char const* path, char const* pattern);

/// Shell-style match of the first `length` bytes of `name` against `pattern`: "*" any run,
/// "?" any one byte, "[set]" one byte of the set ("^" first negates, "a-z" ranges, "]" or "-"
/// first is literal). The pattern "*" alone matches everything. A "[" without its "]" is a
/// literal. False for a null pattern or name.
CORVANE_EXPORT bool Match(char const* name, size_t length, char const* pattern);

/// Mode 1: `seconds` as UTC text "%FT%TZ" (2024-01-31T12:00:00Z). Any other mode: ICU's medium
/// date and medium time of the default locale, in time zone `zone` when not empty (ICU's
/// default zone otherwise), as UTF-8. Empty when formatting fails.
CORVANE_EXPORT std::string formatDateTime(long seconds, int mode, std::string const& zone);

/// (4n + 3) / 3 + 2: more than the base64 length of `n` bytes; kept as it is.
CORVANE_EXPORT size_t base64EncodedSize(size_t n);

/// Writes the base64 text of `data[0..n)` and a terminating zero to `buf`. Null (nothing
/// written) when `base64EncodedSize(n) + 1` exceeds `size` or `buf` is null; else `buf`.
CORVANE_EXPORT char* base64EncodeToBuffer(void const* data, size_t n, char* buf, size_t size);

/// Always null: it allocates `base64EncodedSize(n)` bytes, offers exactly that to
/// `base64EncodeToBuffer`, which refuses, and does not free them. Deliberate and relied upon
/// (callers use `obfuscate` or `base64EncodeToBuffer`); kept for the interface.
CORVANE_EXPORT char* base64Encode(void const* data, size_t n);

/// Base64 of the bytes of `text` (without its zero), scrambled by `obfuscateBase64Buffer`.
/// With `buf` null a buffer of `base64EncodedSize(strlen(text)) + 1` bytes is allocated (caller
/// owns; free with delete[]); a given `buf` must hold as much. Null when `text` is null or
/// allocation fails. Uses `rand()`.
CORVANE_EXPORT char* obfuscate(char const* text, char* buf);

/// Scrambles the base64 text `text` (zero-terminated) in place: each trailing "=" becomes one
/// of the pad characters "-._~*" chosen with `rand()`, every other character its entry in the
/// library's fixed substitution table (a permutation of the base64 alphabet; other bytes stay).
/// Not a cipher. Null is ignored.
CORVANE_EXPORT void obfuscateBase64Buffer(char* text);

/// Writes the scrambled base64 of file `source` to `target`, each 4096-byte block encoded and
/// scrambled on its own (so each full block ends with its own padding: the required format).
/// 0 on success; -1 when the source cannot be opened; -2 when the target cannot be opened;
/// -3 when reading, encoding or writing fails (the target is then deleted).
CORVANE_EXPORT int obfuscateFile(char const* source, char const* target);

}  // namespace utils
}  // namespace corvane

#endif  // CORVANE_UTILS_H

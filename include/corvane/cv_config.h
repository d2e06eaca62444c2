// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/* Settings file of the appliance: integers and yes/no switches with built-in defaults,
 * read from "/etc/corvane.cfg" afresh on every call. Usable from C and C++. */

#ifndef CORVANE_CV_CONFIG_H
#define CORVANE_CV_CONFIG_H

#include "corvane/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Path of the settings file, "/etc/corvane.cfg" at start. A program may overwrite it (at
 * most 31 characters and the terminating zero) before calling the functions below to read
 * another file. Not guarded: do not change it while another thread reads settings. */
extern CORVANE_EXPORT char cvConfig__Path[32];

/* The value of the first line "key=value" whose key equals `key` ignoring case, read with
 * base prefixes ("0x" hexadecimal, leading "0" octal). An empty or non-numeric value reads
 * as 0. Returns `defaultValue` when the file or key is missing, when characters follow the
 * number, or when the number is outside -2147483647..2147483646. Never logs. */
CORVANE_EXPORT int cvConfig__Get_int(char const* key, int defaultValue);

/* 1 when the first matching value starts with T, t, Y or y; 0 when it starts with F, f, N or
 * n; `defaultValue` otherwise (missing file or key, empty value, digits, "on"). Never logs. */
CORVANE_EXPORT int cvConfig__Get_flag(char const* key, int defaultValue);

#ifdef __cplusplus
}
#endif

#endif /* CORVANE_CV_CONFIG_H */

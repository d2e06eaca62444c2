// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// Symbol visibility of the library's public interface. The library is built with hidden
/// visibility; every class and function a program may use is marked `CORVANE_EXPORT`.

#ifndef CORVANE_EXPORT_H
#define CORVANE_EXPORT_H

#define CORVANE_EXPORT __attribute__((visibility("default")))

#endif  // CORVANE_EXPORT_H

// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Enter/exit tracing of one function call, switched by level 7 and the category mask.

#include <cstdio>

#include "corvane/log.h"

namespace corvane {

namespace {

constexpr unsigned kTraceLevel = 7;

char const* orNull(char const* text) { return text != nullptr ? text : "(null)"; }

}  // namespace

Tracer::Tracer(char const* function, char const* file, int line, unsigned categories)
    : mFunction(function),
      mFile(file),
      mLine(line),
      mLevel(kTraceLevel),
      mKind(kNotSet),
      mEnabled(false) {
  mResult.l = 0;
  mArgs[0] = '\0';
  Logger const* logger = sLog;
  if (logger == nullptr || (static_cast<unsigned>(logger->mask()) & categories) == 0) return;
  mEnabled = logger->level() == mLevel;
  if (mEnabled) {
    log::trace(mLevel, "---> Enter %s, %s line %d", orNull(mFunction), orNull(mFile), mLine);
  }
}

void Tracer::args(char const* format, ...) {
  if (!mEnabled || format == nullptr) return;
  va_list list;
  va_start(list, format);
  vsnprintf(mArgs, sizeof mArgs, format, list);
  va_end(list);
  log::trace(mLevel, "---- Args  %s, %s", orNull(mFunction), mArgs);
}

Tracer::~Tracer() {
  if (!mEnabled) return;
  char const* name = orNull(mFunction);
  switch (mKind) {
    case kNotSet:
      log::trace(mLevel, "<--- Exit  %s, result not set", name);
      break;
    case kInt:
      log::trace(mLevel, "<--- Exit  %s, result is %d", name, mResult.i);
      break;
    case kPointer:
    case kPointer4:
    case kPointer9:
      log::trace(mLevel, "<--- Exit  %s, result is %p", name, mResult.p);
      break;
    case kLong:
      log::trace(mLevel, "<--- Exit  %s, result is %ld", name, mResult.l);
      break;
    case kChar:
      log::trace(mLevel, "<--- Exit  %s, result is %c", name, mResult.c);
      break;
    case kString:
      log::trace(mLevel, "<--- Exit  %s, result is %s", name, orNull(mResult.s));
      break;
    case kBool:
      log::trace(mLevel, "<--- Exit  %s, result is %s", name, mResult.b ? "true" : "false");
      break;
    case kVoid:
      log::trace(mLevel, "<--- Exit  %s, result is void", name);
      break;
    default:
      // Kinds above 9 print nothing.
      break;
  }
}

}  // namespace corvane

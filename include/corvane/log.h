// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// Process-wide logging: syslog datagrams for trace lines and catalog messages, catalog
/// messages also to the log receiver, and enter/exit tracing by category mask.
///   corvane::log::init("myprog");
///   corvane::log::trace(6, "started with %d workers", n);

#ifndef CORVANE_LOG_H
#define CORVANE_LOG_H

#include "corvane/export.h"

#include <cstdarg>

#include <unicode/fmtable.h>
#include <unicode/ucnv.h>

namespace corvane {

class msgCat;

/// The process-wide logger. Created by `log::init` (or on demand with ident "no-identity"
/// and level 7) and never deleted by the library. Create it before starting threads; after
/// that its operations may run on any thread (no locks, one datagram per line).
class CORVANE_EXPORT Logger {
 public:
  /// Opens the UDP socket (close-on-exec), looks up "syslogng"/udp and "logreceiver"/tcp
  /// once, opens the catalog `corvane` in en_US. Mask starts at 0.
  Logger(char const* ident, unsigned level);
  /// Resets `sLog` when this is it; closes the socket, converter and catalog.
  ~Logger();

  Logger(Logger const&) = delete;
  Logger& operator=(Logger const&) = delete;

  /// Formats a free-text line and sends it when `level` passes the threshold.
  void printf(unsigned facility, unsigned level, char const* format, va_list args)
      __attribute__((format(printf, 4, 0)));
  /// Builds and sends one datagram of at most 1024 bytes; `tag` may be null.
  void send2Syslog(unsigned facility, unsigned level, char const* tag, char const* text,
                   int length);
  /// Sends catalog message `msgid` in US English to syslog and, raw, to the log receiver.
  void log(unsigned facility, unsigned level, char const* msgid, icu::Formattable* args,
           unsigned count, char const* objectid);
  /// Sends `msgid` and its arguments to the log receiver; failures are dropped.
  void send2LogReceiver(char const* msgid, icu::Formattable* args, unsigned count,
                        char const* objectid);

  unsigned level() const { return mLogLevel; }
  void setLevel(unsigned level) { mLogLevel = level; }
  int mask() const { return mLogMask; }
  void setMask(int mask) { mLogMask = mask; }
  char const* ident() const { return mIdent; }
  /// Replaces the ident by a copy of `ident`.
  void setIdent(char const* ident);

 private:
  /// Fields in this order; programs built against the library depend on the layout.
  UConverter* mConverter;
  unsigned mLogLevel;
  int mSocket;
  char* mIdent;
  int mSyslogPort;
  msgCat* mCatalog;
  int mLogMask;
  int mLogReceiverPort;
};

/// The one logger; null until first use. Owned by the library.
extern CORVANE_EXPORT Logger* sLog;

namespace log {

enum : unsigned {
  kFacilityTrace = 136,  // local1
  kFacilityCatalog = 8,  // user
};

/// Returns `sLog`, creating it as Logger("no-identity", 7) when null.
CORVANE_EXPORT Logger* getLogger();
/// Ensures the logger, applies the device locale as process default, sets the ident;
/// when verbose traces "LOGGER ident %s, init %p" at level 4.
CORVANE_EXPORT void init(char const* ident, bool verbose);
CORVANE_EXPORT void init(char const* ident);

CORVANE_EXPORT void setLogLevel(unsigned level);
CORVANE_EXPORT unsigned getLogLevel();
CORVANE_EXPORT void setLogMask(int mask);
CORVANE_EXPORT int getLogMask();
/// Sets the level, and the mask only when the new level is 7; then `showLevels`.
CORVANE_EXPORT void setLogging(unsigned level, int mask);
/// Traces "LOGGER sLog %p, mLogLevel %d, mLogMask %08X" at level 4.
CORVANE_EXPORT void showLevels();

/// Free-text line with facility 136. Creates the logger when needed.
CORVANE_EXPORT void trace(unsigned level, char const* format, ...)
    __attribute__((format(printf, 2, 3)));
/// The same with a ready argument list; requires the logger to exist.
CORVANE_EXPORT void vtrace(unsigned level, char const* format, va_list args)
    __attribute__((format(printf, 2, 0)));
/// The Thrift library's error-output hook: "thrift: %s" at level 3.
CORVANE_EXPORT void thrifterr(char const* text);
/// Catalog message with facility 8 on the existing logger (`init` first). `args` holds
/// `count` arguments for the numbered placeholders; `objectid` may be null.
CORVANE_EXPORT void log(unsigned level, char const* msgid, icu::Formattable* args, unsigned count,
                        char const* objectid);

}  // namespace log

/// Enter/exit tracing of one function call, placed at the top of the function:
///   Tracer t("distributeLogging", "processManagerUtils", __LINE__, 0xFFFFFFFF);
///   t.args("inLog %08X, inMask %08X", level, mask);
///   ...
///   t.result(rc);
/// Lines appear only when the logger's level is exactly the tracer's (7) and the mask shares
/// a bit with `categories`. Costs one comparison when off.
class CORVANE_EXPORT Tracer {
 public:
  enum Kind : unsigned {
    kNotSet = 0,
    kInt = 1,
    kPointer = 2,
    kLong = 3,
    kPointer4 = 4,
    kChar = 5,
    kString = 6,
    kBool = 7,
    kVoid = 8,
    kPointer9 = 9,
  };

  Tracer(char const* function, char const* file, int line, unsigned categories);
  ~Tracer();

  Tracer(Tracer const&) = delete;
  Tracer& operator=(Tracer const&) = delete;

  bool enabled() const { return mEnabled; }
  /// Formats the argument text and traces "---- Args  %s, %s" (when enabled).
  void args(char const* format, ...) __attribute__((format(printf, 2, 3)));

  void result(int v) {
    mResult.i = v;
    mKind = kInt;
  }
  void result(long v) {
    mResult.l = v;
    mKind = kLong;
  }
  void result(char v) {
    mResult.c = v;
    mKind = kChar;
  }
  void result(bool v) {
    mResult.b = v;
    mKind = kBool;
  }
  void result(void const* v) {
    mResult.p = v;
    mKind = kPointer;
  }
  /// `v` must outlive the tracer.
  void result(char const* v) {
    mResult.s = v;
    mKind = kString;
  }
  void resultVoid() { mKind = kVoid; }

 private:
  /// Fields in this order.
  union {
    int i;
    long l;
    char c;
    bool b;
    void const* p;
    char const* s;
  } mResult;
  char const* mFunction;
  char const* mFile;
  int mLine;
  unsigned mLevel;
  unsigned mKind;
  bool mEnabled;
  char mArgs[500];
};

}  // namespace corvane

#endif  // CORVANE_LOG_H

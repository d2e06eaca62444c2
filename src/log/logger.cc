// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// The process-wide logger: syslog datagrams over UDP and catalog entries for the log receiver.

#include "corvane/log.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include <unicode/bytestream.h>
#include <unicode/msgfmt.h>
#include <unicode/unistr.h>

#include <corvane/idl/logReceiver.h>
#include "corvane/appliance_utils.h"
#include "corvane/client.h"
#include "corvane/msg_cat.h"
#include "log/process_id.h"

namespace corvane {

Logger* sLog = nullptr;

namespace {

constexpr int kDatagramSize = 1024;
constexpr int kTextSize = 1024;
constexpr char const kSyslogHost[] = "fe80::de:adff:febe:ef20";
// Time stamp and host are fixed on purpose: the syslog daemon stamps both itself.
constexpr char const kHeaderFormat[] = "<%u>Feb 15 23:53:07 localhost %s(%i)[%.10s]:";

char* copyString(char const* text) {
  if (text == nullptr) text = "";
  size_t size = std::strlen(text) + 1;
  char* copy = new char[size];
  std::memcpy(copy, text, size);
  return copy;
}

// UTF-8 bytes of `text` into `out` (cut at `size`, not terminated); returns the full length.
// A per-call sink instead of the shared converter keeps concurrent loggers race-free.
int toUtf8(icu::UnicodeString const& text, char* out, int size) {
  icu::CheckedArrayByteSink sink(out, size);
  text.toUTF8(sink);
  return sink.NumberOfBytesAppended();
}

// The process id for the header. getpid is a system call, and a line must cost little more
// than its datagram, so each thread keeps the answer; a forked child (atfork) and the
// launcher's vfork child (which shares this thread's storage) forget it. Initial-exec: the
// slot is reached without a call that might allocate, which a vfork child must not do.
__attribute__((tls_model("initial-exec"))) thread_local int tPid = 0;

int currentPid() {
  if (tPid == 0) tPid = static_cast<int>(getpid());
  return tPid;
}

[[maybe_unused]] int const kForkHook = pthread_atfork(nullptr, nullptr, log::forgetPid);

// The header of every datagram, cut at the terminator when the ident fills the buffer.
int formatHeader(char* datagram, unsigned priority, char const* ident, char const* tag) {
  int header = snprintf(datagram, kDatagramSize, kHeaderFormat, priority, ident, currentPid(),
                        tag != nullptr ? tag : "");
  return std::min(std::max(header, 0), kDatagramSize - 1);
}

// The receiver's address, converted once when the library loads (no guard to take in a
// vfork child that sends the first line).
sockaddr_in6 syslogAddress() {
  sockaddr_in6 destination;
  std::memset(&destination, 0, sizeof destination);
  destination.sin6_family = AF_INET6;
  if (inet_pton(AF_INET6, kSyslogHost, &destination.sin6_addr) != 1) {
    fputs("Failure to convert dummy-localhost for logging\n", stderr);
  }
  return destination;
}

sockaddr_in6 const kSyslogAddress = syslogAddress();

// How many of `length` text bytes fit behind a header of `header` bytes.
int textRoom(int header, int length) {
  return std::max(std::min(kDatagramSize - header, length), 0);
}

// Sends the header and as much of the `length` text bytes behind it as fit; a cut datagram
// ends in a terminator.
void sendDatagram(int socket, int port, char* datagram, int header, int length) {
  int appended = textRoom(header, length);
  datagram[kDatagramSize - 1] = '\0';
  sockaddr_in6 destination = kSyslogAddress;
  destination.sin6_port = htons(static_cast<uint16_t>(port));
  ssize_t total = header + appended;
  ssize_t sent = sendto(socket, datagram, static_cast<size_t>(total), 0,
                        reinterpret_cast<sockaddr*>(&destination), sizeof destination);
  if (sent != total) {
    fprintf(stderr, "Sent bytes %zd != length bytes %zd\n", sent, total);
  }
}

}  // namespace

Logger::Logger(char const* ident, unsigned level)
    : mConverter(nullptr),
      mLogLevel(level),
      mSocket(-1),
      mIdent(nullptr),
      mSyslogPort(-1),
      mCatalog(nullptr),
      mLogMask(0),
      mLogReceiverPort(-1) {
  mSocket = socket(AF_INET6, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  mSyslogPort = applianceUtils::getPortforService("syslogng", "udp");
  mLogReceiverPort = applianceUtils::getPortforService("logreceiver", "tcp");
  UErrorCode status = U_ZERO_ERROR;
  mConverter = ucnv_open("UTF-8", &status);
  if (U_FAILURE(status)) mConverter = nullptr;
  try {
    mIdent = copyString(ident);
    mCatalog = new msgCat("corvane", "");
  } catch (...) {
    delete[] mIdent;
    if (mConverter != nullptr) ucnv_close(mConverter);
    if (mSocket >= 0) close(mSocket);
    throw;
  }
}

Logger::~Logger() {
  if (sLog == this) sLog = nullptr;
  if (mSocket >= 0) {
    close(mSocket);
    mSocket = -1;
  }
  if (mConverter != nullptr) ucnv_close(mConverter);
  delete[] mIdent;
  delete mCatalog;
}

void Logger::setIdent(char const* ident) {
  char* copy = copyString(ident);
  delete[] mIdent;
  mIdent = copy;
}

void Logger::printf(unsigned facility, unsigned level, char const* format, va_list args) {
  if (mLogLevel < level) return;
  // The text is formatted straight behind the header: one pass, no second copy. The bytes sent
  // are those of formatting into a text buffer of the datagram's size and appending it.
  char datagram[kDatagramSize];
  int header = formatHeader(datagram, facility + level, mIdent, nullptr);
  int length = 0;
  if (format != nullptr) {
    length = vsnprintf(datagram + header, kDatagramSize - header, format, args);
  }
  sendDatagram(mSocket, mSyslogPort, datagram, header, length);
}

void Logger::send2Syslog(unsigned facility, unsigned level, char const* tag, char const* text,
                         int length) {
  char datagram[kDatagramSize];
  int header = formatHeader(datagram, facility + level, mIdent, tag);
  if (text == nullptr) length = 0;
  std::memcpy(datagram + header, text, static_cast<size_t>(textRoom(header, length)));
  sendDatagram(mSocket, mSyslogPort, datagram, header, length);
}

void Logger::log(unsigned facility, unsigned level, char const* msgid, icu::Formattable* args,
                 unsigned count, char const* objectid) {
  if (mLogLevel < level) return;
  if (msgid == nullptr) msgid = "";
  if (args == nullptr) count = 0;

  icu::UnicodeString pattern;
  pattern.setToBogus();
  if (mCatalog != nullptr) pattern = mCatalog->get(msgid);
  if (pattern.isBogus()) {
    char unknown[128];
    snprintf(unknown, sizeof unknown, "Unknown message \"%s\"", msgid);
    pattern = icu::UnicodeString::fromUTF8(unknown);
  }

  // Numbers follow the catalog's US English too, not the device locale.
  UErrorCode status = U_ZERO_ERROR;
  icu::UnicodeString formatted;
  icu::MessageFormat format(pattern, icu::Locale::getUS(), status);
  if (U_SUCCESS(status)) {
    icu::FieldPosition position(icu::FieldPosition::DONT_CARE);
    format.format(args, static_cast<int32_t>(count), formatted, position, status);
  }
  // A pattern ICU cannot run still says which message was meant.
  if (U_FAILURE(status)) formatted = pattern;

  char text[kTextSize];
  int length = toUtf8(formatted, text, sizeof text);
  send2Syslog(facility, level, msgid, text, length);
  send2LogReceiver(msgid, args, count, objectid);
}

void Logger::send2LogReceiver(char const* msgid, icu::Formattable* args, unsigned count,
                              char const* objectid) {
  if (mLogReceiverPort < 1) return;
  if (args == nullptr) count = 0;
  try {
    std::unique_ptr<logReceiverClient> client(getClient<logReceiverClient>(mLogReceiverPort, 0));
    std::vector<std::string> arguments;
    for (unsigned i = 0; i < count; ++i) {
      char text[kTextSize];
      switch (args[i].getType()) {
        case icu::Formattable::kString: {
          int length = std::min(toUtf8(args[i].getString(), text, sizeof text), kTextSize);
          // An empty string is dropped and later arguments move up: receivers rely on it.
          if (length > 0) arguments.emplace_back(text, static_cast<size_t>(length));
          break;
        }
        case icu::Formattable::kInt64:
          snprintf(text, sizeof text, "%lld", static_cast<long long>(args[i].getInt64()));
          arguments.emplace_back(text);
          break;
        case icu::Formattable::kLong:
          snprintf(text, sizeof text, "%d", static_cast<int>(args[i].getLong()));
          arguments.emplace_back(text);
          break;
        default:
          arguments.emplace_back("?????");
          break;
      }
    }
    client->Log(objectid != nullptr ? objectid : "", msgid != nullptr ? msgid : "", arguments);
  } catch (std::exception const&) {
    // A receiver that is down or confused must never disturb the program that logs.
  }
}

namespace log {

void forgetPid() { tPid = 0; }

Logger* getLogger() {
  if (sLog == nullptr) sLog = new Logger("no-identity", 7);
  return sLog;
}

void init(char const* ident, bool verbose) {
  Logger& logger = *getLogger();
  std::string locale = applianceUtils::getLocale();
  if (!locale.empty()) applianceUtils::setDefaultLocale(locale.c_str());
  logger.setIdent(ident);
  if (verbose) trace(4, "LOGGER ident %s, init %p", logger.ident(), static_cast<void*>(&logger));
}

void init(char const* ident) { init(ident, true); }

void setLogLevel(unsigned level) { getLogger()->setLevel(level); }

unsigned getLogLevel() { return getLogger()->level(); }

void setLogMask(int mask) { getLogger()->setMask(mask); }

int getLogMask() { return getLogger()->mask(); }

void setLogging(unsigned level, int mask) {
  Logger* logger = getLogger();
  logger->setLevel(level);
  // A mask only means something while debugging, so other levels keep the old one.
  if (level == 7) logger->setMask(mask);
  showLevels();
}

void showLevels() {
  Logger* logger = getLogger();
  trace(4, "LOGGER sLog %p, mLogLevel %d, mLogMask %08X", static_cast<void*>(logger),
        static_cast<int>(logger->level()), static_cast<unsigned>(logger->mask()));
}

void trace(unsigned level, char const* format, ...) {
  Logger* logger = getLogger();
  if (logger->level() < level) return;
  va_list args;
  va_start(args, format);
  logger->printf(kFacilityTrace, level, format, args);
  va_end(args);
}

void vtrace(unsigned level, char const* format, va_list args) {
  getLogger()->printf(kFacilityTrace, level, format, args);
}

void thrifterr(char const* text) { trace(3, "thrift: %s", text != nullptr ? text : ""); }

void log(unsigned level, char const* msgid, icu::Formattable* args, unsigned count,
         char const* objectid) {
  getLogger()->log(kFacilityCatalog, level, msgid, args, count, objectid);
}

}  // namespace log
}  // namespace corvane

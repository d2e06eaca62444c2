// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Logger and tracer: syslog datagrams byte for byte, filtering, log-receiver entries and the
// logger's lifecycle, seen through a real UDP sink and a fake receiver.

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>
#include <unicode/locid.h>

#include <corvane/idl/logReceiver.h>
#include "corvane/launch_exec.h"
#include "corvane/log.h"
#include "fake_manager.h"
#include "sandbox.h"

namespace {
std::atomic<long> gNewCalls{0};
}  // namespace

// Counts every allocation through operator new, to prove the trace path allocates nothing.
// GCC pairs the inlined malloc with callers' delete expressions and warns; the pair is ours.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void* operator new(size_t size) {
  gNewCalls.fetch_add(1, std::memory_order_relaxed);
  if (void* p = std::malloc(size == 0 ? 1 : size)) return p;
  throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }

namespace corvane {
namespace {

using Lines = std::vector<std::string>;

std::string header(unsigned priority, std::string const& ident, std::string const& tag = "",
                   pid_t pid = getpid()) {
  return "<" + std::to_string(priority) + ">Feb 15 23:53:07 localhost " + ident + "(" +
         std::to_string(pid) + ")[" + tag + "]:";
}

std::string traceLine(std::string const& text) { return header(143, "no-identity") + text; }

class LoggerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(testing::inSandbox());
    delete sLog;  // every test starts from the defaults
  }
  void TearDown() override {
    delete sLog;
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale("en_US"), status);
  }

  Lines received() { return mSink.drain(150); }

  testing::SyslogSink mSink;
};

TEST_F(LoggerTest, LongLinesAndTagsAreCut) {
  std::string const head = header(142, "no-identity");
  int const room = 1024 - static_cast<int>(head.size());
  for (int length : {room - 1, room}) log::trace(6, "%s", std::string(length, 'x').c_str());
  Logger* logger = log::getLogger();
  logger->send2Syslog(136, 6, nullptr, std::string(5000, 'x').c_str(), 5000);
  // At most ten characters of the tag; the length, not the terminator, decides the text.
  logger->send2Syslog(8, 3, "KTXCV01100D", "body", 4);
  logger->send2Syslog(8, 6, "T", "abcdef", -4);
  log::thrifterr(nullptr);
  // An ident that fills the buffer on its own still gives one valid datagram.
  std::string const ident(3000, 'i');
  logger->setIdent(ident.c_str());
  log::trace(6, "text");
  std::string const fits = head + std::string(room - 1, 'x');
  EXPECT_EQ(received(),
            (Lines{fits, fits + '\0', fits + '\0', header(11, "no-identity", "KTXCV01100") + "body",
                   header(14, "no-identity", "T"), header(139, "no-identity") + "thrift: ",
                   header(142, ident).substr(0, 1023) + '\0'}));
}

TEST_F(LoggerTest, LevelFiltersLinesAndSetLoggingTakesTheMaskOnlyAtDebug) {
  // (level, mask given, mask kept)
  std::tuple<unsigned, int, int> const cases[] = {
      {5, 0xFF, 0}, {7, 0xFF, 0xFF}, {6, 0x3, 0xFF}, {7, -1, -1}, {3, 0, -1}};
  Lines expected;
  for (auto const& [level, mask, maskAfter] : cases) {
    log::setLogging(level, mask);
    EXPECT_EQ(log::getLogMask(), maskAfter);
    char line[128];
    snprintf(line, sizeof line, "LOGGER sLog %p, mLogLevel %u, mLogMask %08X",
             static_cast<void*>(sLog), level, static_cast<unsigned>(maskAfter));
    if (level >= 4) expected.push_back(header(140, "no-identity") + line);
    log::trace(level + 1, "filtered");
    log::trace(level, "line %u", level);
    // Facility 136; no terminating zero below the cut, no blank after the colon.
    expected.push_back(header(136 + level, "no-identity") + "line " + std::to_string(level));
  }
  EXPECT_EQ(received(), expected);
}

TEST_F(LoggerTest, DeletingTheLoggerResetsItAndReleasesItsSocket) {
  int const before = testing::openDescriptorCount();
  int const socketFd = dup(0);  // the lowest free descriptor, where the socket lands
  close(socketFd);
  log::setLogging(7, 0x10);
  EXPECT_EQ(fcntl(socketFd, F_GETFD), FD_CLOEXEC);
  delete sLog;
  EXPECT_EQ(sLog, nullptr);
  EXPECT_EQ(testing::openDescriptorCount(), before);
  // A logger that is not `sLog` leaves it alone; the next creating call starts over.
  Logger* current = log::getLogger();
  delete new Logger("other", 3);
  EXPECT_EQ(sLog, current);
  EXPECT_EQ(log::getLogMask(), 0);
}

// The header's process id is remembered per thread: a forked child must send its own, and the
// launcher's vfork child, which shares this memory, must not leave its id behind.
TEST_F(LoggerTest, EveryLineCarriesTheIdOfTheProcessThatSentIt) {
  log::trace(6, "parent");  // known before the fork
  pid_t child = fork();
  if (child == 0) {
    log::trace(6, "child");
    _exit(0);
  }
  waitpid(child, nullptr, 0);
  std::vector<std::string> args{"/nonexistent/program"};
  LaunchExec::launch(args, "test", nullptr, -1, -1, nullptr, nullptr);
  log::trace(6, "parent");
  Lines lines = received();
  ASSERT_GT(lines.size(), 3u);
  EXPECT_EQ(lines[1], header(142, "no-identity", "", child) + "child");
  EXPECT_EQ(lines.back(), header(142, "no-identity") + "parent");
}

TEST_F(LoggerTest, TracePathAllocatesNothing) {
  log::setLogLevel(3);
  long before = gNewCalls.load();
  for (int i = 0; i < 1000; ++i) log::trace(7, "filtered %d %s", i, "x");
  EXPECT_EQ(gNewCalls.load() - before, 0);

  log::setLogging(7, 0x1);
  received();
  before = gNewCalls.load();
  for (int i = 0; i < 10; ++i) log::trace(6, "emitted %d %s", i, "x");
  {
    Tracer t("traced", "logger_test", __LINE__, 0x1);
    t.args("i %d", 3);
    t.result(5);
  }
  EXPECT_EQ(gNewCalls.load() - before, 0);
  EXPECT_EQ(received().size(), 13u);
}

TEST_F(LoggerTest, TracerWritesAtLevelSevenWithASharedCategoryBitAndShowsTheResult) {
  // (level, mask, the tracer's categories, what it stores, its exit line or "" when it is off)
  std::tuple<unsigned, int, unsigned, void (*)(Tracer&), char const*> const cases[] = {
      {7, 0x3, 0x2, [](Tracer& t) { t.result(-17); }, "result is -17"},
      {7, 0x1, 0x2, [](Tracer& t) { t.result(1); }, ""},
      {6, -1, ~0u, [](Tracer& t) { t.result(1); }, ""},
      {8, 0x2, 0x2, [](Tracer& t) { t.result(1); }, ""},
      {7, -1, ~0u, [](Tracer&) {}, "result not set"},
      {7, -1, ~0u, [](Tracer& t) { t.result(-1099511627776L); }, "result is -1099511627776"},
      {7, -1, ~0u, [](Tracer& t) { t.result(static_cast<char const*>(nullptr)); },
       "result is (null)"},
      // The last stored result wins.
      {7, -1, ~0u, [](Tracer& t) { t.result(3), t.result(true), t.resultVoid(); },
       "result is void"},
      {7, -1, ~0u, [](Tracer& t) { t.result(3), t.resultVoid(), t.result(false); },
       "result is false"}};
  Lines expected;
  for (auto const& [level, mask, categories, store, exit] : cases) {
    log::getLogger()->setLevel(level);
    sLog->setMask(mask);
    Tracer t("distributeLogging", "processManagerUtils", 88, categories);
    t.args("inLog %08X, inMask %08X", 7u, 0xFFu);
    t.args("%s", std::string(2000, 'a').c_str());  // cut to the argument buffer
    t.args(nullptr);
    store(t);
    if (*exit == '\0') continue;
    expected.push_back(traceLine("---> Enter distributeLogging, processManagerUtils line 88"));
    expected.push_back(traceLine("---- Args  distributeLogging, inLog 00000007, inMask 000000FF"));
    expected.push_back(traceLine("---- Args  distributeLogging, " + std::string(499, 'a')));
    expected.push_back(traceLine("<--- Exit  distributeLogging, " + std::string(exit)));
  }
  EXPECT_EQ(received(), expected);
  // Without a logger tracers stay off and create none.
  delete sLog;
  Tracer("early", "file", 3, 0xFFFFFFFF).args("%d", 1);
  EXPECT_EQ(sLog, nullptr);
  EXPECT_TRUE(received().empty());
}

class LogReceiverTest : public LoggerTest {
 protected:
  testing::FakeManager mReceiver{"logreceiver"};
};

TEST_F(LogReceiverTest, SyslogGetsUsEnglishTextAndTheReceiverTheRawArguments) {
  // Arguments other than strings and integers are sent as "?????"; an empty string is dropped
  // and later arguments move up.
  icu::Formattable args[] = {icu::Formattable(2.5), icu::Formattable(""),
                             icu::Formattable(static_cast<int64_t>(-9000000000LL)),
                             icu::Formattable(static_cast<int32_t>(-42)),
                             icu::Formattable(icu::UnicodeString::fromUTF8("gr\xC3\xBC\xC3\x9F"))};
  // Under a German process locale numbers still follow the catalog's US English.
  testing::writeFile("/etc/corvane/locale.xml",
                     "<locale><language>de</language><country>DE</country></locale>");
  log::init("prog", false);
  received();
  log::log(3, "network_validation_invalid_ip_address", args, 1, "eth0");
  log::log(4, "KTXZZ99999X", args, 5, "obj-1");
  log::log(5, "KTXCV01100D", nullptr, 3, nullptr);  // no array: no arguments
  log::setLogLevel(5);
  log::log(6, "KTXCV01100D", args, 1, nullptr);  // filtered: goes nowhere
  EXPECT_EQ(received(), (Lines{header(11, "prog", "network_va") + "2.5 is not a valid IP address.",
                               header(12, "prog", "KTXZZ99999") + "Unknown message \"KTXZZ99999X\"",
                               header(13, "prog", "KTXCV01100") +
                                   "The SSH host keys of the appliance have been regenerated."}));
  // Each entry as "objectid|entry_id|arguments...", one connection each.
  ASSERT_TRUE(mReceiver.waitForCalls(3, 3000));
  EXPECT_FALSE(mReceiver.waitForCalls(4, 300));
  Lines entries;
  for (auto const& call : mReceiver.calls("Log")) {
    auto entry = testing::deserialize<logReceiver_Log_args>(call.args);
    entries.push_back(entry.objectid + "|" + entry.entry_id);
    for (auto const& argument : entry.arguments) entries.back() += "|" + argument;
  }
  EXPECT_EQ(entries,
            (Lines{"eth0|network_validation_invalid_ip_address|?????",
                   "obj-1|KTXZZ99999X|?????|-9000000000|-42|gr\xC3\xBC\xC3\x9F", "|KTXCV01100D"}));
  EXPECT_EQ(mReceiver.acceptedConnections(), 3);
  EXPECT_TRUE(mReceiver.waitUntilIdle());
}

TEST_F(LogReceiverTest, ReceiverFailuresAreDroppedAndSyslogStillGetsTheLine) {
  int const descriptors = testing::openDescriptorCount() + 1;  // and the logger's socket
  mReceiver.stop();  // down: one refused connect, reported through the Thrift hook
  EXPECT_NO_THROW(log::log(3, "down", nullptr, 0, nullptr));
  mReceiver.start();
  mReceiver.replyException("Log", apache::thrift::TApplicationException("refused"));
  EXPECT_NO_THROW(log::log(3, "refused", nullptr, 0, nullptr));
  Lines lines = received();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[0], header(11, "no-identity", "down") + "Unknown message \"down\"");
  EXPECT_EQ(lines[1].rfind(header(139, "no-identity") + "thrift: TSocket::open()", 0), 0u);
  EXPECT_EQ(lines[2], header(11, "no-identity", "refused") + "Unknown message \"refused\"");
  EXPECT_TRUE(mReceiver.waitUntilIdle());
  EXPECT_EQ(testing::openDescriptorCount(), descriptors);
}

TEST_F(LogReceiverTest, MissingServiceEntriesGiveSyslogPort65535AndNoReceiver) {
  int catcher = socket(AF_INET6, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_port = htons(65535);
  ASSERT_EQ(bind(catcher, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  // The ports are looked up once, when the logger is made.
  std::string const services = testing::readFile("/etc/services");
  testing::writeFile("/etc/services", "logreceiver\t0/tcp\n");
  log::getLogger();
  testing::writeFile("/etc/services", services.c_str());
  log::log(3, "quiet", nullptr, 0, nullptr);
  timeval wait{2, 0};
  setsockopt(catcher, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait);
  char buffer[2048];
  ssize_t n = recv(catcher, buffer, sizeof buffer, 0);
  char more;  // port 0: not even a failed connect to report
  EXPECT_LT(recv(catcher, &more, 1, MSG_DONTWAIT), 0);
  close(catcher);
  ASSERT_GT(n, 0);
  EXPECT_EQ(std::string(buffer, static_cast<size_t>(n)),
            header(11, "no-identity", "quiet") + "Unknown message \"quiet\"");
  EXPECT_TRUE(received().empty());
  EXPECT_EQ(mReceiver.acceptedConnections(), 0);
}

}  // namespace
}  // namespace corvane

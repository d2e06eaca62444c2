// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Logger and tracer: syslog datagrams byte for byte, filtering, log-receiver entries and the
// logger's lifecycle, seen through a real UDP sink and a fake receiver.

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
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
void* operator new[](size_t size) { return operator new(size); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
void operator delete[](void* p, size_t) noexcept { std::free(p); }

namespace corvane {
namespace {

using Lines = std::vector<std::string>;

char const kGermanLocale[] = "<locale><language>de</language><country>DE</country></locale>";

std::string header(unsigned priority, std::string const& ident, std::string const& tag = "") {
  return "<" + std::to_string(priority) + ">Feb 15 23:53:07 localhost " + ident + "(" +
         std::to_string(getpid()) + ")[" + tag + "]:";
}

std::string traceLine(std::string const& text) { return header(143, "no-identity") + text; }

std::string pointerText(void const* p) {
  char text[32];
  snprintf(text, sizeof text, "%p", p);
  return text;
}

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
  log::getLogger()->send2Syslog(136, 6, nullptr, std::string(5000, 'x').c_str(), 5000);
  std::string const fits = head + std::string(room - 1, 'x');
  EXPECT_EQ(received(), (Lines{fits, fits + '\0', fits + '\0'}));

  // At most ten characters of the tag; the length, not the terminator, decides the text.
  Logger* logger = log::getLogger();
  logger->send2Syslog(8, 3, "KTXCV01100D", "body", 4);
  logger->send2Syslog(8, 6, nullptr, "abcdef", 3);
  logger->send2Syslog(8, 6, "T", "abcdef", -4);
  log::thrifterr("TSocket::open() connect(): Connection refused");
  log::thrifterr(nullptr);
  // An ident that fills the buffer on its own still gives one valid datagram.
  std::string const ident(3000, 'i');
  logger->setIdent(ident.c_str());
  log::trace(6, "text");
  EXPECT_EQ(
      received(),
      (Lines{header(11, "no-identity", "KTXCV01100") + "body", header(14, "no-identity") + "abc",
             header(14, "no-identity", "T"),
             header(139, "no-identity") + "thrift: TSocket::open() connect(): Connection refused",
             header(139, "no-identity") + "thrift: ", header(142, ident).substr(0, 1023) + '\0'}));
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
    snprintf(line, sizeof line, "LOGGER sLog %s, mLogLevel %u, mLogMask %08X",
             pointerText(sLog).c_str(), level, static_cast<unsigned>(maskAfter));
    if (level >= 4) expected.push_back(header(140, "no-identity") + line);
    log::trace(level + 1, "filtered");
    log::trace(level, "line %u", level);
    // Facility 136; no terminating zero below the cut, no blank after the colon.
    expected.push_back(header(136 + level, "no-identity") + "line " + std::to_string(level));
  }
  EXPECT_EQ(received(), expected);
}

TEST_F(LoggerTest, InitAppliesTheDeviceLocaleThenTheIdent) {
  log::init("first", false);  // no locale file: en_US
  log::trace(6, "a");
  Logger* before = sLog;
  testing::writeFile("/etc/corvane/locale.xml", kGermanLocale);
  log::init("second");
  testing::writeFile("/etc/corvane/locale.xml", nullptr);
  EXPECT_EQ(sLog, before);  // the same logger, renamed
  EXPECT_EQ(received(),
            (Lines{header(142, "no-identity") + "setenv for LANG en_US",
                   header(142, "no-identity") + "getenv for LANG en_US", header(142, "first") + "a",
                   header(142, "first") + "setenv for LANG de_DE",
                   header(142, "first") + "getenv for LANG de_DE",
                   header(140, "second") + "LOGGER ident second, init " + pointerText(before)}));
}

TEST_F(LoggerTest, DeletingTheLoggerResetsItAndReleasesItsSocket) {
  int const before = testing::openDescriptorCount();
  int const socketFd = dup(0);  // the lowest free descriptor, where the socket lands
  close(socketFd);
  Logger* logger = log::getLogger();
  EXPECT_EQ(testing::openDescriptorCount(), before + 1);
  EXPECT_EQ(fcntl(socketFd, F_GETFD), FD_CLOEXEC);
  log::setLogging(7, 0x10);
  logger->setIdent("gone");
  delete logger;
  EXPECT_EQ(sLog, nullptr);
  EXPECT_EQ(testing::openDescriptorCount(), before);

  // A logger that is not `sLog` leaves it alone; the next creating call starts over.
  Logger* current = log::getLogger();
  delete new Logger("other", 3);
  EXPECT_EQ(sLog, current);
  EXPECT_EQ(log::getLogLevel(), 7u);
  EXPECT_EQ(log::getLogMask(), 0);
  EXPECT_STREQ(sLog->ident(), "no-identity");
}

// The header's process id is remembered per thread: a forked child and the launcher's vfork
// child (which shares the parent's memory) must still send their own.
TEST_F(LoggerTest, EveryLineCarriesTheIdOfTheProcessThatSentIt) {
  log::trace(6, "parent");
  pid_t forked = fork();
  if (forked == 0) {
    log::trace(6, "forked");
    _exit(0);
  }
  waitpid(forked, nullptr, 0);
  std::vector<std::string> args{"/nonexistent/program"};
  LaunchExec::launch(args, "test", nullptr, -1, -1, nullptr, nullptr);
  log::trace(6, "parent");
  pid_t launched = 0;
  std::vector<std::pair<pid_t, std::string>> seen;  // (sender, text) of the lines that matter
  for (std::string const& line : received()) {
    std::string text = line.substr(line.find("]:") + 2);
    pid_t sender = std::atoi(line.c_str() + line.find('(') + 1);
    if (text.find(" task started with id 0x") != std::string::npos) {
      launched = static_cast<pid_t>(std::stoul(text.substr(text.find("0x")), nullptr, 16));
    } else if (text == "parent" || text == "forked" || text.rfind("LaunchExec execv", 0) == 0) {
      seen.emplace_back(sender, text.substr(0, text.find(' ', 11)));
    }
  }
  ASSERT_GT(launched, 0);
  EXPECT_EQ(seen, (std::vector<std::pair<pid_t, std::string>>{{getpid(), "parent"},
                                                              {forked, "forked"},
                                                              {launched, "LaunchExec execv"},
                                                              {launched, "LaunchExec execv"},
                                                              {getpid(), "parent"}}));
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

class LogReceiverTest : public LoggerTest {
 protected:
  testing::FakeManager mReceiver{"logreceiver"};
};

TEST_F(LogReceiverTest, SyslogGetsUsEnglishTextAndTheReceiverTheRawArguments) {
  icu::Formattable args[] = {
      icu::Formattable(2.5),
      icu::Formattable("eth0"),
      icu::Formattable(""),  // dropped: later arguments move up
      icu::Formattable(static_cast<int64_t>(-9000000000LL)),
      icu::Formattable(static_cast<int32_t>(-42)),
      icu::Formattable(icu::UnicodeString::fromUTF8("gr\xC3\xBC\xC3\x9F")),
      icu::Formattable(static_cast<UDate>(0), icu::Formattable::kIsDate),
  };
  testing::writeFile("/etc/corvane/locale.xml", kGermanLocale);
  log::init("prog", false);
  testing::writeFile("/etc/corvane/locale.xml", nullptr);
  received();
  log::log(3, "network_validation_invalid_ip_address", args, 1, "eth0");
  log::log(4, "KTXZZ99999X", args, 7, "obj-1");
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
  EXPECT_EQ(entries, (Lines{"eth0|network_validation_invalid_ip_address|?????",
                            "obj-1|KTXZZ99999X|?????|eth0|-9000000000|-42|gr\xC3\xBC\xC3\x9F|?????",
                            "|KTXCV01100D"}));
  EXPECT_EQ(mReceiver.acceptedConnections(), 3);
  EXPECT_TRUE(mReceiver.waitUntilIdle());
}

TEST_F(LogReceiverTest, ReceiverFailuresAreDropped) {
  log::init("prog", false);
  int const descriptors = testing::openDescriptorCount();
  // Down: one refused connect, then the program carries on.
  mReceiver.stop();
  auto start = std::chrono::steady_clock::now();
  EXPECT_NO_THROW(log::log(3, "down", nullptr, 0, nullptr));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1500));
  mReceiver.start();
  mReceiver.replyException("Log", apache::thrift::TApplicationException("refused"));
  EXPECT_NO_THROW(log::log(3, "refused", nullptr, 0, nullptr));

  Lines messages;
  for (auto const& line : received()) {
    if (line.find("]:Unknown message") != std::string::npos) messages.push_back(line);
  }
  ASSERT_EQ(messages.size(), 2u);
  EXPECT_EQ(messages[0], header(11, "prog", "down") + "Unknown message \"down\"");
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

TEST_F(LoggerTest, TracerLinesNeedLevelSevenAndASharedCategoryBit) {
  log::getLogger();
  // (level, mask, the tracer's categories, whether it writes)
  std::tuple<unsigned, int, unsigned, bool> const cases[] = {{7, 0x3, 0x2, true},
                                                             {7, -1, ~0u, true},
                                                             {7, 0x1, 0x2, false},
                                                             {6, -1, ~0u, false},
                                                             {8, 0x2, 0x2, false}};
  for (auto const& [level, mask, categories, enabled] : cases) {
    sLog->setLevel(level);
    sLog->setMask(mask);
    {
      Tracer t("distributeLogging", "processManagerUtils", 88, categories);
      EXPECT_EQ(t.enabled(), enabled) << level << " " << mask;
      t.args("inLog %08X, inMask %08X", 7u, 0xFFu);
      t.args("%s", std::string(2000, 'a').c_str());  // cut to the argument buffer
      t.args(nullptr);
      t.result(1);
    }
    Lines expected;
    if (enabled) {
      expected = {traceLine("---> Enter distributeLogging, processManagerUtils line 88"),
                  traceLine("---- Args  distributeLogging, inLog 00000007, inMask 000000FF"),
                  traceLine("---- Args  distributeLogging, " + std::string(499, 'a')),
                  traceLine("<--- Exit  distributeLogging, result is 1")};
    }
    EXPECT_EQ(received(), expected) << level << " " << mask;
  }
  // Without a logger tracers stay off and create none.
  delete sLog;
  Tracer("early", "file", 3, 0xFFFFFFFF).args("%d", 1);
  EXPECT_EQ(sLog, nullptr);
  EXPECT_TRUE(received().empty());
}

TEST_F(LoggerTest, TracerExitLineShowsTheResultByKind) {
  int object = 0;
  std::pair<std::function<void(Tracer&)>, std::string> const cases[] = {
      {[](Tracer&) {}, "result not set"},
      {[](Tracer& t) { t.result(-17); }, "result is -17"},
      {[](Tracer& t) { t.result(1099511627776L); }, "result is 1099511627776"},
      {[](Tracer& t) { t.result('Q'); }, "result is Q"},
      {[](Tracer& t) { t.result("eth0.12"); }, "result is eth0.12"},
      {[](Tracer& t) { t.result(static_cast<char const*>(nullptr)); }, "result is (null)"},
      {[&](Tracer& t) { t.result(static_cast<void const*>(&object)); },
       "result is " + pointerText(&object)},
      // The last stored result wins.
      {[](Tracer& t) { t.result(3), t.result(true), t.resultVoid(); }, "result is void"},
      {[](Tracer& t) { t.result(3), t.resultVoid(), t.result(false); }, "result is false"},
  };
  log::getLogger()->setMask(0x2);
  Lines expected;
  for (auto const& [set, exit] : cases) {
    Tracer t("getIfName", "interfaceRecords", 7, 0x2);
    set(t);
    expected.push_back(traceLine("---> Enter getIfName, interfaceRecords line 7"));
    expected.push_back(traceLine("<--- Exit  getIfName, " + exit));
  }
  EXPECT_EQ(received(), expected);
}

}  // namespace
}  // namespace corvane

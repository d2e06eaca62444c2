// Logger: the syslog datagrams byte for byte, level filtering, the log-receiver entries and
// the logger's lifecycle, observed through a real UDP sink and a fake log receiver.

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <new>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unicode/locid.h>

#include "fake_manager.h"
#include "logReceiver.h"
#include "sandbox.h"
#include "corvane/log.h"

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

using testing::FakeManager;
using testing::SyslogSink;

std::string header(unsigned priority, std::string const& ident, std::string const& tag = "") {
  return "<" + std::to_string(priority) + ">Feb 15 23:53:07 localhost " + ident + "(" +
         std::to_string(getpid()) + ")[" + tag + "]:";
}

std::string pointerText(void const* p) {
  char text[32];
  snprintf(text, sizeof text, "%p", p);
  return text;
}

std::set<int> openDescriptors() {
  std::set<int> fds;
  for (int fd = 0; fd < 1024; ++fd) {
    if (fcntl(fd, F_GETFD) >= 0) fds.insert(fd);
  }
  return fds;
}

// Replaces /etc/services for the lifetime of the object.
class ServicesFile {
 public:
  explicit ServicesFile(char const* text) : mSaved(testing::readFile("/etc/services")) {
    testing::writeFile("/etc/services", text);
  }
  ~ServicesFile() { testing::writeFile("/etc/services", mSaved.c_str()); }

 private:
  std::string mSaved;
};

class LoggerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(testing::inSandbox()) << "run through tests/sandbox/run";
    delete sLog;  // every test starts from the defaults
    ASSERT_EQ(sLog, nullptr);
  }
  void TearDown() override { delete sLog; }

  // Datagrams that arrived, waiting a little for late ones.
  std::vector<std::string> received() { return mSink.drain(150); }

  SyslogSink mSink;
};

TEST_F(LoggerTest, TraceSendsLinesThatPassTheLevelWithFacility136) {
  struct Case {
    unsigned loggerLevel;
    unsigned lineLevel;
    bool emitted;
  } const cases[] = {{7, 2, true}, {7, 7, true},  {6, 7, false}, {6, 6, true}, {3, 4, false},
                     {3, 3, true}, {0, 1, false}, {2, 3, false}, {5, 5, true}};
  std::vector<std::string> expected;
  for (size_t n = 0; n < sizeof cases / sizeof cases[0]; ++n) {
    log::setLogLevel(cases[n].loggerLevel);
    EXPECT_EQ(log::getLogLevel(), cases[n].loggerLevel);
    log::trace(cases[n].lineLevel, "line %zu", n);
    if (cases[n].emitted) {
      // No terminating zero below the cut, no blank after the colon.
      expected.push_back(header(136 + cases[n].lineLevel, "no-identity") + "line " +
                         std::to_string(n));
    }
  }
  log::setLogLevel(3);
  log::thrifterr("TSocket::open() connect(): Connection refused");
  log::thrifterr(nullptr);
  expected.push_back(header(139, "no-identity") +
                     "thrift: TSocket::open() connect(): Connection refused");
  expected.push_back(header(139, "no-identity") + "thrift: ");
  EXPECT_EQ(received(), expected);
}

TEST_F(LoggerTest, LongLinesAreCutTo1024BytesEndingInZero) {
  std::string const head = header(142, "no-identity");
  int const room = 1024 - static_cast<int>(head.size());
  // Text lengths around the point where header plus text reach 1024 bytes.
  int const lengths[] = {room - 2, room - 1, room, room + 1, 1023, 5000};
  for (int length : lengths) log::trace(6, "%s", std::string(length, 'x').c_str());
  auto got = received();
  ASSERT_EQ(got.size(), 6u);
  EXPECT_EQ(got[0], head + std::string(room - 2, 'x'));
  EXPECT_EQ(got[1], head + std::string(room - 1, 'x'));  // 1023 bytes: fits, no zero
  for (size_t i = 2; i < got.size(); ++i) {
    SCOPED_TRACE(lengths[i]);
    EXPECT_EQ(got[i], head + std::string(room - 1, 'x') + std::string(1, '\0'));
  }

  // An ident that fills the buffer on its own still gives one valid datagram.
  std::string const ident(3000, 'i');
  sLog->setIdent(ident.c_str());
  log::trace(6, "text");
  got = received();
  ASSERT_EQ(got.size(), 1u);
  EXPECT_EQ(got[0], header(142, ident).substr(0, 1023) + std::string(1, '\0'));
}

TEST_F(LoggerTest, Send2SyslogShowsAtMostTenCharactersOfTheTag) {
  Logger* logger = log::getLogger();
  struct Case {
    char const* tag;
    char const* shown;
  } const cases[] = {{"KTXCV01100D", "KTXCV01100"},
                     {"KTXCV0110", "KTXCV0110"},
                     {"0123456789", "0123456789"},
                     {"", ""},
                     {nullptr, ""}};
  for (auto const& c : cases) logger->send2Syslog(8, 3, c.tag, "body", 4);
  // The length, not the terminator, decides how much text goes out.
  logger->send2Syslog(8, 6, "T", "abcdef", 3);
  logger->send2Syslog(8, 6, "T", "abcdef", -4);
  auto got = received();
  ASSERT_EQ(got.size(), 7u);
  for (size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(got[i], header(11, "no-identity", cases[i].shown) + "body");
  }
  EXPECT_EQ(got[5], header(14, "no-identity", "T") + "abc");
  EXPECT_EQ(got[6], header(14, "no-identity", "T"));
}

TEST_F(LoggerTest, SetLoggingTakesTheMaskOnlyAtDebugLevel) {
  struct Case {
    unsigned level;
    int mask;
    int maskAfter;
  } const cases[] = {{5, 0xFF, 0}, {7, 0xFF, 0xFF}, {6, 0x3, 0xFF}, {7, -1, -1}, {7, 0, 0}};
  std::vector<std::string> expected;
  for (auto const& c : cases) {
    log::setLogging(c.level, c.mask);
    EXPECT_EQ(log::getLogLevel(), c.level);
    EXPECT_EQ(log::getLogMask(), c.maskAfter);
    char line[128];
    snprintf(line, sizeof line, "LOGGER sLog %s, mLogLevel %u, mLogMask %08X",
             pointerText(sLog).c_str(), c.level, static_cast<unsigned>(c.maskAfter));
    expected.push_back(header(140, "no-identity") + line);
  }
  EXPECT_EQ(received(), expected);
  log::setLogMask(0x800);
  EXPECT_EQ(log::getLogMask(), 0x800);
}

TEST_F(LoggerTest, InitAppliesTheDeviceLocaleThenTheIdent) {
  log::init("first", false);
  log::trace(6, "a");
  Logger* before = sLog;
  testing::writeFile("/etc/corvane/locale.xml",
                     "<locale><language>de</language><country>DE</country></locale>");
  log::init("second");
  testing::writeFile("/etc/corvane/locale.xml", nullptr);
  EXPECT_EQ(sLog, before);  // the same logger, renamed
  EXPECT_STREQ(sLog->ident(), "second");
  ASSERT_NE(getenv("LANG"), nullptr);
  EXPECT_STREQ(getenv("LANG"), "de_DE");
  EXPECT_STREQ(icu::Locale::getDefault().getName(), "de_DE");
  // Without a locale file the device locale is en_US.
  std::vector<std::string> const expected = {
      header(142, "no-identity") + "setenv for LANG en_US",
      header(142, "no-identity") + "getenv for LANG en_US",
      header(142, "first") + "a",
      header(142, "first") + "setenv for LANG de_DE",
      header(142, "first") + "getenv for LANG de_DE",
      header(140, "second") + "LOGGER ident second, init " + pointerText(before)};
  EXPECT_EQ(received(), expected);
  UErrorCode status = U_ZERO_ERROR;
  icu::Locale::setDefault(icu::Locale("en_US"), status);
}

TEST_F(LoggerTest, DeletingTheLoggerResetsItAndReleasesItsSocket) {
  auto before = openDescriptors();
  Logger* logger = log::getLogger();
  auto during = openDescriptors();
  ASSERT_EQ(during.size(), before.size() + 1);
  for (int fd : during) {
    if (before.count(fd) == 0) {
      EXPECT_TRUE(fcntl(fd, F_GETFD) & FD_CLOEXEC);
    }
  }
  log::setLogging(7, 0x10);
  logger->setIdent("gone");
  delete logger;
  EXPECT_EQ(sLog, nullptr);
  EXPECT_EQ(openDescriptors(), before);

  // A logger that is not `sLog` leaves `sLog` alone when deleted.
  Logger* current = log::getLogger();
  delete new Logger("other", 3);
  EXPECT_EQ(sLog, current);

  // The next creating call starts over with the defaults.
  EXPECT_EQ(log::getLogLevel(), 7u);
  EXPECT_EQ(log::getLogMask(), 0);
  EXPECT_STREQ(sLog->ident(), "no-identity");
}

TEST_F(LoggerTest, TracePathAllocatesNothing) {
  Logger* logger = log::getLogger();
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
  {
    Tracer off("untraced", "logger_test", __LINE__, 0x2);
    off.result(true);
  }
  EXPECT_EQ(gNewCalls.load() - before, 0);
  EXPECT_EQ(received().size(), 13u);
  EXPECT_EQ(sLog, logger);
}

// --- catalog messages and the log receiver -------------------------------------------------

class LogReceiverTest : public LoggerTest {
 protected:
  logReceiver_Log_args lastEntry() {
    EXPECT_TRUE(mReceiver.waitForCalls(mCalls + 1, 3000));
    mCalls = mReceiver.calls("Log").size();
    return mReceiver.args<logReceiver_Log_args>("Log");
  }

  FakeManager mReceiver{"logreceiver"};
  size_t mCalls = 0;
};

TEST_F(LogReceiverTest, UnknownIdIsLoggedAndSentWithRawArgumentsOnANewConnection) {
  icu::Formattable args[] = {
      icu::Formattable("eth0"),
      icu::Formattable(""),  // dropped: later arguments move up
      icu::Formattable(static_cast<int64_t>(-9000000000LL)),
      icu::Formattable(static_cast<int32_t>(-42)),
      icu::Formattable(2.5),
      icu::Formattable(icu::UnicodeString::fromUTF8("gr\xC3\xBC\xC3\x9F")),
      icu::Formattable(static_cast<UDate>(0), icu::Formattable::kIsDate),
  };
  log::init("prog", false);
  received();
  log::log(4, "KTXZZ99999X", args, 7, "obj-1");
  auto first = lastEntry();
  log::log(6, "second", nullptr, 3, nullptr);  // no array: no arguments
  auto second = lastEntry();

  EXPECT_EQ(first.objectid, "obj-1");
  EXPECT_EQ(first.entry_id, "KTXZZ99999X");
  std::vector<std::string> const expected = {"eth0",  "-9000000000",        "-42",
                                             "?????", "gr\xC3\xBC\xC3\x9F", "?????"};
  EXPECT_EQ(first.arguments, expected);
  EXPECT_EQ(second.objectid, "");
  EXPECT_EQ(second.entry_id, "second");
  EXPECT_TRUE(second.arguments.empty());
  std::vector<std::string> const lines = {
      header(12, "prog", "KTXZZ99999") + "Unknown message \"KTXZZ99999X\"",
      header(14, "prog", "second") + "Unknown message \"second\""};
  EXPECT_EQ(received(), lines);
  EXPECT_EQ(mReceiver.acceptedConnections(), 2);
  for (int i = 0; i < 50 && mReceiver.openConnections() != 0; ++i) usleep(10000);
  EXPECT_EQ(mReceiver.openConnections(), 0);
}

TEST_F(LogReceiverTest, SyslogGetsUsEnglishTextWhateverTheDeviceLocale) {
  testing::writeFile("/etc/corvane/locale.xml",
                     "<locale><language>de</language><country>DE</country></locale>");
  log::init("prog", false);
  testing::writeFile("/etc/corvane/locale.xml", nullptr);
  received();
  icu::Formattable number(2.5);
  icu::Formattable address("10.0.0.300");
  log::log(3, "network_validation_invalid_ip_address", &number, 1, "eth0");
  auto first = lastEntry();
  log::log(6, "network_validation_invalid_ip_address", &address, 1, "eth0");
  auto second = lastEntry();
  log::log(5, "KTXCV01100D", nullptr, 0, nullptr);
  log::setLogLevel(5);
  log::log(6, "KTXCV01100D", nullptr, 0, nullptr);  // filtered: goes nowhere
  std::vector<std::string> const expected = {
      header(11, "prog", "network_va") + "2.5 is not a valid IP address.",
      header(14, "prog", "network_va") + "10.0.0.300 is not a valid IP address.",
      header(13, "prog", "KTXCV01100") +
          "The SSH host keys of the appliance have been regenerated."};
  EXPECT_EQ(received(), expected);
  // The receiver gets the id and the raw arguments, never the text.
  EXPECT_EQ(first.objectid, "eth0");
  EXPECT_EQ(first.entry_id, "network_validation_invalid_ip_address");
  EXPECT_EQ(first.arguments, std::vector<std::string>{"?????"});
  EXPECT_EQ(second.arguments, std::vector<std::string>{"10.0.0.300"});
  EXPECT_FALSE(mReceiver.waitForCalls(4, 300));
  EXPECT_EQ(mReceiver.acceptedConnections(), 3);
  UErrorCode status = U_ZERO_ERROR;
  icu::Locale::setDefault(icu::Locale("en_US"), status);
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

  // A reply cut off after its method name, and an application exception.
  mReceiver.replyRaw("Log", std::string("\x80\x01\x00\x02\x00\x00\x00\x03Log", 11), true);
  EXPECT_NO_THROW(log::log(3, "truncated", nullptr, 0, nullptr));
  mReceiver.reset();
  mReceiver.replyException("Log", apache::thrift::TApplicationException("refused"));
  EXPECT_NO_THROW(log::log(3, "refused", nullptr, 0, nullptr));

  auto lines = received();
  std::vector<std::string> tags;
  for (auto const& line : lines) {
    if (line.find("]:Unknown message") != std::string::npos) tags.push_back(line);
  }
  ASSERT_EQ(tags.size(), 3u);
  EXPECT_EQ(tags[0], header(11, "prog", "down") + "Unknown message \"down\"");
  for (int i = 0; i < 50 && mReceiver.openConnections() != 0; ++i) usleep(10000);
  EXPECT_EQ(testing::openDescriptorCount(), descriptors);
}

TEST_F(LogReceiverTest, MissingServiceEntriesGiveSyslogPort65535AndNoReceiver) {
  int catcher = socket(AF_INET6, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_addr = in6addr_any;
  address.sin6_port = htons(65535);
  ASSERT_EQ(bind(catcher, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  {
    // The ports are looked up once, when the logger is made.
    ServicesFile services("logreceiver\t0/tcp\n");
    log::getLogger();
  }
  log::log(3, "quiet", nullptr, 0, nullptr);
  timeval wait{2, 0};
  setsockopt(catcher, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait);
  char buffer[2048];
  ssize_t n = recv(catcher, buffer, sizeof buffer, 0);
  close(catcher);
  ASSERT_GT(n, 0);
  EXPECT_EQ(std::string(buffer, static_cast<size_t>(n)),
            header(11, "no-identity", "quiet") + "Unknown message \"quiet\"");
  EXPECT_TRUE(received().empty());
  EXPECT_EQ(mReceiver.acceptedConnections(), 0);
}

}  // namespace
}  // namespace corvane

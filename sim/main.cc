// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// corvane-sim: the simulated appliance. Serves every manager at its services-database port,
// takes faults from the command line and from the control socket, and stops on SIGTERM,
// SIGINT or the control command "quit".

#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "sim.h"

namespace corvane {
namespace sim {
namespace {

char const kUsage[] =
    "usage: corvane-sim [--verbose] [--scenario FILE] [--fault SERVICE=MODE[:MS]]...\n"
    "                   [--unrecoverable-after N] [--upgrade-steps N] [--upgrade-step-ms MS]\n"
    "       corvane-sim --control COMMAND [ARGS...]\n"
    "services: configmgr hardwaremgr networkmgr processmgr usermgr firmwaremgr statusmgr\n"
    "          logreceiver all\n"
    "modes: none down hung garbage close slow (MS: delay of slow, default 2000)\n"
    "control commands: fault SERVICE=MODE[:MS] | clear | status | reboot | quit\n";

int const kControlTimeoutMs = 2000;

struct Managers {
  explicit Managers(Sim& simulator) : sim(simulator) {}
  Sim& sim;
  std::vector<std::unique_ptr<ManagerServer>> servers;
  std::atomic<bool> quit{false};

  // Applies "SERVICE=MODE[:MS]"; an error text, empty on success.
  std::string apply(std::string const& setting) {
    size_t eq = setting.find('=');
    if (eq == std::string::npos) return "expected SERVICE=MODE";
    std::string service = setting.substr(0, eq);
    std::string mode = setting.substr(eq + 1);
    int ms = 0;
    size_t colon = mode.find(':');
    if (colon != std::string::npos) {
      ms = atoi(mode.c_str() + colon + 1);
      mode.resize(colon);
      if (ms <= 0) return "bad delay";
    }
    Fault fault;
    if (!parseFault(mode, fault)) return "unknown mode " + mode;
    bool found = false;
    for (auto& s : servers) {
      if (service == "all" || service == s->service()) {
        s->setFault(fault, ms);
        found = true;
      }
    }
    return found ? std::string() : "unknown service " + service;
  }

  std::string status() const {
    std::string text;
    for (auto const& s : servers) {
      text += s->service() + " " + std::to_string(s->port()) + " " + faultName(s->fault()) +
              (s->running() ? " serving" : " stopped") + "\n";
    }
    return text;
  }

  std::string command(std::string const& line) {
    std::istringstream words(line);
    std::string verb, arg;
    words >> verb >> arg;
    if (verb == "fault") {
      std::string error = apply(arg);
      return error.empty() ? "ok\n" : "error: " + error + "\n";
    }
    if (verb == "clear") {
      apply("all=none");
      return "ok\n";
    }
    if (verb == "status") return "ok\n" + status();
    // What "telinit 6" on the appliance amounts to; faults stay as they are.
    if (verb == "reboot") {
      sim.reboot();
      return "ok\n";
    }
    if (verb == "quit") {
      quit = true;
      return "ok\n";
    }
    return "error: unknown command " + verb + "\n";
  }
};

bool writeAll(int fd, std::string const& text) {
  size_t done = 0;
  while (done < text.size()) {
    ssize_t n = send(fd, text.data() + done, text.size() - done, MSG_NOSIGNAL);
    if (n <= 0) return false;
    done += static_cast<size_t>(n);
  }
  return true;
}

// Reads until a line end, end of file or the time limit; false on timeout or error.
bool readLine(int fd, std::string& line, bool untilEnd) {
  char buffer[4096];
  for (;;) {
    pollfd p{fd, POLLIN, 0};
    if (poll(&p, 1, kControlTimeoutMs) <= 0) return false;
    ssize_t n = recv(fd, buffer, sizeof buffer, 0);
    if (n < 0) return false;
    if (n == 0) return true;
    line.append(buffer, static_cast<size_t>(n));
    if (!untilEnd && line.find('\n') != std::string::npos) return true;
    if (line.size() > 65536) return false;
  }
}

sockaddr_un controlAddress(std::string const& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  return address;
}

int control(std::string const& path, int argc, char** argv) {
  std::string line;
  for (int i = 0; i < argc; ++i) line += (i ? " " : "") + std::string(argv[i]);
  int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address = controlAddress(path);
  if (fd < 0 || connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    fprintf(stderr, "corvane-sim: no simulator listens on %s\n", path.c_str());
    if (fd >= 0) close(fd);
    return 1;
  }
  std::string reply;
  bool ok = writeAll(fd, line + "\n") && readLine(fd, reply, true);
  close(fd);
  if (!ok) {
    fprintf(stderr, "corvane-sim: no answer from %s\n", path.c_str());
    return 1;
  }
  fputs(reply.c_str(), stdout);
  return reply.compare(0, 2, "ok") == 0 ? 0 : 1;
}

int listenControl(std::string const& path) {
  unlink(path.c_str());
  int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address = controlAddress(path);
  if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      listen(fd, 8) != 0) {
    if (fd >= 0) close(fd);
    return -1;
  }
  return fd;
}

// Serves control connections one at a time until the simulator stops.
void serveControl(int listener, Managers& managers, Sim& sim) {
  while (!sim.stopping && !managers.quit) {
    pollfd p{listener, POLLIN, 0};
    if (poll(&p, 1, 100) <= 0) continue;
    int fd = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd < 0) continue;
    std::string line;
    if (readLine(fd, line, false)) {
      line = line.substr(0, line.find('\n'));
      sim.events.write("control", line);
      writeAll(fd, managers.command(line));
    }
    close(fd);
  }
}

int run(int argc, char** argv) {
  Options options;
  std::vector<std::string> faults;
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    bool hasValue = i + 1 < argc;
    if (arg == "--control") return control(options.controlPath, argc - i - 1, argv + i + 1);
    if (arg == "--verbose" || arg == "-v") {
      options.verbose = true;
    } else if (arg == "--scenario" && hasValue) {
      options.scenario = argv[++i];
    } else if (arg == "--fault" && hasValue) {
      faults.push_back(argv[++i]);
    } else if (arg == "--unrecoverable-after" && hasValue) {
      options.unrecoverableAfter = atoi(argv[++i]);
    } else if (arg == "--upgrade-steps" && hasValue) {
      options.upgradeSteps = atoi(argv[++i]);
    } else if (arg == "--upgrade-step-ms" && hasValue) {
      options.upgradeStepMs = atoi(argv[++i]);
    } else {
      fputs(kUsage, arg == "--help" ? stdout : stderr);
      return arg == "--help" ? 0 : 2;
    }
  }

  // Signals are taken by the main thread only; broken connections must not kill us.
  signal(SIGPIPE, SIG_IGN);
  sigset_t stops;
  sigemptyset(&stops);
  sigaddset(&stops, SIGTERM);
  sigaddset(&stops, SIGINT);
  pthread_sigmask(SIG_BLOCK, &stops, nullptr);

  Sim sim(options);
  Managers managers(sim);
  struct Entry {
    char const* service;
    std::shared_ptr<apache::thrift::TProcessor> (*make)(Sim&);
  };
  Entry const entries[] = {
      {"configmgr", makeConfigManager},   {"hardwaremgr", makeHardwareManager},
      {"networkmgr", makeNetworkManager}, {"processmgr", makeProcessManager},
      {"usermgr", makeUserManager},       {"firmwaremgr", makeFirmwareManager},
      {"statusmgr", makeStatusManager},   {"logreceiver", makeLogReceiver},
  };
  for (Entry const& e : entries) {
    managers.servers.emplace_back(new ManagerServer(sim, e.service, e.make(sim)));
  }
  for (auto const& setting : faults) {
    std::string error = managers.apply(setting);
    if (!error.empty()) {
      fprintf(stderr, "corvane-sim: --fault %s: %s\n", setting.c_str(), error.c_str());
      return 2;
    }
  }
  int failures = 0;
  for (auto& s : managers.servers) {
    if (s->fault() != Fault::kDown && !s->start()) {
      fprintf(stderr, "corvane-sim: cannot serve %s on port %d\n", s->service().c_str(), s->port());
      ++failures;
    }
  }
  SyslogSink syslog(sim);
  if (!syslog.start()) fprintf(stderr, "corvane-sim: no syslog sink\n");
  int listener = listenControl(options.controlPath);
  if (listener < 0) {
    fprintf(stderr, "corvane-sim: cannot listen on %s\n", options.controlPath.c_str());
  }
  std::thread controlThread;
  if (listener >= 0) controlThread = std::thread([&] { serveControl(listener, managers, sim); });

  sim.events.write("corvane-sim", "ready");
  printf("corvane-sim: ready\n");
  fflush(stdout);

  timespec tick{0, 100 * 1000 * 1000};
  while (!managers.quit) {
    int sig = sigtimedwait(&stops, nullptr, &tick);
    if (sig == SIGTERM || sig == SIGINT) break;
  }
  sim.stopping = true;
  if (controlThread.joinable()) controlThread.join();
  if (listener >= 0) {
    close(listener);
    unlink(options.controlPath.c_str());
  }
  for (auto& s : managers.servers) s->stop();
  finishUpgrades();
  sim.events.write("corvane-sim", "stopped");
  return failures == 0 ? 0 : 1;
}

}  // namespace
}  // namespace sim
}  // namespace corvane

int main(int argc, char** argv) { return corvane::sim::run(argc, argv); }

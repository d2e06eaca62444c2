// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Test-side view of the appliance sandbox built by sandbox/corvane-sandbox.

#include "sandbox.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstdio>
#include <fstream>
#include <sstream>

namespace corvane {
namespace testing {

namespace {

void makeParents(std::string const& path) {
  for (size_t slash = path.find('/', 1); slash != std::string::npos;
       slash = path.find('/', slash + 1)) {
    mkdir(path.substr(0, slash).c_str(), 0755);
  }
}

std::vector<std::string> splitTabs(std::string const& line) {
  std::vector<std::string> fields;
  size_t start = 0;
  for (;;) {
    size_t tab = line.find('\t', start);
    fields.push_back(line.substr(start, tab - start));
    if (tab == std::string::npos) return fields;
    start = tab + 1;
  }
}

}  // namespace

bool inSandbox() {
  char const* flag = getenv("CORVANE_SANDBOX");
  return flag != nullptr && flag[0] == '1';
}

void writeFile(std::string const& path, char const* text) {
  if (text == nullptr) {
    unlink(path.c_str());
    return;
  }
  makeParents(path);
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << text;
}

std::string readFile(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::string commandOutput(std::string const& command) {
  std::string out;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return out;
  char buffer[4096];
  size_t n;
  while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0) out.append(buffer, n);
  pclose(pipe);
  return out;
}

void setFlash(bool present) { writeFile("/dev/flash", present ? "" : nullptr); }

std::vector<std::vector<std::string>> standInCalls(std::string const& program) {
  std::vector<std::vector<std::string>> calls;
  std::ifstream in("/sandbox/calls/" + program);
  std::string line;
  while (std::getline(in, line)) {
    calls.push_back(line.empty() ? std::vector<std::string>() : splitTabs(line));
  }
  return calls;
}

void clearStandInCalls() {
  DIR* dir = opendir("/sandbox/calls");
  if (dir == nullptr) return;
  while (dirent* entry = readdir(dir)) {
    if (entry->d_name[0] != '.') unlink((std::string("/sandbox/calls/") + entry->d_name).c_str());
  }
  closedir(dir);
}

void setStandInResult(std::string const& program, int code, std::string const& stderrText) {
  std::string path = "/sandbox/results/" + program;
  if (code < 0) {
    writeFile(path, nullptr);
    return;
  }
  std::string text = std::to_string(code) + "\n" + stderrText;
  writeFile(path, text.c_str());
}

void setStandInScript(std::string const& program, char const* script) {
  std::string path = "/sandbox/results/" + program + ".run";
  if (script == nullptr) {
    writeFile(path, nullptr);
    return;
  }
  writeFile(path, (std::string("#!/bin/sh\n") + script).c_str());
  chmod(path.c_str(), 0755);
}

int openDescriptorCount() {
  DIR* dir = opendir("/proc/self/fd");
  if (dir == nullptr) return -1;
  int count = 0;
  while (dirent* entry = readdir(dir)) {
    if (entry->d_name[0] != '.') ++count;
  }
  closedir(dir);
  return count - 1;  // the directory stream's own descriptor
}

}  // namespace testing
}  // namespace corvane

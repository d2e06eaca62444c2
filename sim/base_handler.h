// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// The base service every simulated manager answers: logging settings are recorded in the
// event log, the self-test calls answer like an idle daemon.

#ifndef CORVANE_SIM_BASE_HANDLER_H
#define CORVANE_SIM_BASE_HANDLER_H

#include <cstdio>
#include <string>

#include "sim.h"

namespace corvane {
namespace sim {

template <class If>
class BaseHandler : virtual public If {
 public:
  BaseHandler(Sim& sim, char const* service) : mSim(sim), mService(service) {}

  // A manager shuts down only with the whole appliance: recorded, not obeyed.
  void shutdown() override { event("shutdown requested"); }
  void setLogging(int32_t logLevel, int32_t logMask) override {
    char text[64];
    snprintf(text, sizeof text, "setLogging level %d mask 0x%08X", logLevel,
             static_cast<unsigned>(logMask));
    event(text);
  }
  int32_t startTest(int32_t) override { return 0; }
  void performTest(int32_t) override {}
  bool stopTest() override { return true; }

 protected:
  void event(std::string const& text) { mSim.events.write(mService, text); }
  Sim& mSim;
  std::string mService;
};

}  // namespace sim
}  // namespace corvane

#endif  // CORVANE_SIM_BASE_HANDLER_H

// Signals as a flag.

#include "report/interruption.h"

#include <csignal>
#include <cstddef>

namespace orbmath_tool {

namespace {

volatile std::sig_atomic_t asked = 0;

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};
struct sigaction previous[sizeof kSignals / sizeof *kSignals];

void Ask(int) { asked = 1; }

}  // namespace

Interruption::Interruption() {
  asked = 0;
  struct sigaction action {};
  action.sa_handler = Ask;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
  for (std::size_t i = 0; i < sizeof kSignals / sizeof *kSignals; ++i) sigaction(kSignals[i], &action, &previous[i]);
}

Interruption::~Interruption() {
  for (std::size_t i = 0; i < sizeof kSignals / sizeof *kSignals; ++i) sigaction(kSignals[i], &previous[i], nullptr);
}

bool Interruption::IsAsked() noexcept { return asked != 0; }

}  // namespace orbmath_tool

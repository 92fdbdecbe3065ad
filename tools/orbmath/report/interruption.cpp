// Signals as a flag.

#include "report/interruption.h"

#include <csignal>
#include <cstddef>

namespace orbmath_tool {

namespace {

volatile std::sig_atomic_t asked = 0;

void Ask(int) { asked = 1; }

#if defined(_WIN32)

// A handler counts for one signal only: the next one ends the process.
constexpr int kSignals[] = {SIGINT, SIGTERM, SIGBREAK};
using Handler = void (*)(int);
Handler previous[sizeof kSignals / sizeof *kSignals];

void Take(int signal, Handler* before) { *before = std::signal(signal, Ask); }
void GiveBack(int signal, const Handler& before) {
  if (before != SIG_ERR) std::signal(signal, before);
}

#else

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};
struct sigaction previous[sizeof kSignals / sizeof *kSignals];

void Take(int signal, struct sigaction* before) {
  struct sigaction action {};
  action.sa_handler = Ask;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
  sigaction(signal, &action, before);
}
void GiveBack(int signal, const struct sigaction& before) { sigaction(signal, &before, nullptr); }

#endif

}  // namespace

Interruption::Interruption() {
  asked = 0;
  for (std::size_t i = 0; i < sizeof kSignals / sizeof *kSignals; ++i) Take(kSignals[i], &previous[i]);
}

Interruption::~Interruption() {
  for (std::size_t i = 0; i < sizeof kSignals / sizeof *kSignals; ++i) GiveBack(kSignals[i], previous[i]);
}

bool Interruption::IsAsked() noexcept { return asked != 0; }

}  // namespace orbmath_tool

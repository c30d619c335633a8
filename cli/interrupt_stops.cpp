#include "cli/interrupt_stops.h"

#include <csignal>

namespace kelo::cli {

namespace {

volatile std::sig_atomic_t interrupted = 0;

void onInterrupt(int) {
    interrupted = 1;
}

}  // namespace

InterruptStops::InterruptStops() {
    interrupted = 0;
    struct sigaction action {};
    action.sa_handler = onInterrupt;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, &previous_);
    ::sigaction(SIGTERM, &action, &previousTerm_);
}

InterruptStops::~InterruptStops() {
    ::sigaction(SIGINT, &previous_, nullptr);
    ::sigaction(SIGTERM, &previousTerm_, nullptr);
}

bool InterruptStops::requested() {
    return interrupted != 0;
}

}  // namespace kelo::cli

// InterruptStops: while long work runs (packing, hashing), Ctrl-C and SIGTERM ask
// the work to stop instead of ending the process, so it can clean up and leave
// nothing partial anywhere. The work polls `requested()`. Main thread only.
#pragma once

#include <signal.h>

namespace kelo::cli {

class InterruptStops {
public:
    InterruptStops();
    ~InterruptStops();
    InterruptStops(const InterruptStops&) = delete;
    InterruptStops& operator=(const InterruptStops&) = delete;

    static bool requested();

private:
    struct sigaction previous_ {};
    struct sigaction previousTerm_ {};
};

}  // namespace kelo::cli

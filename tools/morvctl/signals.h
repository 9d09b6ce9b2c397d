// Signals: what morvctl needs of them, whatever it was started with.
#pragma once

#include <signal.h>

namespace morvctl {

// Sees its children end, and a file grown too large as a failed write.
void set_up_signals();

// For a child that becomes another program: as morvctl was started.
void restore_signals();

// Signals that would end the program wait until the end of the scope, so that it leaves no temporary files.
class HeldSignals {
  public:
    HeldSignals();
    ~HeldSignals();
    HeldSignals(const HeldSignals &) = delete;
    HeldSignals &operator=(const HeldSignals &) = delete;

  private:
    sigset_t former_;
};

// For a command that goes on until it is told to end: a signal that would end the program ends the waiting, and
// takes effect at the end of the scope. One that is ignored stays so.
class CaughtSignals {
  public:
    CaughtSignals();
    ~CaughtSignals();
    CaughtSignals(const CaughtSignals &) = delete;
    CaughtSignals &operator=(const CaughtSignals &) = delete;

    // Waits so long. False when a signal came, now or earlier, or nobody reads standard output any more.
    bool wait(unsigned seconds) const;

  private:
    struct sigaction actions_[3];
    sigset_t former_;
};

}  // namespace morvctl

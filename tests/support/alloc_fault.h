// Failing allocations: the program defines malloc and its companions itself, and the library under test uses
// them. The n-th allocation after arming fails, the others succeed.
#pragma once

namespace testing_support {

class AllocFault {
  public:
    // `with_new`: operator new fails too, and the record library is spared, which survives few failures.
    // Only for a stretch in which the library alone allocates: the test's own containers would throw.
    explicit AllocFault(int nth, bool with_new = false);
    ~AllocFault();
    AllocFault(const AllocFault &) = delete;
    AllocFault &operator=(const AllocFault &) = delete;

    // Stops failing, and answers whether the allocation was reached.
    static bool disarm();
};

// Whether a place in the code is the record library's.
bool is_record_library(const void *address);

// Runs `call` with its 1st, 2nd, 3rd... allocation failing, until a run reaches no further allocation. `call`
// gets the number of the failing one and answers nothing; it looks at the results itself. Answers how many
// allocations could be made to fail.
//
// Whatever `call` does to judge the result must come after AllocFault::disarm(), which tells it whether this
// run had the fault.
template <class F>
int for_each_alloc_fault(F call, bool with_new = false) {
    for (int nth = 1;; ++nth) {
        bool reached;
        {
            AllocFault fault(nth, with_new);
            reached = call(nth);
        }
        if (!reached) return nth - 1;
        if (nth > 100000) return -1;
    }
}

}  // namespace testing_support

// signals_example.cpp - the example of the kyRTB signal header, compiled and checked.
#include "example_check.h"

#include <Base/RTB/kyRTBSignal.h>

#include <cstdio>

struct Counter {
    int total = 0;
    kyRTB::Signal<> tracker; // cuts tied connections when the counter goes away
    void add(int n) { total += n; }
};

int main() {
    kyRTB::Signal<int> changed;
    Counter counter;
    kyRTB::Connection* c = changed.connect(&counter, &Counter::add);
    changed.emit(2); // counter.total == 2
    CHECK(counter.total == 2);
    changed.block(c);
    changed.emit(5); // skipped: blocked
    CHECK(counter.total == 2);
    changed.unblock(c);
    changed.disconnect(c);
    CHECK(changed.numConnections() == 0);

    {
        Counter temporary;
        changed.connect(&temporary, &Counter::add, temporary.tracker);
        changed.emit(1); // temporary.total == 1
        CHECK(temporary.total == 1);
    } // temporary's tracker removed its connection
    CHECK(changed.numConnections() == 0);

    std::puts("signal examples: ok");
    return 0;
}

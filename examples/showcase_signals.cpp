// showcase_signals.cpp - the signals section of the showcase.
#include "showcase.h"

#include <Base/RTB/kyRTBSignal.h>

#include <cstdio>
#include <string>

namespace {

struct Listener {
    std::string name;
    kyRTB::Signal<> tracker; // its tied connections go when the listener goes
    void onValue(int v) { std::printf(" %s(%d)", name.c_str(), v); }
};

} // namespace

void showcaseSignals() {
    showcaseSection("Signals: callback lists that survive their own callbacks");

    kyRTB::Signal<int> changed;
    Listener a{"a", {}};
    Listener b{"b", {}};
    changed.connect(&a, &Listener::onValue);
    kyRTB::Connection* cb = changed.connect(&b, &Listener::onValue);
    kyRTB::Connection* once = nullptr;
    once = changed.connect([&](int v) {
        std::printf(" once(%d, disconnecting itself)", v);
        changed.disconnect(once);
    });
    std::printf("emit(1), newest first:");
    changed.emit(1);
    std::printf("\nemit(2), the one-shot is gone:");
    changed.emit(2);

    changed.block(cb);
    std::printf("\nemit(3) with b blocked:");
    changed.emit(3);
    changed.unblock(cb);

    {
        Listener temporary{"temporary", {}};
        changed.connect(&temporary, &Listener::onValue, temporary.tracker);
        std::printf("\nemit(4) with a tied temporary listener:");
        changed.emit(4);
        std::printf("\n%d connections while it lives", changed.numConnections());
    }
    std::printf(", %d after it is gone\n", changed.numConnections());
}

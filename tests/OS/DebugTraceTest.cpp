// DebugTraceTest.cpp - stop watches on a hand-driven clock, and trace output line by line.
#include <Base/OS/kyOSAppMain.h>
#include <Base/OS/kyOSAppOutput.h>
#include <Base/OS/kyOSDebugTrace.h>
#include <Base/OS/kyOSStopWatch.h>

#include "FakeSystem.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using kytest::FakeMachine;

// Collects what the traces write, split into lines.
struct Capture {
    std::string text;
    int errorWrites = 0;
    static void sink(void* context, int channel, const char* written) {
        Capture* self = static_cast<Capture*>(context);
        self->text += written;
        self->errorWrites += channel == kyOS::AppOutput::kErrors ? 1 : 0;
    }
};

class TraceTest : public kytest::FakeSystemTest {
protected:
    void SetUp() override {
        FakeSystemTest::SetUp();
        fakeEverything(1000); // the counter counts milliseconds
        kyOS::AppMain::resetElapsed();
        kyOS::AppOutput::setIndentation(0);
        kyOS::AppOutput::setSink(&Capture::sink, &capture);
    }
    void TearDown() override {
        kyOS::AppOutput::setSink(nullptr);
        kyOS::AppOutput::setIndentation(0);
        FakeSystemTest::TearDown();
    }
    static void advance(std::int64_t milliseconds) { FakeMachine::counter += milliseconds; }
    Capture capture;
};

TEST_F(TraceTest, StopWatchAddsUpPairs) {
    kyOS::StopWatch watch;
    EXPECT_FALSE(watch.running());
    EXPECT_EQ(watch.start(), 0.0);
    advance(1000);
    EXPECT_DOUBLE_EQ(watch.check(), 1.0);
    EXPECT_DOUBLE_EQ(watch.stop(), 1.0);
    advance(5000); // stopped: does not count
    EXPECT_DOUBLE_EQ(watch.stop(), 1.0);
    EXPECT_DOUBLE_EQ(watch.start(), 1.0);
    advance(2500);
    EXPECT_TRUE(watch.running());
    EXPECT_DOUBLE_EQ(watch.stop(), 3.5);
    EXPECT_DOUBLE_EQ(watch.clear(), 3.5);
    EXPECT_EQ(watch.check(), 0.0);
}

TEST_F(TraceTest, CounterConversionKeepsPrecisionOnLongIntervals) {
    // 10^7 counts per second, ~317 years: the fraction must survive next to the whole part.
    fakeEverything(10000000);
    kyOS::StopWatch watch;
    watch.start();
    advance(100000000000000001LL);
    EXPECT_DOUBLE_EQ(watch.stop(), 10000000000.0 + 0.0000001);
    EXPECT_DOUBLE_EQ(kyOS::detail::countsToSeconds(15, 10), 1.5);
    EXPECT_DOUBLE_EQ(kyOS::detail::countsToSeconds(0, 10), 0.0);
}

TEST_F(TraceTest, NestedStartsTicksAndPrints) {
    kyOS::DebugTrace outer("outer", 1);
    kyOS::DebugTrace other("other", 2);
    outer.start("scene");
    advance(250);
    outer.start("mesh");
    advance(500);
    EXPECT_DOUBLE_EQ(outer.tick("read"), 0.5);
    EXPECT_DOUBLE_EQ(other.tick(), 0.0); // no start open on this trace
    other.print("note");
    other.print(nullptr); // no text: nothing printed
    advance(250);
    EXPECT_DOUBLE_EQ(outer.stop(), 0.75);
    advance(1000);
    EXPECT_DOUBLE_EQ(outer.stop(), 2.0);
    EXPECT_EQ(outer.stop(), 0.0); // no start left: nothing printed
    outer.start();                // a later pair adds to the total and the count
    advance(500);
    EXPECT_DOUBLE_EQ(outer.stop(), 0.5);
    EXPECT_EQ(capture.text, "   0.0000 Start trace: outer scene\n"
                            "     0.2500 Start trace: outer mesh\n"
                            "       0.7500 tick trace: outer read now 0.5000\n"
                            "       0.7500 tick trace: other now 0.0000\n"
                            "       0.7500 trace: other.  note\n"
                            "     1.0000 End trace: outer elapsed 0.7500 total 0.7500 calls 2\n"
                            "   2.0000 End trace: outer elapsed 2.0000 total 2.7500 calls 2\n"
                            "   2.0000 Start trace: outer \n"
                            "   2.5000 End trace: outer elapsed 0.5000 total 3.2500 calls 3\n");
    EXPECT_EQ(kyOS::AppOutput::indentation(), 0);
    EXPECT_TRUE(outer.calls() == 3 && outer.total() == 3.25 && capture.errorWrites == 0);
}

// A trace with a category is off until its category (or "category/subcategory") is enabled,
// also for traces registered after the enabling; an off trace prints and counts nothing.
TEST_F(TraceTest, CategoriesEnableTraces) {
    kyOS::DebugTrace plain("plain", 1), io("io", 1, "fileio");
    kyOS::DebugTrace net("net", 1, "network", "sockets"), dns("net2", 1, "network", "dns");
    EXPECT_TRUE(plain.enabled() && !io.enabled() && !net.enabled());
    io.start("x");
    advance(10);
    EXPECT_EQ(io.tick("y") + io.stop(), 0.0);
    io.print("z");
    EXPECT_TRUE(capture.text.empty() && io.calls() == 0) << capture.text;
    kyOS::DebugTraceManager& manager = kyOS::DebugTraceManager::getInstance();
    manager.enableCategory("network/sockets");
    manager.enableCategory("fileio");
    EXPECT_TRUE(net.enabled() && !dns.enabled() && io.enabled());
    EXPECT_TRUE(kyOS::DebugTrace("late", 1, "fileio").enabled());
    const int before = manager.numTraces();
    {
        kyOS::DebugTrace temporary("temporary", 1);
        EXPECT_EQ(manager.numTraces(), before + 1);
    }
    EXPECT_EQ(manager.numTraces(), before);
}

TEST_F(TraceTest, OutputIndentsEveryLineAndRoutesChannels) {
    kyOS::AppOutput::setIndentation(2);
    kyOS::AppOutput::write(kyOS::AppOutput::kErrors, "a\nb");
    kyOS::AppOutput::write(kyOS::AppOutput::kErrors, "c\n");
    kyOS::AppOutput::unindent();
    kyOS::AppOutput::printf(kyOS::AppOutput::kInformation, "%s=%d\n", "x", 4);
    kyOS::AppOutput::setIndentation(-5);
    EXPECT_EQ(kyOS::AppOutput::indentation(), 0);
    EXPECT_EQ(capture.text, "    a\n    bc\n  x=4\n");
    EXPECT_EQ(capture.errorWrites, 2);
}

} // namespace

// FaultSweepTest.cpp - every system call of a stream's write and read cycles fails in turn;
// each failure must end in the stream status its kind gives, never in a hang or a crash.
#include <Base/IO/ioBufferedStream.h>

#include "../OS/FaultInjector.h"
#include "IOTestSupport.h"
#include <kyTestSupport.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

namespace {

using kyOS::detail::FileCall;
using kytest::FaultInjector;
using Mode = FaultInjector::Mode;

class FaultSweepTest : public kytest::TempDirTest {
protected:
    // Writes `data_` to a file, or reads it back, through a stream; the final status.
    ioStreamStatus cycle(bool writing, std::string* read = nullptr) {
        const kyString::IString file = iotest::name(path("f"));
        if (writing) {
            ioBufferedStreamOutput out;
            out.openFile(file);
            out.writeData(data_.data(), static_cast<int>(data_.size()));
            out.close();
            return out.getStatus();
        }
        ioBufferedStreamInput in;
        in.openFile(file);
        std::string got(data_.size() + 1, '\0');
        got.resize(static_cast<std::size_t>(in.readData(&got[0], static_cast<int>(got.size()))));
        in.close();
        if (read != nullptr) {
            *read = got;
        }
        return in.getStatus();
    }

    // What a failure of `call` with `error` must leave. Interruptions (and, for transfers,
    // "try again") are retried, so a single one changes nothing; an endless run of them
    // gives up as a failure.
    static ioStreamStatus expected(bool writing, FileCall call, int error, Mode mode) {
        const bool transfer = call == FileCall::kRead || call == FileCall::kWrite;
        const bool retried = error == EINTR || (transfer && error == EAGAIN);
        if (call == FileCall::kClose && (error == EINTR || !writing)) {
            // An interrupted close is done; a reader's end of data came first and sticks.
            return writing ? ioStreamGood : ioStreamEndOfFile;
        }
        if (retried && mode == Mode::kOnce) {
            return writing ? ioStreamGood : ioStreamEndOfFile;
        }
        if (call == FileCall::kOpen) {
            return ioStreamOpenFailed;
        }
        return call == FileCall::kWrite && error == ENOSPC ? ioStreamDiskFull : ioStreamError;
    }

    std::string data_ = std::string(600000, 'd');
};

TEST_F(FaultSweepTest, EveryCallFailsInTurn) {
    for (std::size_t i = 0; i < data_.size(); ++i) {
        data_[i] = static_cast<char>(i * 7 + i / 1000);
    }
    FaultInjector faults;
    for (bool writing : {true, false}) {
        faults.countOnly();
        ASSERT_EQ(cycle(writing), writing ? ioStreamGood : ioStreamEndOfFile);
        const std::vector<FileCall> calls = faults.log();
        ASSERT_GE(calls.size(), writing ? 5u : 4u) << faults.describe();
        for (std::size_t k = 1; k <= calls.size(); ++k) {
            for (int error : {ENOSPC, EIO, EINTR, EAGAIN, EBADF}) {
                for (Mode mode : {Mode::kOnce, Mode::kFromThenOn}) {
                    if (writing) {
                        iotest::put(path("f"), "");
                    }
                    faults.failAt(k, error, mode);
                    std::string got;
                    const ioStreamStatus status = cycle(writing, &got);
                    faults.countOnly();
                    const ioStreamStatus want = expected(writing, calls[k - 1], error, mode);
                    EXPECT_EQ(status, want)
                        << (writing ? "write" : "read") << " cycle, call " << k << " ("
                        << FaultInjector::name(calls[k - 1]) << ") error " << error
                        << (mode == Mode::kOnce ? " once" : " from then on");
                    if (want == ioStreamGood) {
                        EXPECT_EQ(iotest::get(path("f")), data_) << "call " << k;
                    } else if (want == ioStreamEndOfFile) {
                        EXPECT_EQ(got, data_) << "call " << k;
                    }
                }
            }
            // A short transfer is no failure: the rest follows.
            if (!writing) {
                continue;
            }
            faults.shortenAt(k, 1000, Mode::kFromThenOn);
            EXPECT_EQ(cycle(true), ioStreamGood);
            faults.countOnly();
            EXPECT_EQ(iotest::get(path("f")), data_);
        }
        iotest::put(path("f"), data_);
    }
}

// Single characters reach the descriptor one at a time (kept on purpose); bulk writes do not.
TEST_F(FaultSweepTest, WriteCharHandsDownEveryByteOnItsOwn) {
    FaultInjector faults;
    for (bool bytewise : {true, false}) {
        ioBufferedStreamOutput out;
        out.openFile(iotest::name(path("c")));
        faults.countOnly();
        bytewise ? (void)(out.writeChar('a'), out.writeChar('b'), out.writeChar('c'))
                 : out.writeString("abc");
        out.flush();
        const auto& log = faults.log();
        EXPECT_EQ(std::count(log.begin(), log.end(), FileCall::kWrite), bytewise ? 3 : 1);
        out.close();
        EXPECT_EQ(iotest::get(path("c")), "abc");
    }
}

} // namespace
